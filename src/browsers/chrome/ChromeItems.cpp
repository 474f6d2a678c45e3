// The Chrome family (Google Chrome, Chromium, Brave, Vivaldi, Microsoft Edge): one set of rows,
// run on every profile folder (macos: "Default") and every cache folder of the browser. The
// macos rows keep the stores as the older releases had them; the linux rows reach the stores as
// today's releases keep them: tables are looked up first, a store the running browser holds
// locked is reported, and a form data clean leaves the search engines ("keywords") alone.

#include "browsers/BusyStores.h"
#include "browsers/ItemRunner.h"
#include "browsers/LevelDbKeys.h"
#include "browsers/SiteStorage.h"
#include "core/SystemLog.h"
#include "fs/Entries.h"
#include "fs/Folders.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace tpc::browsers {

namespace fs = std::filesystem;
using stores::TableRows;

namespace {

const auto kArchivedHistory =
    steps::tables({"urls", "visits", "visit_source", "keyword_search_terms"});
const auto kHistoryIndex =
    steps::tables({"pages_content", "pages_segments", "pages_segdir", "info"});
const auto kFavicons = steps::tables({"favicon_bitmaps", "favicons", "icon_mapping"});

// Sessions: in "Sessions" and "Sessions_Encrypted", the newest "Session_<time>" or
// "Tabs_<time>" is the session being written (current), the older ones are the last sessions;
// the profile's own file of the older releases counts too.
enum SessionKind { CurrentSession, CurrentTabs, LastSession, LastTabs };

std::uint64_t sessionTime(const std::string& name, std::size_t prefix) {
    std::uint64_t time = 0;
    const auto [end, ec] = std::from_chars(name.data() + prefix, name.data() + name.size(), time);
    return ec == std::errc() && end == name.data() + name.size() ? time : 0;
}

template <SessionKind Kind> std::vector<fs::path> sessionFiles(const Place& place) {
    static const char* const legacy[] = {"Current Session", "Current Tabs", "Last Session",
                                         "Last Tabs"};
    std::vector<fs::path> files;
    if (tpc::fs::entryExists(place.profile / legacy[Kind]))
        files.push_back(place.profile / legacy[Kind]);
    const std::string prefix = Kind == CurrentTabs || Kind == LastTabs ? "Tabs_" : "Session_";
    for (const char* sessions : {"Sessions", "Sessions_Encrypted"}) {
        const auto dir = place.profile / sessions;
        std::vector<std::string> names;
        if (tpc::fs::isFolderNoFollow(dir))
            for (const auto& path : tpc::fs::listFolderNoFollow(dir))
                if (auto name = fs::path(path).filename().string();
                    name.starts_with(prefix) && tpc::fs::isRegularFileNoFollow(path))
                    names.push_back(std::move(name));
        const auto newest = std::max_element(
            names.begin(), names.end(), [&](const std::string& a, const std::string& b) {
                const auto ta = sessionTime(a, prefix.size()), tb = sessionTime(b, prefix.size());
                return ta != tb ? ta < tb : a < b;
            });
        for (auto it = names.begin(); it != names.end(); ++it)
            if ((it == newest) == (Kind == CurrentSession || Kind == CurrentTabs))
                files.push_back(dir / *it);
    }
    return files;
}

template <SessionKind Kind> Step sessionStep() {
    return steps::custom(
        [](const StepContext& c) { return items::countEntries(sessionFiles<Kind>(c.place)); },
        [](const StepContext& c) { items::deleteEntries(c.env, sessionFiles<Kind>(c.place)); });
}

// Site storage: the per-origin IndexedDB folders go unless their host is kept; the stores every
// site shares (Local Storage, Session Storage, service worker caches, File System) go only while
// nothing is kept.
SiteStorage chromeSiteStorage(const StepContext& c) {
    SiteStorage storage(c.env.cookies, c.browser.list);
    for (const auto& path : tpc::fs::listFolderNoFollow(c.place.profile / "IndexedDB")) {
        const auto name = fs::path(path).filename().string();
        for (const std::string suffix : {".indexeddb.leveldb", ".indexeddb.blob"})
            if (name.size() > suffix.size() && name.ends_with(suffix))
                if (auto host = chromiumOriginHost(name.substr(0, name.size() - suffix.size())))
                    storage.addOrigin(path, *host);
    }
    for (const auto& names : {std::vector<const char*>{"Local Storage", "leveldb"},
                              {"Session Storage"},
                              {"Service Worker", "CacheStorage"},
                              {"Service Worker", "ScriptCache"},
                              {"File System"}}) {
        // Every folder on the way is a real folder, never a link.
        auto path = c.place.profile;
        bool reachable = true;
        for (std::size_t i = 0; i < names.size(); ++i) {
            path /= names[i];
            reachable = reachable && (i + 1 == names.size() || tpc::fs::isFolderNoFollow(path));
        }
        if (reachable && tpc::fs::entryExists(path) &&
            names.front() == std::string("Local Storage"))
            storage.addLocalStorage(path);
        else if (reachable && tpc::fs::entryExists(path))
            storage.addShared(path);
    }
    storage.addSiteRows(c.place.profile / "WebStorage" / "QuotaManager", "buckets", "host", false);
    return storage;
}

Step siteStorageStep() {
    return steps::custom(
        [](const StepContext& c) { return add32({}, chromeSiteStorage(c).measure()); },
        [](const StepContext& c) { chromeSiteStorage(c).remove(c.env, c.browser.name); });
}

// The download records of the shared protobuf store: "<store type>_download,<guid>".
bool isDownloadRecord(std::string_view key) {
    const auto sep = key.find("_download,");
    return sep != std::string_view::npos && sep > 0 &&
           std::all_of(key.begin(), key.begin() + static_cast<std::ptrdiff_t>(sep),
                       [](char c) { return c >= '0' && c <= '9'; });
}

Step downloadRecordsStep() {
    return steps::custom(
        [](const StepContext& c) {
            const auto m =
                measureLevelDbKeys(c.place.profile / "shared_proto_db", isDownloadRecord);
            return add32({}, {m.keys, m.bytes});
        },
        [](const StepContext& c) {
            const auto db = c.place.profile / "shared_proto_db";
            std::string error;
            if (!tpc::fs::isRegularFileNoFollow(db / "CURRENT") ||
                removeLevelDbKeys(db, isDownloadRecord, &error))
                return;
            if (error.find("lock") != std::string::npos)
                noteBusyStore(c.env, c.browser.name, db, StoreUse::Clean);
            else
                c.env.log.log(std::string(c.browser.name) +
                              " download records could not be removed: " + error);
        });
}

Step tables(std::vector<std::string> stores, std::vector<TableRows> rows,
            const char* logAs = nullptr) {
    return steps::sql(std::move(stores), std::move(rows), SqlMode::Logged, {}, logAs);
}

Step current(std::vector<std::string> stores, std::vector<TableRows> rows) {
    return steps::sql(std::move(stores), std::move(rows), SqlMode::Current);
}

const std::vector<ItemRow>& chromeRows() {
    using enum Layouts;
    static const std::vector<ItemRow> rows = {
        {"Internet History",
         MacOS,
         1,
         {tables({"Archived History"}, kArchivedHistory),
          tables({"History"},
                 steps::tables({"urls", "visits", "visit_source", "keyword_search_terms",
                                "downloads", "downloads_url_chains", "segments", "segment_usage"})),
          tables({"History Index*"}, kHistoryIndex)}},
        // Wherever the profile records visited pages: "meta" and the sync metadata stay, so the
        // store keeps its version; Favicons keeps the icons and loses which page had which.
        {"Internet History",
         Linux,
         1,
         {current({"Archived History"}, kArchivedHistory),
          current({"History"}, steps::tables({"urls", "visits", "visit_source", "visited_links",
                                              "keyword_search_terms", "segments", "segment_usage",
                                              "content_annotations", "context_annotations",
                                              "clusters", "clusters_and_visits", "cluster_keywords",
                                              "cluster_visit_duplicates", "downloads",
                                              "downloads_url_chains", "downloads_slices"})),
          current({"History Index*"}, kHistoryIndex),
          current({"Favicons"}, steps::tables({"icon_mapping"})),
          current({"DIPS"}, steps::tables({"bounces", "popups"})),
          // The segmentation store is the data folder's, beside the profiles.
          current({"../segmentation_platform/ukm_db"}, steps::tables({"urls"})),
          steps::files({"DownloadMetadata"}), downloadRecordsStep()}},
        {"Internet Cache",
         Both,
         2,
         {steps::tree(StepKind::Contents, Base::Profile, "Session Storage", {"LOCK"}),
          steps::tree(StepKind::Contents, Base::Cache, "")}},
        {"Cookies", MacOS, 0, {steps::cookies(SqlMode::Quiet)}},
        {"Cookies", Linux, 0, {steps::cookies(SqlMode::Current)}},
        {"Current Session", MacOS, 3, {steps::files({"Current Session"})}},
        {"Current Session", Linux, 3, {sessionStep<CurrentSession>()}},
        {"Current Tabs", MacOS, 4, {steps::files({"Current Tabs"})}},
        {"Current Tabs", Linux, 4, {sessionStep<CurrentTabs>()}},
        {"Saved Form Information",
         MacOS,
         5,
         {tables({"Web Data"},
                 steps::tables({"autofill", "credit_cards", "autofill_dates", "autofill_profiles",
                                "autofill_profile_names", "autofill_profile_emails",
                                "autofill_profile_phones", "autofill_profiles_trash", "keywords",
                                "token_service", "web_app_icons", "web_apps", "web_intents",
                                "web_intents_defaults"}))}},
        // Form entries, addresses and cards; neither the search engines nor the sign-in tokens.
        {"Saved Form Information",
         Linux,
         5,
         {current(
             {"Web Data"},
             steps::tables({"autofill", "autofill_dates", "credit_cards", "addresses",
                            "address_type_tokens", "local_addresses", "local_addresses_type_tokens",
                            "contact_info", "contact_info_type_tokens", "autofill_profiles",
                            "autofill_profile_names", "autofill_profile_emails",
                            "autofill_profile_phones", "autofill_profile_addresses",
                            "autofill_profiles_trash"}))}},
        {"Saved Passwords", MacOS, 6, {tables({"Login Data"}, steps::tables({"logins"}))}},
        // The logins with their per-site statistics, notes and compromised-credential records.
        {"Saved Passwords",
         Linux,
         6,
         {current({"Login Data", "Login Data For Account"},
                  steps::tables({"logins", "stats", "insecure_credentials", "password_notes"}))}},
        {"Last Session", MacOS, 7, {steps::files({"Last Session"})}},
        {"Last Session", Linux, 7, {sessionStep<LastSession>()}},
        {"Last Tabs", MacOS, 8, {steps::files({"Last Tabs"})}},
        {"Last Tabs", Linux, 8, {sessionStep<LastTabs>()}},
        {"Site Icons", MacOS, 9, {tables({"Favicons"}, kFavicons)}},
        {"Site Icons", Linux, 9, {current({"Favicons"}, kFavicons)}},
        // The failure line has always named the logins statement; log readers rely on it.
        {"Top Sites",
         MacOS,
         10,
         {tables({"Top Sites"}, steps::tables({"thumbnails"}), "DELETE FROM logins;")}},
        {"Top Sites",
         Linux,
         10,
         {current({"Top Sites"}, steps::tables({"top_sites", "thumbnails"}))}},
        {"Site Storage", Linux, 11, {siteStorageStep()}},
    };
    return rows;
}

std::vector<Place> chromePlaces(const CleanerEnv& env, Browser browser) {
    std::vector<Place> places;
    for (auto& profile : env.locations().chromeProfiles(browser))
        places.push_back({std::move(profile), {}});
    for (auto& cache : env.locations().chromeCaches(browser))
        places.push_back({{}, std::move(cache)});
    return places;
}

BrowserDef chromeDef(const char* name, Browser browser, const char* bundle, const char* quitName) {
    return {name,         browser,      CookieBrowser::Chrome,
            bundle,       quitName,     12,
            chromeRows(), chromePlaces, {{"Cookies", "Network/Cookies"}, "cookies", "host_key"}};
}

} // namespace

std::vector<Step> chromeFamilySteps(std::initializer_list<const char*> descriptions) {
    std::vector<Step> steps;
    for (const char* description : descriptions)
        for (const auto& row : chromeRows())
            if (row.layouts == Layouts::Linux && std::string_view(description) == row.description)
                steps.insert(steps.end(), row.steps.begin(), row.steps.end());
    return steps;
}

const BrowserDef& chromeFamilyDef(Browser browser) {
    static const BrowserDef defs[] = {
        chromeDef("Google Chrome", Browser::GoogleChrome, "com.google.Chrome", "Chrome"),
        chromeDef("Chromium", Browser::Chromium, "org.chromium.Chromium", "Chromium"),
        chromeDef("Brave", Browser::Brave, "com.brave.Browser", "Brave"),
        chromeDef("Vivaldi", Browser::Vivaldi, "com.vivaldi.Vivaldi", "Vivaldi"),
        chromeDef("Microsoft Edge", Browser::MicrosoftEdge, "com.microsoft.edgemac",
                  "Microsoft Edge")};
    for (const auto& def : defs)
        if (def.browser == browser)
            return def;
    throw std::invalid_argument("not a Chrome-family browser");
}

} // namespace tpc::browsers
