// Firefox's items on the linux layout, as today's releases keep their stores. History goes from
// places.sqlite with the origins no remaining page uses, the annotations of the pages that go
// and the page-to-icon records of favicons.sqlite; bookmarked pages (and pages a keyword points
// to) keep their place, origin and icons. Downloads are annotations and download visits of
// places. Logins live in "logins.json" (encrypted with a key from "key4.db", which also holds
// certificate keys and the primary password and so stays). Sessions are the compressed
// "sessionstore.jsonlz4" and the "sessionstore-backups" folder; counting their files is enough.

#include "browsers/BusyStores.h"
#include "browsers/StoreTables.h"
#include "browsers/firefox/FirefoxCleaner.h"
#include "browsers/firefox/FirefoxSessions.h"
#include "browsers/firefox/FirefoxStores.h"
#include "erase/Deleter.h"
#include "fs/Entries.h"
#include "fs/Folders.h"
#include "fs/TreeMeasure.h"
#include "platform/Platform.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace tpc::browsers {

namespace fs = std::filesystem;
using stores::TableRows;

namespace {

constexpr const char* kFirefox = "Firefox";

// A place that goes with the history: neither bookmarked nor otherwise referenced (keywords
// count in foreign_count).
const std::string kPlaceGoes =
    "(foreign_count = 0 AND id NOT IN (SELECT fk FROM moz_bookmarks WHERE fk IS NOT NULL))";
const std::string kPlacesThatGo = "(SELECT id FROM moz_places WHERE " + kPlaceGoes + ")";

// In order: what refers to places first, then the places, then origins no kept place uses.
std::vector<TableRows> firefoxHistoryRows() {
    return {{"moz_historyvisits"},
            {"moz_inputhistory"},
            {"moz_places_metadata"},
            {"moz_places_metadata_search_queries"},
            {"moz_annos", "place_id IN " + kPlacesThatGo},
            {"moz_places", kPlaceGoes},
            {"moz_origins", "id NOT IN (SELECT origin_id FROM moz_places WHERE origin_id IS NOT "
                            "NULL AND NOT " +
                                kPlaceGoes + ")"}};
}

// favicons.sqlite with places.sqlite attached as "places": the pages not kept by places, their
// icon links, and the page icons no kept page uses (site-wide root icons stay).
std::vector<TableRows> firefoxIconRows() {
    const std::string keptUrls = "(SELECT url FROM places.moz_places WHERE url IS NOT NULL AND "
                                 "NOT (foreign_count = 0 AND id NOT IN (SELECT fk FROM "
                                 "places.moz_bookmarks WHERE fk IS NOT NULL)))";
    const std::string keptPages =
        "(SELECT id FROM moz_pages_w_icons WHERE page_url IN " + keptUrls + ")";
    return {{"moz_icons_to_pages", "page_id NOT IN " + keptPages},
            {"moz_pages_w_icons", "id NOT IN " + keptPages},
            {"moz_icons", "root = 0 AND id NOT IN (SELECT icon_id FROM moz_icons_to_pages WHERE "
                          "page_id IN " +
                              keptPages + ")"}};
}

// Download annotations, then the download visits.
std::vector<TableRows> firefoxDownloadRows() {
    return {{"moz_annos", "anno_attribute_id IN (SELECT id FROM moz_anno_attributes WHERE name "
                          "LIKE 'downloads/%')"},
            {"moz_historyvisits", "visit_type = 7"}};
}

const std::vector<std::string> kFirefoxFormTables = {"moz_formhistory", "moz_deleted_formhistory",
                                                     "moz_history_to_sources", "moz_sources"};
const std::vector<std::string> kFirefoxLegacyLoginTables = {"moz_logins", "moz_deleted_logins"};

const char* const kFirefoxLoginFiles[] = {"logins.json", "logins-backup.json"};
const char* const kFirefoxSessionFiles[] = {"sessionstore.jsonlz4", "sessionstore.js",
                                            "sessionstore.bak"};
constexpr const char* kFirefoxSessionBackups = "sessionstore-backups";

// The saved logins of a "logins.json" text; 1 for a file that is not what it should be, so it
// is never shown as empty.
std::int64_t firefoxLoginEntries(const std::string& text) {
    const auto json = nlohmann::json::parse(text, nullptr, false);
    if (json.is_object() && json.contains("logins") && json["logins"].is_array())
        return static_cast<std::int64_t>(json["logins"].size());
    return 1;
}

} // namespace

bool FirefoxCleaner::currentLayout() const {
    return env_.platform.layout() == platform::Layout::Linux;
}

bool FirefoxCleaner::placesHaveOrigins() const {
    auto places = store("places.sqlite");
    if (!places)
        return false;
    const auto names = stores::tableNames(*places);
    // A busy store is taken as today's: the current items report it.
    return names.busy ||
           std::find(names.names.begin(), names.names.end(), "moz_origins") != names.names.end();
}

CountPair FirefoxCleaner::countCurrentHistory() {
    CountPair total;
    auto places = store("places.sqlite");
    if (!places)
        return total;
    total = stores::countStore(env_, kFirefox, *places, firefoxHistoryRows());
    if (auto icons = store("favicons.sqlite"))
        total =
            firefox::add32(total, stores::countStore(env_, kFirefox, *icons, firefoxIconRows(),
                                                     {stores::attachStatement(*places, "places")}));
    return total;
}

void FirefoxCleaner::deleteCurrentHistory() {
    auto places = store("places.sqlite");
    if (!places)
        return;
    // The icons first: their pages are told apart by what places still holds.
    if (auto icons = store("favicons.sqlite"))
        stores::emptyStore(env_, kFirefox, *icons, firefoxIconRows(),
                           {stores::attachStatement(*places, "places")});
    stores::emptyStore(env_, kFirefox, *places, firefoxHistoryRows());
}

CountPair FirefoxCleaner::countCurrentDownloads() {
    auto places = store("places.sqlite");
    return places ? stores::countStore(env_, kFirefox, *places, firefoxDownloadRows())
                  : CountPair{};
}

void FirefoxCleaner::deleteCurrentDownloads() {
    if (auto places = store("places.sqlite"))
        stores::emptyStore(env_, kFirefox, *places, firefoxDownloadRows());
}

CountPair FirefoxCleaner::countCurrentFormHistory() {
    auto path = store("formhistory.sqlite");
    return path ? stores::countStore(env_, kFirefox, *path, stores::allRowsOf(kFirefoxFormTables))
                : CountPair{};
}

void FirefoxCleaner::deleteCurrentFormHistory() {
    if (auto path = store("formhistory.sqlite"))
        stores::emptyStore(env_, kFirefox, *path, stores::allRowsOf(kFirefoxFormTables));
}

CountPair FirefoxCleaner::countCurrentLogins() {
    CountPair total;
    if (auto legacy = store("signons.sqlite"))
        total = stores::countStore(env_, kFirefox, *legacy,
                                   stores::allRowsOf(kFirefoxLegacyLoginTables));
    for (const char* name : kFirefoxLoginFiles) {
        auto path = store(name);
        if (!path)
            continue;
        const auto text = firefox::readWholeFile(*path);
        // The backup is a copy of the same logins: its size counts, its entries do not.
        const std::int64_t entries =
            name == kFirefoxLoginFiles[0] ? (text ? firefoxLoginEntries(*text) : 1) : 0;
        total = firefox::add32(
            total, {entries, static_cast<std::int64_t>(tpc::fs::entrySizeNoFollow(*path))});
    }
    return total;
}

void FirefoxCleaner::deleteCurrentLogins() {
    if (auto legacy = store("signons.sqlite"))
        stores::emptyStore(env_, kFirefox, *legacy, stores::allRowsOf(kFirefoxLegacyLoginTables));
    std::vector<std::string> paths;
    for (const char* name : kFirefoxLoginFiles)
        if (auto path = store(name))
            paths.push_back(path->string());
    if (!paths.empty())
        env_.deleter.deleteFiles(paths);
}

CountPair FirefoxCleaner::countCurrentSessions() {
    CountPair total;
    for (const char* name : kFirefoxSessionFiles)
        if (auto path = store(name))
            total = firefox::add32(
                total, {1, static_cast<std::int64_t>(tpc::fs::entrySizeNoFollow(*path))});
    if (auto profile = profileFolder()) {
        const auto backups =
            tpc::fs::measureFolderNoFollow((*profile / kFirefoxSessionBackups).string());
        total = firefox::add32(total, firefox::pair32(static_cast<std::int64_t>(backups.count),
                                                      static_cast<std::uint32_t>(backups.bytes)));
    }
    return total;
}

void FirefoxCleaner::deleteCurrentSessions() {
    auto profile = profileFolder();
    if (!profile)
        return;
    std::vector<std::string> paths;
    for (const char* name : kFirefoxSessionFiles)
        if (tpc::fs::entryExists(*profile / name))
            paths.push_back((*profile / name).string());
    // The folder stays for the browser to write its next backups into.
    const auto backups = *profile / kFirefoxSessionBackups;
    if (tpc::fs::isFolderNoFollow(backups))
        for (auto& path : tpc::fs::listFolderNoFollow(backups))
            paths.push_back(std::move(path));
    if (!paths.empty())
        env_.deleter.deleteFiles(paths);
}

} // namespace tpc::browsers
