#include "browsers/chrome/ChromiumCookies.h"

#include "browsers/BusyStores.h"
#include "browsers/chrome/ChromiumFiles.h"
#include "browsers/chrome/ChromiumStores.h"
#include "core/SystemLog.h"
#include "fs/Entries.h"

#include <algorithm>

namespace tpc::browsers::chromium {

namespace {

SQLiteResult selectCookies(const std::filesystem::path& store) {
    SQLite db;
    db.setfileName(store.filename().string());
    db.setfilePath(store.string());
    SQLiteResult result;
    db.query(kSelectCookies, result);
    return result;
}

} // namespace

std::vector<std::filesystem::path> cookieStores(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> stores;
    for (auto candidate : {folder / "Cookies", folder / "Network" / "Cookies"})
        if (tpc::fs::isRegularFileNoFollow(candidate))
            stores.push_back(std::move(candidate));
    return stores;
}

std::vector<std::string> cookieHosts(const SQLiteResult& cookies) {
    std::vector<std::string> hosts;
    if (!cookies.ok())
        return hosts;
    const auto& names = cookies.columnNames();
    auto column = std::find(names.begin(), names.end(), kHostKeyColumn);
    if (column == names.end())
        return hosts;
    auto index = static_cast<std::size_t>(column - names.begin());
    for (const auto& row : cookies.rows())
        if (index < row.size())
            hosts.push_back(SQLiteResult::text(row[index]));
    return hosts;
}

CookieBatch cookieDeleteBatch(const SQLiteResult& cookies,
                              const std::function<bool(const std::string&)>& kept) {
    CookieBatch batch;
    for (const auto& host : cookieHosts(cookies)) {
        auto domain = CookieLists::stripLeadingDots(host);
        if (kept(domain))
            continue;
        batch.statements.push_back("DELETE FROM cookies WHERE host_key='" + sqlQuote(host) + "'");
        batch.domains.push_back(std::move(domain));
    }
    return batch;
}

CountPair countCookies(const std::vector<std::filesystem::path>& stores) {
    CountPair total;
    for (const auto& store : stores)
        addPair(total, countTables(store, {kSelectCookies}));
    return total;
}

void refreshCookies(const CleanerEnv& env, CookieBrowser list,
                    const std::vector<std::filesystem::path>& stores) {
    std::vector<std::string> hosts;
    for (const auto& store : stores) {
        auto cookies = selectCookies(store);
        // A store the browser holds locked says nothing of its hosts: the lists stay as they are.
        if (cookies.busy() && reportsBusyStores(env))
            return;
        auto storeHosts = cookieHosts(cookies);
        hosts.insert(hosts.end(), storeHosts.begin(), storeHosts.end());
    }
    env.cookies.refreshCookiesList(list, hosts);
}

void deleteCookies(const CleanerEnv& env, CookieBrowser list, const std::string& browserName,
                   const std::vector<std::filesystem::path>& stores) {
    if (!env.cookies.cookieDeletesAllowed()) {
        env.log.log(browserName +
                    " cookies were not deleted: the list of cookies to keep could not be read");
        return;
    }
    for (const auto& store : stores) {
        auto cookies = selectCookies(store);
        if (cookies.busy())
            noteBusyStore(env, browserName, store, StoreUse::Clean);
        if (!cookies.ok() || cookies.rows().empty())
            continue;
        auto batch = cookieDeleteBatch(cookies, [&](const std::string& domain) {
            return env.cookies.allowedListContains(list, domain);
        });
        runBatch(store, batch.statements);
        for (const auto& domain : batch.domains)
            env.cookies.removeFromDeleteList(list, domain);
    }
    refreshCookies(env, list, stores);
}

} // namespace tpc::browsers::chromium
