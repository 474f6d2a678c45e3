// The Safari rows of the browser catalogue, by "Description", and their operations.

#include "browsers/ItemTable.h"
#include "browsers/safari/SafariCleaner.h"

namespace tpc::browsers {

namespace {

const ItemOperations<SafariCleaner> kSafariItems[] = {
    {"Internet History", &SafariCleaner::countSafariHistory, &SafariCleaner::deleteSafariHistory},
    {"Internet Cache", &SafariCleaner::countSafariCaches, &SafariCleaner::deleteSafariCaches},
    {"Cookies", &SafariCleaner::countSafariCookies, &SafariCleaner::deleteSafariCookies},
    {"Download History", &SafariCleaner::countSafariDownloadsHistory,
     &SafariCleaner::deleteSafariDownloadHistory},
    {"Auto Quit Safari", nullptr, &SafariCleaner::quitSafari},
};

const ItemTable<SafariCleaner> kSafariTable(kSafariItems);

} // namespace

const std::vector<std::string>& SafariCleaner::itemDescriptions() {
    static const std::vector<std::string> descriptions = kSafariTable.descriptions();
    return descriptions;
}

std::optional<CountPair> SafariCleaner::countItem(const std::string& description) {
    return kSafariTable.count(*this, description);
}

bool SafariCleaner::deleteItem(const std::string& description) {
    return kSafariTable.remove(*this, description);
}

} // namespace tpc::browsers
