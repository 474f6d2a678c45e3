#include "browsers/SiteStorage.h"

#include "browsers/BusyStores.h"
#include "browsers/LevelDbKeys.h"
#include "browsers/StoreTables.h"
#include "core/SystemLog.h"
#include "erase/Deleter.h"
#include "fs/Entries.h"
#include "fs/TreeMeasure.h"

#include <algorithm>

namespace tpc::browsers {

namespace fs = std::filesystem;

namespace {

bool siteStorageWebScheme(const std::string& scheme) {
    return scheme == "http" || scheme == "https";
}

} // namespace

std::optional<std::string> chromiumOriginHost(const std::string& origin) {
    // scheme "_" host "_" port; a host may itself hold underscores, the port never does.
    const auto first = origin.find('_');
    const auto last = origin.rfind('_');
    if (first == std::string::npos || last <= first + 1)
        return std::nullopt;
    if (!siteStorageWebScheme(origin.substr(0, first)))
        return std::nullopt;
    const auto port = origin.substr(last + 1);
    if (port.empty() ||
        !std::all_of(port.begin(), port.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return std::nullopt;
    return origin.substr(first + 1, last - first - 1);
}

std::optional<std::string> firefoxOriginHost(const std::string& folderName) {
    // scheme "+++" host ["+" port] ["^" attributes]; ':' is written '+' throughout.
    const auto origin = folderName.substr(0, folderName.find('^'));
    const auto sep = origin.find("+++");
    if (sep == std::string::npos || !siteStorageWebScheme(origin.substr(0, sep)))
        return std::nullopt;
    auto rest = origin.substr(sep + 3);
    std::string host;
    if (!rest.empty() && rest.front() == '[') {
        const auto close = rest.find(']');
        if (close == std::string::npos)
            return std::nullopt;
        host = rest.substr(0, close + 1);
        std::replace(host.begin(), host.end(), '+', ':');
    } else {
        host = rest.substr(0, rest.find('+'));
    }
    if (host.empty() || host == "[]")
        return std::nullopt;
    return host;
}

SiteStorage::SiteStorage(const CookieLists& cookies, CookieBrowser list)
    : cookies_(cookies), list_(list), readable_(cookies.cookieDeletesAllowed()),
      keepsAny_(!cookies.allowed(list).empty()) {}

bool SiteStorage::hostKept(const std::string& host) const {
    return cookies_.allowedListContains(list_, CookieLists::stripLeadingDots(host));
}

void SiteStorage::addOrigin(const fs::path& entry, const std::string& host) {
    if (readable_ && !hostKept(host))
        removed_.push_back(entry);
}

void SiteStorage::addShared(const fs::path& store) {
    if (!readable_)
        return;
    (keepsAny_ ? sharedKept_ : removed_).push_back(store);
}

void SiteStorage::addLocalStorage(const fs::path& db) {
    if (readable_ && !keepsAny_)
        removed_.push_back(db);
    else if (readable_ && tpc::fs::isRegularFileNoFollow(db / "CURRENT"))
        localStorage_.push_back(db);
}

void SiteStorage::addSiteRows(const fs::path& store, std::string table, std::string column,
                              bool origins) {
    if (readable_ && tpc::fs::isRegularFileNoFollow(store))
        siteRows_.push_back({store, std::move(table), std::move(column), origins});
}

CountPair SiteStorage::measure() const {
    CountPair total;
    for (const auto& entry : removed_) {
        // The tree below a folder does not count the folder itself: its own size is added here.
        auto bytes = tpc::fs::measureTreeNoFollow(entry.string()).bytes;
        if (tpc::fs::isFolderNoFollow(entry))
            bytes += tpc::fs::entrySizeNoFollow(entry);
        total.count += 1;
        total.size += static_cast<std::int64_t>(bytes);
    }
    const auto notKept =
        localStorageKeysNotKept([this](const std::string& h) { return hostKept(h); });
    for (const auto& db : localStorage_) {
        const auto part = measureLevelDbKeys(db, notKept);
        total.count += part.keys;
        total.size += part.bytes;
    }
    return total;
}

void SiteStorage::remove(const CleanerEnv& env, const std::string& browserName) const {
    if (!readable_) {
        env.log.log(browserName +
                    " site storage was not deleted: the list of cookies to keep could not be read");
        return;
    }
    std::vector<std::string> paths;
    for (const auto& entry : removed_)
        paths.push_back(entry.string());
    if (!paths.empty())
        env.deleter.deleteFiles(paths);
    const auto notKept =
        localStorageKeysNotKept([this](const std::string& h) { return hostKept(h); });
    for (const auto& db : localStorage_) {
        std::string error;
        if (removeLevelDbKeys(db, notKept, &error))
            continue;
        // A database the running browser holds is locked.
        if (error.find("lock") != std::string::npos)
            noteBusyStore(env, browserName, db, StoreUse::Clean);
        else
            env.log.log(browserName + " local storage could not be cleaned: " + error);
    }
    for (const auto& rows : siteRows_) {
        SQLiteResult result;
        stores::storeDb(rows.store)
            .query("SELECT " + rows.column + " FROM " + rows.table + ";", result);
        std::string gone;
        for (const auto& row : result.rows()) {
            const auto& value = SQLiteResult::text(row.front());
            const auto host = rows.origins ? webOriginHost(value) : std::optional(value);
            if (host && !host->empty() && !hostKept(*host))
                gone += (gone.empty() ? "'" : ", '") + sqlQuote(value) + "'";
        }
        if (!gone.empty())
            stores::emptyStore(env, browserName, rows.store,
                               {{rows.table, rows.column + " IN (" + gone + ")"}});
    }
    if (sharedKept_.empty())
        return;
    std::string kept;
    for (const auto& store : sharedKept_)
        kept += (kept.empty() ? "" : ", ") + store.string();
    env.log.log(browserName + " site storage kept: " + kept +
                " (shared by every site, so it cannot be split by host, and the list of cookies "
                "to keep is not empty)");
}

} // namespace tpc::browsers
