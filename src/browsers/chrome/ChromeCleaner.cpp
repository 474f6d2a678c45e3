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
    if (which != Browser::GoogleChrome && which != Browser::Chromium)
        throw std::invalid_argument("not a Chrome-family browser");
}

const char* ChromeCleaner::browserName() const {
    return which_ == Browser::Chromium ? "Chromium" : "Google Chrome";
}

const char* ChromeCleaner::bundleIdentifier() const {
    return which_ == Browser::Chromium ? "org.chromium.Chromium" : "com.google.Chrome";
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

std::optional<fs::path> ChromeCleaner::profile() const {
    auto folder = env_.locations().chromeProfile(which_);
    if (!tpc::fs::isFolderFollowingLinks(folder))
        return std::nullopt;
    return folder;
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
    auto folder = profile();
    if (!folder)
        return {};
    return countTables(*folder / store, selectStatements(tables));
}

void ChromeCleaner::emptyTablesIn(const char* store, const std::vector<std::string>& tables) {
    auto folder = profile();
    if (!folder)
        return;
    runBatchLogged(*folder / store, deleteStatements(tables), env_.log);
}

CountPair ChromeCleaner::countFile(const char* name) const {
    auto folder = profile();
    if (!folder || !tpc::fs::entryExists(*folder / name))
        return {};
    return CountPair{1, static_cast<std::int64_t>(tpc::fs::entrySizeNoFollow(*folder / name))};
}

void ChromeCleaner::deleteFile(const char* name) {
    auto folder = profile();
    if (!folder || !tpc::fs::entryExists(*folder / name))
        return;
    env_.deleter.deleteFiles({(*folder / name).string()});
}

// Cookies

CountPair ChromeCleaner::countChromeCookies() {
    auto folder = profile();
    if (!folder)
        return {};
    if (currentLayout()) {
        CountPair total;
        for (const auto& store : cookieStores(*folder))
            addPair(total, stores::countStore(env_, browserName(), store, {{"cookies"}}));
        return total;
    }
    return countCookies(cookieStores(*folder));
}

void ChromeCleaner::deleteChromeCookies() {
    auto folder = profile();
    if (!folder)
        return;
    deleteCookies(env_, CookieBrowser::Chrome, browserName(), cookieStores(*folder));
}

void ChromeCleaner::refreshChromeCookiesList() {
    auto folder = profile();
    refreshCookies(env_, CookieBrowser::Chrome,
                   folder ? cookieStores(*folder) : std::vector<fs::path>{});
}

// History

CountPair ChromeCleaner::countChromeHistory() {
    if (currentLayout())
        return countCurrent(Current::History);
    CountPair total;
    auto folder = profile();
    if (!folder)
        return total;
    for (const auto& [store, tables] : historyStores(*folder))
        addPair(total, countTables(store, selectStatements(*tables)));
    return total;
}

void ChromeCleaner::deleteChromeHistory() {
    if (currentLayout())
        return emptyCurrent(Current::History);
    auto folder = profile();
    if (!folder)
        return;
    for (const auto& [store, tables] : historyStores(*folder))
        runBatchLogged(store, deleteStatements(*tables), env_.log);
}

// Caches

CountPair ChromeCleaner::countChromeCaches() {
    CountPair total;
    if (auto folder = profile())
        total = countFolderEntries(*folder / kSessionStorage, {kLock});
    addPair(total, countFolderEntries(env_.locations().chromeCache(which_)));
    return total;
}

void ChromeCleaner::deleteChromeCaches() {
    if (auto folder = profile()) {
        auto storage = topLevelEntries(*folder / kSessionStorage, {kLock});
        if (!storage.empty())
            env_.deleter.deleteFiles(storage);
    }
    auto caches = topLevelEntries(env_.locations().chromeCache(which_));
    if (!caches.empty())
        env_.deleter.deleteFiles(caches);
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
    auto folder = profile();
    if (!folder)
        return {};
    return countTables(*folder / kLoginData, {kSelectLogins});
}

void ChromeCleaner::deleteChromeSavedPasswords() {
    if (currentLayout())
        return emptyCurrent(Current::Passwords);
    auto folder = profile();
    if (!folder)
        return;
    auto code = runOne(*folder / kLoginData, kDeleteLogins);
    if (!code.empty() && code != kSQLiteOK)
        env_.log.log(failedQueryLine(kDeleteLogins, code));
}

CountPair ChromeCleaner::countChromeTopSites() {
    if (currentLayout())
        return countCurrent(Current::TopSites);
    auto folder = profile();
    if (!folder)
        return {};
    return countTables(*folder / kTopSites, {kSelectThumbnails});
}

void ChromeCleaner::deleteChromeTopSites() {
    if (currentLayout())
        return emptyCurrent(Current::TopSites);
    auto folder = profile();
    if (!folder)
        return;
    auto code = runOne(*folder / kTopSites, kDeleteThumbnails);
    // The failure line has always named the logins statement; log readers rely on it.
    if (!code.empty() && code != kSQLiteOK)
        env_.log.log(failedQueryLine(kDeleteLogins, code));
}

// Quit

void ChromeCleaner::quitChrome() {
    env_.platform.runningApps().terminate(bundleIdentifier());
}

} // namespace tpc::browsers
