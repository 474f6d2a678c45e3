#include "browsers/chrome/ChromeCleaner.h"

#include "browsers/chrome/ChromiumCookies.h"
#include "browsers/chrome/ChromiumFiles.h"
#include "browsers/chrome/ChromiumStores.h"
#include "core/SystemLog.h"
#include "erase/Deleter.h"
#include "fs/Entries.h"

#include <stdexcept>

namespace tpc::browsers {

namespace fs = std::filesystem;
using namespace chromium;

namespace {

constexpr const char* kArchivedHistory = "Archived History";
constexpr const char* kHistory = "History";
constexpr const char* kHistoryIndexPrefix = "History Index";
constexpr const char* kWebData = "Web Data";
constexpr const char* kLoginData = "Login Data";
constexpr const char* kFavicons = "Favicons";
constexpr const char* kTopSites = "Top Sites";
constexpr const char* kSessionStorage = "Session Storage";
constexpr const char* kLock = "LOCK";

constexpr const char* kSelectLogins = "SELECT * FROM logins;";
constexpr const char* kDeleteLogins = "DELETE FROM logins;";
constexpr const char* kSelectThumbnails = "SELECT * FROM thumbnails;";
constexpr const char* kDeleteThumbnails = "DELETE FROM thumbnails;";

bool endsWith(const std::string& text, const std::string& suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// A "History Index ..." database; its journal and write-ahead files are not databases.
bool isHistoryIndexName(const std::string& name) {
    return name.rfind(kHistoryIndexPrefix, 0) == 0 && !endsWith(name, "-journal") &&
           !endsWith(name, "-wal") && !endsWith(name, "-shm");
}

} // namespace

ChromeCleaner::ChromeCleaner(CleanerEnv env, Browser which) : env_(env), which_(which) {
    if (!isChromeFamily(which))
        throw std::invalid_argument("not a Chrome-family browser");
}

const char* ChromeCleaner::browserName() const {
    switch (which_) {
    case Browser::Chromium:
        return "Chromium";
    case Browser::Brave:
        return "Brave";
    case Browser::Vivaldi:
        return "Vivaldi";
    case Browser::MicrosoftEdge:
        return "Microsoft Edge";
    default:
        return "Google Chrome";
    }
}

const char* ChromeCleaner::bundleIdentifier() const {
    switch (which_) {
    case Browser::Chromium:
        return "org.chromium.Chromium";
    case Browser::Brave:
        return "com.brave.Browser";
    case Browser::Vivaldi:
        return "com.vivaldi.Vivaldi";
    case Browser::MicrosoftEdge:
        return "com.microsoft.edgemac";
    default:
        return "com.google.Chrome";
    }
}

const std::vector<std::string>& ChromeCleaner::archivedHistoryTables() {
    static const std::vector<std::string> tables{"urls", "visits", "visit_source",
                                                 "keyword_search_terms"};
    return tables;
}

const std::vector<std::string>& ChromeCleaner::historyTables() {
    static const std::vector<std::string> tables{"urls",         "visits",
                                                 "visit_source", "keyword_search_terms",
                                                 "downloads",    "downloads_url_chains",
                                                 "segments",     "segment_usage"};
    return tables;
}

const std::vector<std::string>& ChromeCleaner::historyIndexTables() {
    static const std::vector<std::string> tables{"pages_content", "pages_segments", "pages_segdir",
                                                 "info"};
    return tables;
}

const std::vector<std::string>& ChromeCleaner::webDataTables() {
    static const std::vector<std::string> tables{"autofill",
                                                 "credit_cards",
                                                 "autofill_dates",
                                                 "autofill_profiles",
                                                 "autofill_profile_names",
                                                 "autofill_profile_emails",
                                                 "autofill_profile_phones",
                                                 "autofill_profiles_trash",
                                                 "keywords",
                                                 "token_service",
                                                 "web_app_icons",
                                                 "web_apps",
                                                 "web_intents",
                                                 "web_intents_defaults"};
    return tables;
}

const std::vector<std::string>& ChromeCleaner::faviconsTables() {
    static const std::vector<std::string> tables{"favicon_bitmaps", "favicons", "icon_mapping"};
    return tables;
}

std::vector<fs::path> ChromeCleaner::profiles() const {
    return env_.locations().chromeProfiles(which_);
}

std::vector<fs::path> ChromeCleaner::allCookieStores() const {
    std::vector<fs::path> list;
    for (const auto& folder : profiles())
        for (auto& store : cookieStores(folder))
            list.push_back(std::move(store));
    return list;
}

std::vector<std::pair<fs::path, const std::vector<std::string>*>>
ChromeCleaner::historyStores(const fs::path& profile) const {
    std::vector<std::pair<fs::path, const std::vector<std::string>*>> stores;
    if (tpc::fs::isRegularFileNoFollow(profile / kArchivedHistory))
        stores.emplace_back(profile / kArchivedHistory, &archivedHistoryTables());
    if (tpc::fs::isRegularFileNoFollow(profile / kHistory))
        stores.emplace_back(profile / kHistory, &historyTables());
    for (const auto& name : entryNames(profile, isHistoryIndexName))
        if (tpc::fs::isRegularFileNoFollow(profile / name))
            stores.emplace_back(profile / name, &historyIndexTables());
    return stores;
}

CountPair ChromeCleaner::countTablesIn(const char* store,
                                       const std::vector<std::string>& tables) const {
    CountPair total;
    for (const auto& folder : profiles())
        addPair(total, countTables(folder / store, selectStatements(tables)));
    return total;
}

void ChromeCleaner::emptyTablesIn(const char* store, const std::vector<std::string>& tables) {
    for (const auto& folder : profiles())
        runBatchLogged(folder / store, deleteStatements(tables), env_.log);
}

CountPair ChromeCleaner::countFile(const char* name) const {
    CountPair total;
    for (const auto& folder : profiles())
        if (tpc::fs::entryExists(folder / name))
            addPair(total, CountPair{1, static_cast<std::int64_t>(
                                            tpc::fs::entrySizeNoFollow(folder / name))});
    return total;
}

void ChromeCleaner::deleteFile(const char* name) {
    std::vector<std::string> paths;
    for (const auto& folder : profiles())
        if (tpc::fs::entryExists(folder / name))
            paths.push_back((folder / name).string());
    if (!paths.empty())
        env_.deleter.deleteFiles(paths);
}

// Cookies

CountPair ChromeCleaner::countChromeCookies() {
    const auto stores = allCookieStores();
    if (currentLayout()) {
        CountPair total;
        for (const auto& store : stores)
            addPair(total, stores::countStore(env_, browserName(), store, {{"cookies"}}));
        return total;
    }
    return countCookies(stores);
}

void ChromeCleaner::deleteChromeCookies() {
    if (!profiles().empty())
        deleteCookies(env_, CookieBrowser::Chrome, browserName(), allCookieStores());
}

void ChromeCleaner::refreshChromeCookiesList() {
    refreshCookies(env_, CookieBrowser::Chrome, allCookieStores());
}

// History

CountPair ChromeCleaner::countChromeHistory() {
    if (currentLayout())
        return countCurrent(Current::History);
    CountPair total;
    for (const auto& folder : profiles())
        for (const auto& [store, tables] : historyStores(folder))
            addPair(total, countTables(store, selectStatements(*tables)));
    return total;
}

void ChromeCleaner::deleteChromeHistory() {
    if (currentLayout())
        return emptyCurrent(Current::History);
    for (const auto& folder : profiles())
        for (const auto& [store, tables] : historyStores(folder))
            runBatchLogged(store, deleteStatements(*tables), env_.log);
}

// Caches

CountPair ChromeCleaner::countChromeCaches() {
    CountPair total;
    for (const auto& folder : profiles())
        addPair(total, countFolderEntries(folder / kSessionStorage, {kLock}));
    for (const auto& cache : env_.locations().chromeCaches(which_))
        addPair(total, countFolderEntries(cache));
    return total;
}

void ChromeCleaner::deleteChromeCaches() {
    for (const auto& folder : profiles()) {
        auto storage = topLevelEntries(folder / kSessionStorage, {kLock});
        if (!storage.empty())
            env_.deleter.deleteFiles(storage);
    }
    for (const auto& cache : env_.locations().chromeCaches(which_)) {
        auto entries = topLevelEntries(cache);
        if (!entries.empty())
            env_.deleter.deleteFiles(entries);
    }
}

// Session and tab files

CountPair ChromeCleaner::countChromeCurrentSession() {
    return currentLayout() ? countSessionFiles(SessionFile::CurrentSession)
                           : countFile("Current Session");
}
CountPair ChromeCleaner::countChromeCurrentTabs() {
    return currentLayout() ? countSessionFiles(SessionFile::CurrentTabs)
                           : countFile("Current Tabs");
}
CountPair ChromeCleaner::countChromeLastSession() {
    return currentLayout() ? countSessionFiles(SessionFile::LastSession)
                           : countFile("Last Session");
}
CountPair ChromeCleaner::countChromeLastTabs() {
    return currentLayout() ? countSessionFiles(SessionFile::LastTabs) : countFile("Last Tabs");
}
void ChromeCleaner::deleteChromeCurrentSession() {
    currentLayout() ? deleteSessionFiles(SessionFile::CurrentSession)
                    : deleteFile("Current Session");
}
void ChromeCleaner::deleteChromeCurrentTabs() {
    currentLayout() ? deleteSessionFiles(SessionFile::CurrentTabs) : deleteFile("Current Tabs");
}
void ChromeCleaner::deleteChromeLastSession() {
    currentLayout() ? deleteSessionFiles(SessionFile::LastSession) : deleteFile("Last Session");
}
void ChromeCleaner::deleteChromeLastTabs() {
    currentLayout() ? deleteSessionFiles(SessionFile::LastTabs) : deleteFile("Last Tabs");
}

// Form data, site icons

CountPair ChromeCleaner::countChromeSavedFormInformation() {
    if (currentLayout())
        return countCurrent(Current::FormData);
    return countTablesIn(kWebData, webDataTables());
}

void ChromeCleaner::deleteChromeSavedFormInformation() {
    if (currentLayout())
        return emptyCurrent(Current::FormData);
    emptyTablesIn(kWebData, webDataTables());
}

CountPair ChromeCleaner::countChromeSiteIcons() {
    if (currentLayout())
        return countCurrent(Current::SiteIcons);
    return countTablesIn(kFavicons, faviconsTables());
}

void ChromeCleaner::deleteChromeSiteIcons() {
    if (currentLayout())
        return emptyCurrent(Current::SiteIcons);
    emptyTablesIn(kFavicons, faviconsTables());
}

// Saved passwords, top sites

CountPair ChromeCleaner::countChromeSavedPasswords() {
    if (currentLayout())
        return countCurrent(Current::Passwords);
    CountPair total;
    for (const auto& folder : profiles())
        addPair(total, countTables(folder / kLoginData, {kSelectLogins}));
    return total;
}

void ChromeCleaner::deleteChromeSavedPasswords() {
    if (currentLayout())
        return emptyCurrent(Current::Passwords);
    for (const auto& folder : profiles()) {
        auto code = runOne(folder / kLoginData, kDeleteLogins);
        if (!code.empty() && code != kSQLiteOK)
            env_.log.log(failedQueryLine(kDeleteLogins, code));
    }
}

CountPair ChromeCleaner::countChromeTopSites() {
    if (currentLayout())
        return countCurrent(Current::TopSites);
    CountPair total;
    for (const auto& folder : profiles())
        addPair(total, countTables(folder / kTopSites, {kSelectThumbnails}));
    return total;
}

void ChromeCleaner::deleteChromeTopSites() {
    if (currentLayout())
        return emptyCurrent(Current::TopSites);
    for (const auto& folder : profiles()) {
        auto code = runOne(folder / kTopSites, kDeleteThumbnails);
        // The failure line has always named the logins statement; log readers rely on it.
        if (!code.empty() && code != kSQLiteOK)
            env_.log.log(failedQueryLine(kDeleteLogins, code));
    }
}

// Quit

void ChromeCleaner::quitChrome() {
    env_.platform.runningApps().terminate(bundleIdentifier());
}

} // namespace tpc::browsers
