#include "core/Alert.h"

#include "core/Keys.h"

namespace tpc::core {

namespace {

std::optional<std::string> optionalString(const DictRef& dict, const char* key) {
    if (!dict)
        return std::nullopt;
    if (const std::string* s = dict->get(key).string())
        return *s;
    return std::nullopt;
}

AlertRequest fromKeys(const DictRef& dict, const char* title, const char* message,
                      const char* defaultButton, const char* alternateButton,
                      const char* otherButton) {
    AlertRequest r;
    r.title = optionalString(dict, title).value_or(std::string());
    r.message = optionalString(dict, message).value_or(std::string());
    r.defaultButton = optionalString(dict, defaultButton);
    r.alternateButton = optionalString(dict, alternateButton);
    r.otherButton = optionalString(dict, otherButton);
    return r;
}

} // namespace

AlertRequest AlertRequest::fromPanelDict(const DictRef& dict) {
    return fromKeys(dict, keys::AlertTitle1, keys::AlertBody1, keys::AlertDefault1,
                    keys::AlertAlternate1, keys::AlertOther1);
}

AlertRequest AlertRequest::fromMessageDict(const DictRef& dict) {
    return fromKeys(dict, keys::AlertTitle2, keys::AlertMessage2, keys::AlertDefault2,
                    keys::AlertAlternate2, keys::AlertOther2);
}

std::vector<std::string> AlertRequest::buttons() const {
    std::vector<std::string> out;
    for (const auto* b : {&defaultButton, &alternateButton, &otherButton})
        if (*b)
            out.push_back(**b);
    return out;
}

int AlertRequest::resultForButtonIndex(std::size_t index) const {
    const std::pair<const std::optional<std::string>*, int> slots[] = {
        {&defaultButton, AlertDefault},
        {&alternateButton, AlertAlternate},
        {&otherButton, AlertOther}};
    std::size_t seen = 0;
    for (const auto& [button, result] : slots) {
        if (!*button)
            continue;
        if (seen == index)
            return result;
        ++seen;
    }
    // An alert without buttons still shows one to dismiss it, and that one acknowledges.
    if (seen == 0 && index == 0)
        return AlertDefault;
    return AlertOther;
}

} // namespace tpc::core
