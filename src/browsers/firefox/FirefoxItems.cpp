// Firefox, run on every profile (macos: the default one) with the cache folder of its
// installation. The macos rows keep the stores of the older releases: history planned on
// places.sqlite (FirefoxHistory.h), downloads in downloads.sqlite, logins in signons.sqlite, the
// session as "sessionstore.js". The linux rows reach the stores as today's releases keep them:
// history with origins, annotations and page icons, downloads as annotations of places, logins in
// "logins.db" or "logins.json" (with a key from "key4.db", which also holds certificate keys and
// the primary password and so stays), sessions compressed and in "sessionstore-backups".

#include "browsers/ItemRunner.h"
#include "browsers/SiteStorage.h"
#include "browsers/firefox/FirefoxHistory.h"
#include "browsers/firefox/FirefoxSessions.h"
#include "core/SystemLog.h"
#include "fs/Entries.h"
#include "fs/FileSnapshot.h"
#include "fs/Folders.h"
#include "platform/Platform.h"

#include <lz4.h>
#include <nlohmann/json.hpp>

namespace tpc::browsers {

namespace fs = std::filesystem;
using stores::TableRows;

namespace firefox {

std::int64_t countSessionEntries(std::string_view bytes) {
    std::int64_t count = 0;
    for (std::size_t p = 0; p + 10 <= bytes.size(); ++p)
        if (bytes.compare(p, kSessionEntryPattern.size(), kSessionEntryPattern) == 0)
            ++count;
    return count;
}

std::optional<std::string> readWholeFile(const fs::path& path) {
    // Far beyond any real session or logins file.
    auto snapshot = tpc::fs::readSnapshot(path, 1ull << 30);
    return snapshot ? std::optional<std::string>(std::in_place, snapshot->bytes.begin(),
                                                 snapshot->bytes.end())
                    : std::nullopt;
}

} // namespace firefox

namespace {

// The profile's store `name` when it is a regular file.
std::optional<fs::path> ffStore(const Place& place, const char* name) {
    const auto path = place.profile / name;
    return tpc::fs::isRegularFileNoFollow(path) ? std::optional(path) : std::nullopt;
}

// A place that goes with the history: neither bookmarked nor otherwise referenced (keywords
// count in foreign_count).
const std::string kPlaceGoes =
    "(foreign_count = 0 AND id NOT IN (SELECT fk FROM moz_bookmarks WHERE fk IS NOT NULL))";

// In order: what refers to places first, then the places, then origins no kept place uses.
std::vector<TableRows> historyRows() {
    return {{"moz_historyvisits"},
            {"moz_inputhistory"},
            {"moz_places_metadata"},
            {"moz_places_metadata_search_queries"},
            {"moz_annos", "place_id IN (SELECT id FROM moz_places WHERE " + kPlaceGoes + ")"},
            {"moz_places", kPlaceGoes},
            {"moz_origins", "id NOT IN (SELECT origin_id FROM moz_places WHERE origin_id IS NOT "
                            "NULL AND NOT " +
                                kPlaceGoes + ")"}};
}

// favicons.sqlite with places.sqlite attached as "places": the pages not kept by places, their
// icon links, and the page icons no kept page uses (site-wide root icons stay).
std::vector<TableRows> iconRows() {
    const std::string keptPages =
        "(SELECT id FROM moz_pages_w_icons WHERE page_url IN (SELECT url FROM places.moz_places "
        "WHERE url IS NOT NULL AND NOT (foreign_count = 0 AND id NOT IN (SELECT fk FROM "
        "places.moz_bookmarks WHERE fk IS NOT NULL))))";
    return {{"moz_icons_to_pages", "page_id NOT IN " + keptPages},
            {"moz_pages_w_icons", "id NOT IN " + keptPages},
            {"moz_icons", "root = 0 AND id NOT IN (SELECT icon_id FROM moz_icons_to_pages WHERE "
                          "page_id IN " +
                              keptPages + ")"}};
}

// Whether places.sqlite has today's layout (moz_origins instead of moz_hosts); a busy store is
// taken as today's, so the current rows report it.
const std::vector<std::string> kInputHistoryDelete = {"DELETE FROM moz_inputhistory"};
const std::vector<std::string> kVisitsDelete = {"DELETE FROM moz_historyvisits"};

bool placesHaveOrigins(const StepContext& c) {
    auto places = ffStore(c.place, "places.sqlite");
    if (c.env.platform.layout() != platform::Layout::Linux || !places)
        return false;
    const auto names = stores::tableNames(*places);
    return names.busy ||
           std::find(names.names.begin(), names.names.end(), "moz_origins") != names.names.end();
}

CountPair countFirefoxHistory(const StepContext& c) {
    auto places = ffStore(c.place, "places.sqlite");
    if (!places)
        return {};
    if (placesHaveOrigins(c)) {
        auto total = stores::countStore(c.env, "Firefox", *places, historyRows());
        if (auto icons = ffStore(c.place, "favicons.sqlite"))
            total = add32(total, stores::countStore(c.env, "Firefox", *icons, iconRows(),
                                                    {stores::attachStatement(*places, "places")}));
        return total;
    }
    const auto tables = firefox::readPlacesTables(places->string());
    return tables.allFailed() ? CountPair{} : firefox::planFirefoxHistory(tables).count;
}

void removeFirefoxHistory(const StepContext& c) {
    auto places = ffStore(c.place, "places.sqlite");
    if (!places)
        return;
    if (placesHaveOrigins(c)) {
        // The icons first: their pages are told apart by what places still holds.
        if (auto icons = ffStore(c.place, "favicons.sqlite"))
            stores::emptyStore(c.env, "Firefox", *icons, iconRows(),
                               {stores::attachStatement(*places, "places")});
        return stores::emptyStore(c.env, "Firefox", *places, historyRows());
    }
    const auto tables = firefox::readPlacesTables(places->string());
    if (tables.allFailed())
        return;
    const auto plan = firefox::planFirefoxHistory(tables);
    if (!plan.hasVisits)
        return;
    // An empty batch runs nothing, so there is nothing to report for it.
    for (const auto* batch :
         {&plan.hostDeletes, &kInputHistoryDelete, &plan.placeDeletes, &kVisitsDelete}) {
        const auto code = items::runBatch(*places, *batch);
        const bool logged = batch == &plan.hostDeletes || batch == &plan.placeDeletes;
        if (logged && !code.empty() && code != kSQLiteOK)
            c.env.log.log(items::failedQueryLine(batch->back(), code));
    }
}

// The session count is the number of saved page entries in "sessionstore.js"; its size counts
// only when it holds at least one, while "sessionstore.bak" always adds its size.
CountPair countLegacySession(const StepContext& c) {
    auto session = ffStore(c.place, "sessionstore.js");
    if (!session)
        return {};
    std::int64_t count = 0;
    if (auto bytes = firefox::readWholeFile(*session))
        count = firefox::countSessionEntries(*bytes);
    else
        c.env.log.log("Error reading Firefox Sessions file");
    std::uint32_t size =
        count > 0 ? static_cast<std::uint32_t>(tpc::fs::entrySizeNoFollow(*session)) : 0;
    if (auto backup = ffStore(c.place, "sessionstore.bak"))
        size += static_cast<std::uint32_t>(tpc::fs::entrySizeNoFollow(*backup));
    return add32({count, 0}, {0, size});
}

// The text of a "mozLz40" file: the magic with its NUL, the text's size (32 bits, little
// endian), then one LZ4 block; nullopt when it is not one.
std::optional<std::string> readMozLz4(const fs::path& path) {
    const auto bytes = firefox::readWholeFile(path);
    if (!bytes || bytes->size() < 12 || bytes->compare(0, 8, std::string_view("mozLz40\0", 8)) != 0)
        return std::nullopt;
    std::uint32_t size = 0;
    for (int i = 3; i >= 0; --i)
        size = size << 8 | static_cast<std::uint8_t>((*bytes)[8 + static_cast<std::size_t>(i)]);
    if (size > (1u << 30))
        return std::nullopt;
    std::string text(size, '\0');
    const int n = LZ4_decompress_safe(bytes->data() + 12, text.data(),
                                      static_cast<int>(bytes->size() - 12), static_cast<int>(size));
    if (n < 0)
        return std::nullopt;
    text.resize(static_cast<std::size_t>(n));
    return text;
}

// Today's session: its saved page entries (1 for a file that cannot be read, so it is never shown
// as empty) and its size.
CountPair countCompressedSession(const StepContext& c) {
    auto session = ffStore(c.place, "sessionstore.jsonlz4");
    if (!session)
        return {};
    const auto text = readMozLz4(*session);
    const auto entries = text ? std::max<std::int64_t>(1, firefox::countSessionEntries(*text)) : 1;
    return add32({}, {entries, static_cast<std::int64_t>(tpc::fs::entrySizeNoFollow(*session))});
}

// The saved logins of "logins.json" (1 for a file that is not what it should be, so it is never
// shown as empty); the backup is a copy of the same logins: its size counts, its entries do not.
CountPair countLoginFiles(const StepContext& c) {
    CountPair total;
    for (const char* name : {"logins.json", "logins-backup.json"}) {
        auto path = ffStore(c.place, name);
        if (!path)
            continue;
        std::int64_t entries = 0;
        if (std::string_view(name) == "logins.json") {
            const auto text = firefox::readWholeFile(*path);
            const auto json = nlohmann::json::parse(text ? *text : "", nullptr, false);
            entries = json.is_object() && json.contains("logins") && json["logins"].is_array()
                          ? static_cast<std::int64_t>(json["logins"].size())
                          : 1;
        }
        total =
            add32(total, {entries, static_cast<std::int64_t>(tpc::fs::entrySizeNoFollow(*path))});
    }
    return total;
}

// Site storage: the per-origin folders of "storage/default" ("https+++example.com",
// "https+++example.com^userContextId=1", ...), each kept with its host; "storage/permanent"
// (the browser's own data) and "storage/temporary" stay.
SiteStorage ffSiteStorage(const StepContext& c) {
    SiteStorage storage(c.env.cookies, CookieBrowser::Firefox);
    if (tpc::fs::isFolderNoFollow(c.place.profile / "storage"))
        for (const auto& path :
             tpc::fs::listFolderNoFollow(c.place.profile / "storage" / "default"))
            if (auto host = firefoxOriginHost(fs::path(path).filename().string()))
                storage.addOrigin(path, *host);
    storage.addSiteRows(c.place.profile / "storage.sqlite", "origin", "origin", true);
    return storage;
}

std::vector<Place> firefoxPlaces(const CleanerEnv& env, Browser) {
    auto profiles = env.platform.layout() == platform::Layout::Linux
                        ? env.locations().firefoxProfiles()
                        : std::vector<FirefoxProfile>{};
    if (profiles.empty())
        profiles.push_back({env.locations().firefoxProfile().value_or(fs::path()),
                            env.locations().firefoxCacheProfile().value_or(fs::path())});
    std::vector<Place> places;
    for (const auto& p : profiles)
        places.push_back(
            {!p.folder.empty() && tpc::fs::isFolderNoFollow(p.folder) ? p.folder : fs::path(),
             !p.cache.empty() && tpc::fs::isFolderNoFollow(p.cache) ? p.cache : fs::path(),
             env.locations().firefoxWebCacheName()});
    return places;
}

} // namespace

const BrowserDef& firefoxDef() {
    using enum Layouts;
    const auto quiet = SqlMode::Quiet;
    const auto current = SqlMode::Current;
    const auto always = Refresh::Always;
    const auto legacyDownloads = steps::sql({"downloads.sqlite"}, {{"moz_downloads"}}, quiet,
                                            {{"moz_downloads", "state=1"}});
    const std::vector<TableRows> legacyLogins = {{"moz_logins"}, {"moz_deleted_logins"}};

    static const BrowserDef def{
        "Firefox",
        Browser::Firefox,
        CookieBrowser::Firefox,
        "org.mozilla.firefox",
        "Firefox",
        10,
        {{"Internet History", MacOS, 1, {steps::custom(countFirefoxHistory, removeFirefoxHistory)}},
         // With the sites the bounce tracking protection saw.
         {"Internet History",
          Linux,
          1,
          {steps::custom(countFirefoxHistory, removeFirefoxHistory),
           steps::sql({"bounce-tracking-protection.sqlite"}, {{"sites"}}, current)}},
         {"Internet Cache",
          Both,
          7,
          {steps::tree(StepKind::Folder, Base::WebCache, "", {}, false)}},
         {"Cookies", MacOS, 0, {steps::cookies(quiet)}},
         {"Cookies", Linux, 0, {steps::cookies(current)}},
         // Every row counts; only finished downloads go, the others are counted again.
         {"Download History", MacOS, 2, {legacyDownloads}, always},
         // Download annotations, then the download visits.
         {"Download History",
          Linux,
          2,
          {legacyDownloads,
           steps::sql({"places.sqlite"},
                      {{"moz_annos", "anno_attribute_id IN (SELECT id FROM moz_anno_attributes "
                                     "WHERE name LIKE 'downloads/%')"},
                       {"moz_historyvisits", "visit_type = 7"}},
                      current)},
          always},
         {"Saved Form Information",
          MacOS,
          3,
          {steps::sql({"formhistory.sqlite"}, {{"moz_formhistory"}, {"moz_deleted_formhistory"}},
                      quiet)},
          always},
         {"Saved Form Information",
          Linux,
          3,
          {steps::sql({"formhistory.sqlite"},
                      {{"moz_formhistory"},
                       {"moz_deleted_formhistory"},
                       {"moz_history_to_sources"},
                       {"moz_sources"}},
                      current)},
          always},
         {"Saved Passwords",
          MacOS,
          4,
          {steps::sql({"signons.sqlite"}, legacyLogins, quiet)},
          always},
         {"Saved Passwords",
          Linux,
          4,
          // Today's store keeps local and synced logins and the breach alerts seen for them.
          {steps::sql({"signons.sqlite"}, legacyLogins, current),
           steps::sql({"logins.db"}, {{"loginsL"}, {"loginsM"}, {"breachesL"}}, current),
           steps::custom(countLoginFiles, nullptr),
           steps::files({"logins.json", "logins-backup.json"}, false)},
          always},
         {"Sessions",
          MacOS,
          6,
          {steps::custom(countLegacySession, nullptr),
           steps::files({"sessionstore.js", "sessionstore.bak"}, false)}},
         // The backups folder stays for the browser to write its next backups into.
         {"Sessions",
          Linux,
          6,
          {steps::custom(countCompressedSession, nullptr),
           steps::files({"sessionstore.jsonlz4"}, false),
           steps::files({"sessionstore.js", "sessionstore.bak"}, true),
           steps::tree(StepKind::Contents, Base::Profile, "sessionstore-backups", {}, true)}},
         {"Site Preferences",
          Both,
          5,
          {steps::sql({"content-prefs.sqlite"}, {{"prefs"}}, quiet)},
          always},
         {"Application Cache",
          Both,
          8,
          {steps::tree(StepKind::Contents, Base::Cache, "", {}, false)}},
         {"Site Storage",
          Linux,
          9,
          {steps::custom(
              [](const StepContext& c) { return add32({}, ffSiteStorage(c).measure()); },
              [](const StepContext& c) { ffSiteStorage(c).remove(c.env, "Firefox"); })}}},
        firefoxPlaces,
        {{"cookies.sqlite"}, "moz_cookies", "host"}};
    return def;
}

} // namespace tpc::browsers
