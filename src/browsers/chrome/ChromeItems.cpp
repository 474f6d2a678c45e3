// The Chrome rows of the browser catalogue, by "Description", and their operations.

#include "browsers/chrome/ChromeCleaner.h"

namespace tpc::browsers {

namespace {

struct ChromeItem {
    const char* description;
    CountPair (ChromeCleaner::*count)();
    void (ChromeCleaner::*remove)();
};

const ChromeItem kItems[] = {
    {"Internet History", &ChromeCleaner::countChromeHistory, &ChromeCleaner::deleteChromeHistory},
    {"Internet Cache", &ChromeCleaner::countChromeCaches, &ChromeCleaner::deleteChromeCaches},
    {"Cookies", &ChromeCleaner::countChromeCookies, &ChromeCleaner::deleteChromeCookies},
    {"Current Session", &ChromeCleaner::countChromeCurrentSession,
     &ChromeCleaner::deleteChromeCurrentSession},
    {"Current Tabs", &ChromeCleaner::countChromeCurrentTabs,
     &ChromeCleaner::deleteChromeCurrentTabs},
    {"Saved Form Information", &ChromeCleaner::countChromeSavedFormInformation,
     &ChromeCleaner::deleteChromeSavedFormInformation},
    {"Saved Passwords", &ChromeCleaner::countChromeSavedPasswords,
     &ChromeCleaner::deleteChromeSavedPasswords},
    {"Last Session", &ChromeCleaner::countChromeLastSession,
     &ChromeCleaner::deleteChromeLastSession},
    {"Last Tabs", &ChromeCleaner::countChromeLastTabs, &ChromeCleaner::deleteChromeLastTabs},
    {"Site Icons", &ChromeCleaner::countChromeSiteIcons, &ChromeCleaner::deleteChromeSiteIcons},
    {"Top Sites", &ChromeCleaner::countChromeTopSites, &ChromeCleaner::deleteChromeTopSites},
    {"Auto Quit Chrome", nullptr, &ChromeCleaner::quitChrome},
};

const ChromeItem* findItem(const std::string& description) {
    for (const auto& item : kItems)
        if (description == item.description)
            return &item;
    if (description == "Auto Quit Chromium")
        return &kItems[std::size(kItems) - 1];
    return nullptr;
}

} // namespace

const std::vector<std::string>& ChromeCleaner::itemDescriptions() {
    static const std::vector<std::string> descriptions = [] {
        std::vector<std::string> names;
        for (const auto& item : kItems)
            names.push_back(item.description);
        return names;
    }();
    return descriptions;
}

std::optional<CountPair> ChromeCleaner::countItem(const std::string& description) {
    const auto* item = findItem(description);
    if (!item || !item->count)
        return std::nullopt;
    return (this->*item->count)();
}

bool ChromeCleaner::deleteItem(const std::string& description) {
    const auto* item = findItem(description);
    if (!item)
        return false;
    (this->*item->remove)();
    return true;
}

} // namespace tpc::browsers
