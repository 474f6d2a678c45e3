#include "platform/SharedFileList.h"

namespace tpc::platform {

namespace {

// NSString's length: UTF-16 code units. Every byte that starts a UTF-8 sequence is one unit, and
// a four-byte sequence (beyond the Basic Multilingual Plane) is a surrogate pair.
std::uint64_t utf16Length(const std::string& text) {
    std::uint64_t units = 0;
    for (unsigned char c : text) {
        if ((c & 0xC0) == 0x80)
            continue;
        units += c >= 0xF0 ? 2 : 1;
    }
    return units;
}

} // namespace

std::uint64_t lengthOf(const core::Value& value) {
    if (const auto* data = value.data())
        return data->size();
    if (const auto* text = value.string())
        return utf16Length(*text);
    return 0;
}

core::ArrayRef controlledItems(const core::DictRef& plist, const std::string& listKey) {
    if (!plist)
        return nullptr;
    auto list = plist->getDict(listKey);
    if (!list)
        return nullptr;
    const auto* controller = list->get("Controller").string();
    if (!controller)
        return nullptr;
    return list->getArray(*controller);
}

std::uint64_t sizeofCustomListItemsArrayElements(const core::ArrayRef& items) {
    if (!items)
        return 0;
    std::uint64_t total = 0;
    for (const auto& item : items->dicts())
        for (const char* key : {"Bookmark", "Icon", "Name"})
            total += lengthOf(item->get(key));
    return total;
}

} // namespace tpc::platform
