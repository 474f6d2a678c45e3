// The Safari rows of the browser catalogue, by "Description", and their operations.

#include "browsers/safari/SafariCleaner.h"

namespace tpc::browsers {

namespace {

struct SafariItem {
    const char* description;
    CountPair (SafariCleaner::*count)();
    void (SafariCleaner::*remove)();
};

const SafariItem kItems[] = {
    {"Internet History", &SafariCleaner::countSafariHistory, &SafariCleaner::deleteSafariHistory},
    {"Internet Cache", &SafariCleaner::countSafariCaches, &SafariCleaner::deleteSafariCaches},
    {"Cookies", &SafariCleaner::countSafariCookies, &SafariCleaner::deleteSafariCookies},
    {"Download History", &SafariCleaner::countSafariDownloadsHistory,
     &SafariCleaner::deleteSafariDownloadHistory},
    {"Auto Quit Safari", nullptr, &SafariCleaner::quitSafari},
};

const SafariItem* findItem(const std::string& description) {
    for (const auto& item : kItems)
        if (description == item.description)
            return &item;
    return nullptr;
}

} // namespace

const std::vector<std::string>& SafariCleaner::itemDescriptions() {
    static const std::vector<std::string> descriptions = [] {
        std::vector<std::string> names;
        for (const auto& item : kItems)
            names.push_back(item.description);
        return names;
    }();
    return descriptions;
}

std::optional<CountPair> SafariCleaner::countItem(const std::string& description) {
    const auto* item = findItem(description);
    if (!item || !item->count)
        return std::nullopt;
    return (this->*item->count)();
}

bool SafariCleaner::deleteItem(const std::string& description) {
    const auto* item = findItem(description);
    if (!item)
        return false;
    (this->*item->remove)();
    return true;
}

} // namespace tpc::browsers
