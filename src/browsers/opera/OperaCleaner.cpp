#include "browsers/opera/OperaCleaner.h"

#include "browsers/chrome/ChromiumCookies.h"
#include "browsers/chrome/ChromiumFiles.h"
#include "browsers/chrome/ChromiumStores.h"
#include "core/SystemLog.h"
#include "erase/Deleter.h"
#include "fs/Entries.h"
#include "platform/Platform.h"

namespace tpc::browsers {

namespace fs = std::filesystem;
using namespace chromium;

namespace {

constexpr const char* kHistory = "History";
constexpr const char* kArchivedHistory = "Archived History";
constexpr const char* kWebData = "Web Data";
constexpr const char* kStash = "stash.db";
constexpr const char* kThumbnails = "thumbnails.db";
constexpr const char* kLoginData = "Login Data";
constexpr const char* kSession = "session.db";

const std::vector<std::string> kHistoryDeletes{
    "DELETE FROM urls;",         "DELETE FROM visits;",
    "DELETE FROM visit_source;", "DELETE FROM keyword_search_terms;",
    "DELETE FROM segments;",     "DELETE FROM segment_usage;"};
const std::vector<std::string> kArchivedHistoryDeletes{"DELETE FROM urls;", "DELETE FROM visits;",
                                                       "DELETE FROM visit_source;",
                                                       "DELETE FROM keyword_search_terms;"};
const std::vector<std::string> kDownloadDeletes{"DELETE FROM downloads;",
                                                "DELETE FROM downloads_url_chains;"};
const std::vector<std::string> kSessionSelects{"SELECT * FROM windows;",
                                               "SELECT * FROM window_attrs;"};
const std::vector<std::string> kSessionDeletes{"DELETE FROM windows;", "DELETE FROM window_attrs;"};

} // namespace

OperaCleaner::OperaCleaner(CleanerEnv env) : env_(env) {}

std::optional<fs::path> OperaCleaner::dataFolder() const {
    auto folder = env_.locations().operaData();
    if (!tpc::fs::isFolderFollowingLinks(folder))
        return std::nullopt;
    return folder;
}

CountPair OperaCleaner::countStore(const char* store,
                                   const std::vector<std::string>& selects) const {
    auto folder = dataFolder();
    if (!folder)
        return {};
    return countTables(*folder / store, selects);
}

void OperaCleaner::deleteOneAtATime(const fs::path& store, const std::vector<std::string>& sqls) {
    if (!tpc::fs::isRegularFileNoFollow(store))
        return;
    for (const auto& sql : sqls) {
        auto code = runOne(store, sql);
        if (code != kSQLiteOK)
            env_.log.log(failedQueryLine(sql, code));
    }
}

void OperaCleaner::deleteBatch(const char* store, const std::vector<std::string>& sqls) {
    auto folder = dataFolder();
    if (!folder || !tpc::fs::isRegularFileNoFollow(*folder / store))
        return;
    runBatch(*folder / store, sqls);
    refreshOperaCookiesList();
}

// Cookies

std::vector<fs::path> OperaCleaner::cookieStores() const {
    auto folder = dataFolder();
    if (!folder)
        return {};
    return chromium::cookieStores(*folder);
}

CountPair OperaCleaner::countOperaCookies() {
    return countCookies(cookieStores());
}

void OperaCleaner::deleteOperaCookies() {
    if (!dataFolder())
        return;
    deleteCookies(env_, CookieBrowser::Opera, "Opera", cookieStores());
}

void OperaCleaner::refreshOperaCookiesList() {
    refreshCookies(env_, CookieBrowser::Opera, cookieStores());
}

// History and downloads

CountPair OperaCleaner::countOperaInternetHistory() {
    auto folder = dataFolder();
    if (!folder)
        return {};
    if (tpc::fs::isRegularFileNoFollow(*folder / kHistory))
        return countTables(*folder / kHistory,
                           {"SELECT * FROM urls;", "SELECT * FROM keyword_search_terms;",
                            "SELECT * FROM segments;"});
    return countTables(*folder / kArchivedHistory,
                       {"SELECT * FROM urls;", "SELECT * FROM keyword_search_terms;"});
}

void OperaCleaner::deleteOperaInternetHistory() {
    auto folder = dataFolder();
    if (!folder)
        return;
    deleteOneAtATime(*folder / kHistory, kHistoryDeletes);
    deleteOneAtATime(*folder / kArchivedHistory, kArchivedHistoryDeletes);
}

CountPair OperaCleaner::countOperaDownloadHistory() {
    return countStore(kHistory, {"SELECT * FROM downloads;"});
}

void OperaCleaner::deleteOperaDownloadHistory() {
    if (auto folder = dataFolder())
        deleteOneAtATime(*folder / kHistory, kDownloadDeletes);
}

// Form data, logins, stash, thumbnails

CountPair OperaCleaner::countOperaFormHistory() {
    return countStore(kWebData, {"SELECT * FROM autofill;", "SELECT * FROM credit_cards;",
                                 "SELECT * FROM keywords;", "SELECT * FROM token_service;"});
}

void OperaCleaner::deleteOperaFormHistory() {
    deleteBatch(kWebData,
                {"DELETE FROM autofill", "DELETE FROM credit_cards", "DELETE FROM autofill_dates",
                 "DELETE FROM autofill_profiles", "DELETE FROM autofill_profile_names",
                 "DELETE FROM autofill_profile_emails", "DELETE FROM autofill_profile_phones",
                 "DELETE FROM autofill_profiles_trash", "DELETE FROM keywords",
                 "DELETE FROM token_service"});
}

CountPair OperaCleaner::countOperaSignOns() {
    return countStore(kLoginData, {"SELECT * FROM logins;"});
}

void OperaCleaner::deleteOperaSignons() {
    deleteBatch(kLoginData, {"DELETE FROM logins"});
}

CountPair OperaCleaner::countOperaStash() {
    return countStore(kStash, {"SELECT * FROM stash;", "SELECT * FROM snapshots;"});
}

void OperaCleaner::deleteOperaStash() {
    deleteBatch(kStash, {"DELETE FROM stash", "DELETE FROM stash_fts_content",
                         "DELETE FROM stash_fts_segments", "DELETE FROM stash_fts_segdir",
                         "DELETE FROM snapshots", "DELETE FROM task_queue"});
}

CountPair OperaCleaner::countOperaThumbs() {
    return countStore(kThumbnails, {"SELECT * FROM thumbnails;"});
}

void OperaCleaner::deleteOperaThumbs() {
    deleteBatch(kThumbnails, {"DELETE FROM thumbnails"});
}

// Sessions

CountPair OperaCleaner::countOperaSessions() {
    auto folder = dataFolder();
    if (!folder || !tpc::fs::isRegularFileNoFollow(*folder / kSession))
        return {};
    SQLite db;
    db.setfileName(kSession);
    db.setfilePath((*folder / kSession).string());
    SQLiteResult windows, attrs;
    auto pair = db.countRows(kSessionSelects[0], &windows);
    const auto attrsPair = db.countRows(kSessionSelects[1], &attrs);
    if (!windows.ok() || !attrs.ok())
        return {};
    addPair(pair, CountPair{0, attrsPair.size});
    return pair;
}

void OperaCleaner::deleteOperaSessions() {
    auto folder = dataFolder();
    if (!folder)
        return;
    deleteOneAtATime(*folder / kSession, kSessionDeletes);
    auto backup = *folder / "session.dbak";
    if (tpc::fs::entryExists(backup))
        env_.deleter.deleteFiles({backup.string()});
}

} // namespace tpc::browsers
