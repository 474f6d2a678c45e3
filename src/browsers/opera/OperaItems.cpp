// The Opera rows of the browser catalogue, by "Description", and their operations.

#include "browsers/opera/OperaCleaner.h"

namespace tpc::browsers {

namespace {

struct OperaItem {
    const char* description;
    CountPair (OperaCleaner::*count)();
    void (OperaCleaner::*remove)();
};

// The catalogue rows in order; "Site Preferences" is wired although no Opera row has it.
const OperaItem kItems[] = {
    {"Internet History", &OperaCleaner::countOperaInternetHistory,
     &OperaCleaner::deleteOperaInternetHistory},
    {"Internet Cache", &OperaCleaner::countOperaInternetCaches,
     &OperaCleaner::deleteOperaInternetCaches},
    {"Cookies", &OperaCleaner::countOperaCookies, &OperaCleaner::deleteOperaCookies},
    {"Download History", &OperaCleaner::countOperaDownloadHistory,
     &OperaCleaner::deleteOperaDownloadHistory},
    {"Saved Form Information", &OperaCleaner::countOperaFormHistory,
     &OperaCleaner::deleteOperaFormHistory},
    {"Saved Passwords", &OperaCleaner::countOperaSignOns, &OperaCleaner::deleteOperaSignons},
    {"Sessions", &OperaCleaner::countOperaSessions, &OperaCleaner::deleteOperaSessions},
    {"Application Cache", &OperaCleaner::countOperaAppCaches, &OperaCleaner::deleteOperaAppCaches},
    {"Stash", &OperaCleaner::countOperaStash, &OperaCleaner::deleteOperaStash},
    {"Thumbnails", &OperaCleaner::countOperaThumbs, &OperaCleaner::deleteOperaThumbs},
    {"Auto Quit Opera", nullptr, &OperaCleaner::quitOpera},
};

const OperaItem kSitePreferences{"Site Preferences", &OperaCleaner::countOperaSitePrefs,
                                 &OperaCleaner::deleteOperaSitePrefs};

const OperaItem* findItem(const std::string& description) {
    for (const auto& item : kItems)
        if (description == item.description)
            return &item;
    if (description == kSitePreferences.description)
        return &kSitePreferences;
    return nullptr;
}

} // namespace

const std::vector<std::string>& OperaCleaner::itemDescriptions() {
    static const std::vector<std::string> descriptions = [] {
        std::vector<std::string> names;
        for (const auto& item : kItems)
            names.push_back(item.description);
        return names;
    }();
    return descriptions;
}

std::optional<CountPair> OperaCleaner::countItem(const std::string& description) {
    const auto* item = findItem(description);
    if (!item || !item->count)
        return std::nullopt;
    return (this->*item->count)();
}

bool OperaCleaner::deleteItem(const std::string& description) {
    const auto* item = findItem(description);
    if (!item)
        return false;
    (this->*item->remove)();
    return true;
}

} // namespace tpc::browsers
