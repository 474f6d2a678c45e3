#include "browsers/firefox/FirefoxCleaner.h"

#include "browsers/firefox/FirefoxSessions.h"
#include "browsers/firefox/FirefoxStores.h"
#include "core/SystemLog.h"
#include "erase/Deleter.h"
#include "fs/Entries.h"
#include "platform/Platform.h"

namespace tpc::browsers {

namespace fs = std::filesystem;
using namespace firefox;

FirefoxCleaner::FirefoxCleaner(CleanerEnv env) : env_(env) {}

std::optional<fs::path> FirefoxCleaner::profileFolder() const {
    auto profile = inUse_ ? std::optional(inUse_->folder) : env_.locations().firefoxProfile();
    if (!profile || !tpc::fs::isFolderNoFollow(*profile))
        return std::nullopt;
    return profile;
}

void FirefoxCleaner::forEachProfile(const std::function<void()>& op) {
    const auto profiles = env_.platform.layout() == platform::Layout::Linux
                              ? env_.locations().firefoxProfiles()
                              : std::vector<FirefoxProfile>{};
    if (profiles.empty())
        return op();
    const auto outer = inUse_;
    for (const auto& profile : profiles) {
        inUse_ = profile;
        op();
    }
    inUse_ = outer;
}

std::optional<fs::path> FirefoxCleaner::store(const char* name) const {
    auto profile = profileFolder();
    if (!profile)
        return std::nullopt;
    auto path = *profile / name;
    if (!tpc::fs::isRegularFileNoFollow(path))
        return std::nullopt;
    return path;
}

CountPair FirefoxCleaner::countTables(const char* name,
                                      const std::vector<const char*>& sqls) const {
    auto path = store(name);
    if (!path)
        return {};
    SQLite db;
    db.setfileName(name);
    db.setfilePath(path->string());
    CountPair total;
    for (const char* sql : sqls)
        total = add32(total, db.countRows(sql));
    return total;
}

void FirefoxCleaner::logFailedQuery(const std::string& sql, const std::string& code) {
    env_.log.log("SQLite failed query: " + sql + " errorCode: " + code);
}

// Download history: every row is counted, but only finished downloads (state 1) are removed;
// active and failed ones stay and are counted again by the next scan.
CountPair FirefoxCleaner::countFirefoxDownloadHistory() {
    const auto legacy = countTables("downloads.sqlite", {"SELECT * FROM moz_downloads;"});
    return currentLayout() ? add32(legacy, countCurrentDownloads()) : legacy;
}

void FirefoxCleaner::deleteFirefoxDownloadHistory() {
    if (auto path = store("downloads.sqlite")) {
        SQLite db;
        db.setfileName("downloads.sqlite");
        db.setfilePath(path->string());
        SQLiteResult result;
        db.query("DELETE FROM moz_downloads WHERE state=1;", result);
    }
    if (currentLayout())
        deleteCurrentDownloads();
    refreshFirefoxCookiesList();
}

CountPair FirefoxCleaner::countFirefoxFormHistory() {
    if (currentLayout())
        return countCurrentFormHistory();
    return countTables("formhistory.sqlite", {"SELECT * FROM moz_formhistory;",
                                              "SELECT * FROM moz_deleted_formhistory;"});
}

void FirefoxCleaner::deleteFirefoxFormHistory() {
    if (currentLayout()) {
        deleteCurrentFormHistory();
    } else if (auto path = store("formhistory.sqlite")) {
        SQLite db;
        db.setfileName("formhistory.sqlite");
        db.setfilePath(path->string());
        SQLiteResult result;
        db.queryMultiple({"DELETE FROM moz_formhistory", "DELETE FROM moz_deleted_formhistory"},
                         result);
    }
    refreshFirefoxCookiesList();
}

CountPair FirefoxCleaner::countFirefoxSignOns() {
    if (currentLayout())
        return countCurrentLogins();
    return countTables("signons.sqlite",
                       {"SELECT * FROM moz_logins;", "SELECT * FROM moz_deleted_logins;"});
}

void FirefoxCleaner::deleteFirefoxSignons() {
    if (currentLayout()) {
        deleteCurrentLogins();
    } else if (auto path = store("signons.sqlite")) {
        SQLite db;
        db.setfileName("signons.sqlite");
        db.setfilePath(path->string());
        SQLiteResult result;
        db.queryMultiple({"DELETE FROM moz_logins", "DELETE FROM moz_deleted_logins"}, result);
    }
    refreshFirefoxCookiesList();
}

CountPair FirefoxCleaner::countFirefoxSitePrefs() {
    return countTables("content-prefs.sqlite", {"SELECT * FROM prefs;"});
}

void FirefoxCleaner::deleteFirefoxSitePrefs() {
    if (auto path = store("content-prefs.sqlite")) {
        SQLite db;
        db.setfileName("content-prefs.sqlite");
        db.setfilePath(path->string());
        SQLiteResult result;
        db.query("DELETE FROM prefs", result);
    }
    refreshFirefoxCookiesList();
}

// The session count is the number of saved page entries in "sessionstore.js"; its size counts
// only when it holds at least one, while "sessionstore.bak" always adds its size.
CountPair FirefoxCleaner::countFirefoxSessions() {
    if (currentLayout())
        return countCurrentSessions();
    auto session = store("sessionstore.js");
    if (!session)
        return {};
    std::error_code ec;
    auto n = fs::file_size(*session, ec);
    if (ec)
        n = 0;
    std::int64_t count = 0;
    if (auto bytes = readWholeFile(*session))
        count = countSessionEntries(*bytes);
    else
        env_.log.log("Error reading Firefox Sessions file");

    std::uint32_t size = count > 0 ? static_cast<std::uint32_t>(n) : 0;
    if (auto backup = store("sessionstore.bak")) {
        auto bakSize = fs::file_size(*backup, ec);
        if (!ec)
            size += static_cast<std::uint32_t>(bakSize);
    }
    return pair32(count, size);
}

void FirefoxCleaner::deleteFirefoxSessions() {
    if (currentLayout())
        return deleteCurrentSessions();
    auto profile = profileFolder();
    if (!profile)
        return;
    std::vector<std::string> paths;
    for (const char* name : {"sessionstore.js", "sessionstore.bak"})
        if (tpc::fs::entryExists(*profile / name))
            paths.push_back((*profile / name).string());
    if (!paths.empty())
        env_.deleter.deleteFiles(paths);
}

void FirefoxCleaner::quitFirefox() {
    env_.platform.runningApps().terminate(kBundleIdentifier);
}

} // namespace tpc::browsers
