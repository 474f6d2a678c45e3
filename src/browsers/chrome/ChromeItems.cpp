// The Chrome rows of the browser catalogue, by "Description", and their operations.

#include "browsers/ItemTable.h"
#include "browsers/chrome/ChromeCleaner.h"

namespace tpc::browsers {

namespace {

const ItemOperations<ChromeCleaner> kChromeItemOps[] = {
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

// Rows only the linux layout's catalogue lists.
const ItemOperations<ChromeCleaner> kChromeLinuxItemOps[] = {
    {"Site Storage", &ChromeCleaner::countChromeSiteStorage,
     &ChromeCleaner::deleteChromeSiteStorage},
};

// The other browsers' auto-quit rows carry their own names.
const std::pair<const char*, const char*> kChromeAliases[] = {
    {"Auto Quit Chromium", "Auto Quit Chrome"},
    {"Auto Quit Brave", "Auto Quit Chrome"},
    {"Auto Quit Vivaldi", "Auto Quit Chrome"},
    {"Auto Quit Microsoft Edge", "Auto Quit Chrome"}};

const ItemTable<ChromeCleaner> kChromeTable(kChromeItemOps, kChromeLinuxItemOps, kChromeAliases);

} // namespace

const std::vector<std::string>& ChromeCleaner::itemDescriptions() {
    static const std::vector<std::string> descriptions = kChromeTable.descriptions();
    return descriptions;
}

std::optional<CountPair> ChromeCleaner::countItem(const std::string& description) {
    return kChromeTable.count(*this, description);
}

bool ChromeCleaner::deleteItem(const std::string& description) {
    return kChromeTable.remove(*this, description);
}

} // namespace tpc::browsers
