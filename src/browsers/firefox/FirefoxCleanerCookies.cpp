// The Firefox cookie item: counted by rows of moz_cookies, cleaned host by host except the hosts
// on the keep list.

#include "browsers/BusyStores.h"
#include "browsers/CookieLists.h"
#include "browsers/StoreTables.h"
#include "browsers/firefox/FirefoxCleaner.h"
#include "browsers/firefox/FirefoxCookies.h"
#include "core/SystemLog.h"

#include <algorithm>

namespace tpc::browsers {

namespace {
constexpr const char* kCookieStore = "cookies.sqlite";
constexpr const char* kSelectCookies = "SELECT * FROM moz_cookies;";
} // namespace

CountPair FirefoxCleaner::countFirefoxCookies() {
    if (currentLayout()) {
        auto path = store(kCookieStore);
        return path ? stores::countStore(env_, "Firefox", *path, {{"moz_cookies"}}) : CountPair{};
    }
    return countTables(kCookieStore, {kSelectCookies});
}

void FirefoxCleaner::deleteFirefoxCookies() {
    if (!env_.cookies.cookieDeletesAllowed()) {
        env_.log.log("Firefox cookies were not deleted: the list of cookies to keep could not be "
                     "read");
        return;
    }
    if (auto path = store(kCookieStore)) {
        SQLite db;
        db.setfileName(kCookieStore);
        db.setfilePath(path->string());
        SQLiteResult cookies;
        db.query(kSelectCookies, cookies);
        if (cookies.busy())
            noteBusyStore(env_, "Firefox", *path, StoreUse::Clean);
        if (cookies.ok() && !cookies.rows().empty()) {
            auto deletes = firefox::firefoxCookieDeletes(cookies, [this](const std::string& d) {
                return env_.cookies.allowedListContains(CookieBrowser::Firefox, d);
            });
            for (const auto& domain : deletes.domains)
                env_.cookies.removeFromDeleteList(CookieBrowser::Firefox, domain);
            SQLiteResult result;
            db.queryMultiple(deletes.statements, result);
        }
    }
    refreshFirefoxCookiesList();
}

void FirefoxCleaner::refreshFirefoxCookiesList() {
    std::vector<std::string> hosts;
    bool busy = false;
    // The list is the browser's, so it gathers the hosts of every profile whichever is in use.
    forEachProfile([&] {
        auto path = store(kCookieStore);
        if (!path)
            return;
        SQLite db;
        db.setfileName(kCookieStore);
        db.setfilePath(path->string());
        SQLiteResult cookies;
        db.query(kSelectCookies, cookies);
        // A store the browser holds locked says nothing of its hosts: the lists stay as they are.
        if (cookies.busy() && reportsBusyStores(env_))
            busy = true;
        else if (cookies.ok())
            for (auto& host : firefox::firefoxCookieHosts(cookies))
                if (std::find(hosts.begin(), hosts.end(), host) == hosts.end())
                    hosts.push_back(std::move(host));
    });
    if (!busy)
        env_.cookies.refreshCookiesList(CookieBrowser::Firefox, hosts);
}

} // namespace tpc::browsers
