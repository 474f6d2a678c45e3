// The Opera rows of the browser catalogue, by "Description", and their operations.

#include "browsers/ItemTable.h"
#include "browsers/opera/OperaCleaner.h"

namespace tpc::browsers {

namespace {

// The catalogue rows in order; "Site Preferences" is wired although no Opera row has it.
const ItemOperations<OperaCleaner> kOperaItems[] = {
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

const ItemOperations<OperaCleaner> kSitePreferences[] = {
    {"Site Preferences", &OperaCleaner::countOperaSitePrefs, &OperaCleaner::deleteOperaSitePrefs}};

const ItemTable<OperaCleaner> kOperaTable(kOperaItems, kSitePreferences);

} // namespace

const std::vector<std::string>& OperaCleaner::itemDescriptions() {
    static const std::vector<std::string> descriptions = kOperaTable.descriptions();
    return descriptions;
}

std::optional<CountPair> OperaCleaner::countItem(const std::string& description) {
    return kOperaTable.count(*this, description);
}

bool OperaCleaner::deleteItem(const std::string& description) {
    return kOperaTable.remove(*this, description);
}

} // namespace tpc::browsers
