// Opera's site-preference operations, which work on Firefox's "content-prefs.sqlite" in the
// Firefox profile and refresh the Firefox cookie lists, as the Firefox ones do. No Opera row
// reaches them.

#include "browsers/CookieLists.h"
#include "browsers/chrome/ChromiumFiles.h"
#include "browsers/chrome/ChromiumStores.h"
#include "browsers/opera/OperaCleaner.h"
#include "fs/Entries.h"
#include "platform/Platform.h"

#include <algorithm>

namespace tpc::browsers {

namespace fs = std::filesystem;
using namespace chromium;

namespace {

constexpr const char* kContentPrefs = "content-prefs.sqlite";

// The "host" texts of Firefox's cookies; none when the store or the column is missing.
std::vector<std::string> firefoxCookieHosts(const fs::path& profile) {
    std::vector<std::string> hosts;
    auto store = profile / "cookies.sqlite";
    if (!tpc::fs::isRegularFileNoFollow(store))
        return hosts;
    SQLite db;
    db.setfileName("cookies.sqlite");
    db.setfilePath(store.string());
    SQLiteResult result;
    db.query("SELECT * FROM moz_cookies;", result);
    if (!result.ok())
        return hosts;
    const auto& names = result.columnNames();
    auto column = std::find(names.begin(), names.end(), "host");
    if (column == names.end())
        return hosts;
    auto index = static_cast<std::size_t>(column - names.begin());
    for (const auto& row : result.rows())
        if (index < row.size())
            hosts.push_back(SQLiteResult::text(row[index]));
    return hosts;
}

} // namespace

void OperaCleaner::refreshFirefoxCookiesList() {
    auto profile = env_.locations().firefoxProfile();
    auto hosts = profile && tpc::fs::isFolderFollowingLinks(*profile) ? firefoxCookieHosts(*profile)
                                                                      : std::vector<std::string>{};
    env_.cookies.refreshCookiesList(CookieBrowser::Firefox, hosts);
}

CountPair OperaCleaner::countOperaSitePrefs() {
    auto profile = env_.locations().firefoxProfile();
    if (!profile || !tpc::fs::isFolderFollowingLinks(*profile))
        return {};
    return countTables(*profile / kContentPrefs, {"SELECT * FROM prefs;"});
}

void OperaCleaner::deleteOperaSitePrefs() {
    auto profile = env_.locations().firefoxProfile();
    if (profile && tpc::fs::isFolderFollowingLinks(*profile))
        runOne(*profile / kContentPrefs, "DELETE FROM prefs");
    refreshFirefoxCookiesList();
}

} // namespace tpc::browsers
