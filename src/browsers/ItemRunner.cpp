#include "browsers/ItemRunner.h"

#include "browsers/BusyStores.h"
#include "core/SystemLog.h"
#include "erase/Deleter.h"
#include "fs/Entries.h"
#include "fs/Folders.h"
#include "fs/TreeMeasure.h"
#include "platform/Platform.h"

#include <algorithm>

namespace tpc::browsers {

namespace fs = std::filesystem;

namespace items {

fs::path basePath(const Step& step, const Place& place) {
    if (step.base == Base::WebCache)
        return place.cache.empty() || place.webCache.empty() ? fs::path()
                                                             : place.cache / place.webCache;
    return step.base == Base::Profile ? place.profile : place.cache;
}

std::vector<fs::path> stepPaths(const Step& step, const Place& place) {
    const auto base = basePath(step, place);
    std::vector<fs::path> paths;
    for (const auto& name : step.paths) {
        if (name.empty() || name.back() != '*') {
            paths.push_back(name.empty() ? base : base / name);
            continue;
        }
        // Every database of that name: journal and write-ahead files are not databases.
        const auto prefix = name.substr(0, name.size() - 1);
        for (const auto& entry : tpc::fs::folderNamesFollowingLinks(base)) {
            const bool aside =
                entry.ends_with("-journal") || entry.ends_with("-wal") || entry.ends_with("-shm");
            if (entry.starts_with(prefix) && !aside)
                paths.push_back(base / entry);
        }
    }
    return paths;
}

namespace {

std::vector<std::string> statements(const char* verb, const std::vector<stores::TableRows>& rows) {
    std::vector<std::string> sqls;
    for (const auto& r : rows)
        sqls.push_back(std::string(verb) + r.table + (r.where.empty() ? "" : " WHERE " + r.where) +
                       ";");
    return sqls;
}

} // namespace

CountPair countSelects(const fs::path& store, const std::vector<std::string>& sqls) {
    CountPair total;
    if (!tpc::fs::isRegularFileNoFollow(store))
        return total;
    const auto db = stores::storeDb(store);
    for (const auto& sql : sqls)
        total = add32(total, db.countRows(sql));
    return total;
}

std::string runBatch(const fs::path& store, const std::vector<std::string>& sqls) {
    if (sqls.empty() || !tpc::fs::isRegularFileNoFollow(store))
        return "";
    SQLiteResult result;
    stores::storeDb(store).queryMultiple(sqls, result);
    return result.errorCode();
}

std::string failedQueryLine(const std::string& statement, const std::string& code) {
    return "SQLite failed query: " + statement + " errorCode: " + code;
}

CountPair countEntries(const std::vector<fs::path>& paths) {
    CountPair total;
    for (const auto& path : paths)
        if (tpc::fs::entryExists(path))
            total = add32(total, {1, static_cast<std::int64_t>(tpc::fs::entrySizeNoFollow(path))});
    return total;
}

void deleteEntries(const CleanerEnv& env, const std::vector<fs::path>& paths) {
    std::vector<std::string> existing;
    for (const auto& path : paths)
        if (tpc::fs::entryExists(path))
            existing.push_back(path.string());
    if (!existing.empty())
        env.deleter.deleteFiles(existing);
}

std::vector<std::string> cookieHosts(const fs::path& store, const CookieStores& kind, bool* busy) {
    std::vector<std::string> hosts;
    if (!tpc::fs::isRegularFileNoFollow(store))
        return hosts;
    SQLiteResult result;
    stores::storeDb(store).query(std::string("SELECT * FROM ") + kind.table + ";", result);
    if (busy)
        *busy = result.busy();
    const auto& names = result.columnNames();
    const auto column = std::find(names.begin(), names.end(), kind.hostColumn);
    if (!result.ok() || column == names.end())
        return hosts;
    const auto index = static_cast<std::size_t>(column - names.begin());
    for (const auto& row : result.rows())
        if (index < row.size())
            hosts.push_back(SQLiteResult::text(row[index]));
    return hosts;
}

} // namespace items

namespace steps {

std::vector<stores::TableRows> tables(std::initializer_list<const char*> names) {
    std::vector<stores::TableRows> rows;
    for (const char* name : names)
        rows.push_back({name});
    return rows;
}

Step sql(std::vector<std::string> stores, std::vector<stores::TableRows> count, SqlMode mode,
         std::vector<stores::TableRows> remove, const char* logAs) {
    Step step{StepKind::Tables};
    step.paths = std::move(stores);
    step.count = std::move(count);
    step.remove = std::move(remove);
    step.sql = mode;
    step.logAs = logAs;
    return step;
}

Step files(std::vector<std::string> names, bool counts) {
    Step step{StepKind::Files};
    step.paths = std::move(names);
    step.counts = counts;
    return step;
}

Step tree(StepKind kind, Base base, std::string path, std::vector<std::string> skip, bool wrap) {
    Step step{kind, base};
    step.paths = {std::move(path)};
    step.skip = std::move(skip);
    step.wrap = wrap;
    return step;
}

Step cookies(SqlMode mode) {
    Step step{StepKind::Cookies};
    step.sql = mode;
    return step;
}

Step custom(CountPair (*count)(const StepContext&), void (*remove)(const StepContext&), Base base) {
    Step step{StepKind::Custom, base};
    step.countFn = count;
    step.removeFn = remove;
    step.counts = count != nullptr;
    step.removes = remove != nullptr;
    return step;
}

} // namespace steps

using namespace items;

namespace {

bool listedIn(const ItemRow& row, platform::Layout layout) {
    return row.layouts == Layouts::Both ||
           (row.layouts == Layouts::Linux) == (layout == platform::Layout::Linux);
}

std::vector<stores::TableRows> removedRows(const Step& step) {
    return step.remove.empty() ? step.count : step.remove;
}

} // namespace

std::vector<std::string> ItemRunner::descriptions(const BrowserDef& def, platform::Layout layout) {
    std::vector<std::string> names;
    for (const auto& row : def.rows)
        if (row.scan >= 0 && listedIn(row, layout) &&
            std::find(names.begin(), names.end(), row.description) == names.end())
            names.emplace_back(row.description);
    names.push_back(std::string("Auto Quit ") + def.quitName);
    return names;
}

std::vector<std::string> ItemRunner::scanOrder(const BrowserDef& def, platform::Layout layout) {
    std::vector<const ItemRow*> rows;
    for (const auto& row : def.rows)
        if (row.scan >= 0 && listedIn(row, layout))
            rows.push_back(&row);
    std::stable_sort(rows.begin(), rows.end(),
                     [](const ItemRow* a, const ItemRow* b) { return a->scan < b->scan; });
    std::vector<std::string> names;
    for (const auto* row : rows)
        names.emplace_back(row->description);
    return names;
}

bool ItemRunner::isQuit(const std::string& description) const {
    if (description == std::string("Auto Quit ") + def_.quitName)
        return true;
    // Every Chrome-family browser answers to the family's auto-quit names.
    if (!isChromeFamily(def_.browser))
        return false;
    for (const auto* name : {"Chrome", "Chromium", "Brave", "Vivaldi", "Microsoft Edge"})
        if (description == std::string("Auto Quit ") + name)
            return true;
    return false;
}

const ItemRow* ItemRunner::find(const std::string& description) const {
    for (const auto& row : def_.rows)
        if (description == row.description && listedIn(row, env_.platform.layout()))
            return &row;
    return nullptr;
}

std::optional<CountPair> ItemRunner::count(const std::string& description) const {
    const auto* row = find(description);
    if (!row)
        return std::nullopt;
    CountPair total;
    const auto places = def_.places(env_, def_.browser);
    for (const auto& step : row->steps) {
        if (!step.counts)
            continue;
        for (const auto& place : places) {
            if (basePath(step, place).empty())
                continue;
            const auto part = countStep(step, place);
            total = step.wrap ? add32(total, part)
                              : CountPair{total.count + part.count, total.size + part.size};
        }
    }
    return total;
}

CountPair ItemRunner::countStep(const Step& step, const Place& place) const {
    switch (step.kind) {
    case StepKind::Tables:
    case StepKind::Cookies: {
        if (step.countUnless && tpc::fs::isRegularFileNoFollow(place.profile / step.countUnless))
            return {};
        const auto files = step.kind == StepKind::Tables ? stepPaths(step, place) : [&] {
            std::vector<fs::path> stores;
            for (const auto& name : def_.cookies.files)
                stores.push_back(place.profile / name);
            return stores;
        }();
        const auto rows = step.kind == StepKind::Tables
                              ? step.count
                              : std::vector<stores::TableRows>{{def_.cookies.table}};
        CountPair total;
        for (const auto& store : files)
            total = add32(total, step.sql == SqlMode::Current
                                     ? stores::countStore(env_, def_.name, store, rows)
                                     : countSelects(store, statements("SELECT * FROM ", rows)));
        return total;
    }
    case StepKind::Files:
        return countEntries(stepPaths(step, place));
    case StepKind::Contents:
    case StepKind::Folder: {
        CountPair total;
        auto skip = step.skip;
        if (step.base == Base::Cache && !place.webCache.empty())
            skip.push_back(place.webCache);
        for (const auto& path : stepPaths(step, place)) {
            const auto tree = tpc::fs::measureFolderNoFollow(path.string(), skip);
            const CountPair part{static_cast<std::int64_t>(tree.count),
                                 static_cast<std::int64_t>(tree.bytes)};
            total = step.wrap ? add32(total, {part.count, static_cast<std::uint32_t>(part.size)})
                              : CountPair{total.count + part.count, total.size + part.size};
        }
        return total;
    }
    case StepKind::Custom:
        return step.countFn ? step.countFn({env_, def_, place}) : CountPair{};
    }
    return {};
}

bool ItemRunner::remove(const std::string& description) const {
    if (isQuit(description)) {
        env_.platform.runningApps().terminate(def_.bundleIdentifier);
        return true;
    }
    const auto* row = find(description);
    if (!row)
        return false;
    const auto places = def_.places(env_, def_.browser);
    for (const auto& step : row->steps) {
        if (!step.removes)
            continue;
        if (step.kind == StepKind::Cookies) {
            removeCookies(places);
            continue;
        }
        for (const auto& place : places)
            if (!basePath(step, place).empty())
                removeStep(step, place);
    }
    if (row->refresh == Refresh::Always)
        refreshCookies();
    return true;
}

void ItemRunner::removeStep(const Step& step, const Place& place) const {
    switch (step.kind) {
    case StepKind::Tables:
        for (const auto& store : stepPaths(step, place)) {
            const auto rows = removedRows(step);
            const auto sqls = statements("DELETE FROM ", rows);
            if (step.sql == SqlMode::Current) {
                stores::emptyStore(env_, def_.name, store, rows);
            } else if (step.sql == SqlMode::EachLogged) {
                if (!tpc::fs::isRegularFileNoFollow(store))
                    continue;
                for (const auto& sql : sqls)
                    if (auto code = runBatch(store, {sql}); code != kSQLiteOK)
                        env_.log.log(failedQueryLine(sql, code));
            } else if (auto code = runBatch(store, sqls);
                       step.sql == SqlMode::Logged && !code.empty() && code != kSQLiteOK) {
                env_.log.log(failedQueryLine(step.logAs ? step.logAs : sqls.back(), code));
            }
        }
        break;
    case StepKind::Files:
    case StepKind::Folder:
        deleteEntries(env_, stepPaths(step, place));
        break;
    case StepKind::Contents: {
        auto skip = step.skip;
        if (step.base == Base::Cache && !place.webCache.empty())
            skip.push_back(place.webCache);
        std::vector<fs::path> entries;
        for (const auto& folder : stepPaths(step, place))
            for (const auto& path : tpc::fs::listFolderNoFollow(folder))
                if (std::find(skip.begin(), skip.end(), fs::path(path).filename()) == skip.end())
                    entries.emplace_back(path);
        deleteEntries(env_, entries);
        break;
    }
    case StepKind::Custom:
        if (step.removeFn)
            step.removeFn({env_, def_, place});
        break;
    case StepKind::Cookies:
        break;
    }
}

// Store by store, the cookies of every host that is not kept go, and the host leaves the delete
// list; then the list is rebuilt from what the stores still hold.
void ItemRunner::removeCookies(const std::vector<Place>& places) const {
    if (std::none_of(places.begin(), places.end(),
                     [](const Place& p) { return !p.profile.empty(); }))
        return;
    if (!env_.cookies.cookieDeletesAllowed()) {
        env_.log.log(std::string(def_.name) +
                     " cookies were not deleted: the list of cookies to keep could not be read");
        return;
    }
    for (const auto& place : places) {
        // A place without a profile (a cache folder) has no cookie store.
        if (place.profile.empty())
            continue;
        for (const auto& name : def_.cookies.files) {
            const auto store = place.profile / name;
            bool busy = false;
            std::vector<std::string> sqls;
            for (const auto& host : cookieHosts(store, def_.cookies, &busy)) {
                const auto domain = CookieLists::stripLeadingDots(host);
                if (env_.cookies.allowedListContains(def_.list, domain))
                    continue;
                sqls.push_back(std::string("DELETE FROM ") + def_.cookies.table + " WHERE " +
                               def_.cookies.hostColumn + "='" + sqlQuote(host) + "'");
                env_.cookies.removeFromDeleteList(def_.list, domain);
            }
            if (busy)
                noteBusyStore(env_, def_.name, store, StoreUse::Clean);
            runBatch(store, sqls);
        }
    }
    refreshCookies();
}

void ItemRunner::refreshCookies() const {
    if (def_.refreshFn)
        return def_.refreshFn(env_, def_);
    std::vector<std::string> hosts;
    for (const auto& place : def_.places(env_, def_.browser)) {
        if (place.profile.empty())
            continue;
        for (const auto& name : def_.cookies.files) {
            bool busy = false;
            auto found = cookieHosts(place.profile / name, def_.cookies, &busy);
            // A store the browser holds locked says nothing of its hosts: the list stays.
            if (busy && reportsBusyStores(env_))
                return;
            hosts.insert(hosts.end(), found.begin(), found.end());
        }
    }
    env_.cookies.refreshCookiesList(def_.list, hosts);
}

} // namespace tpc::browsers
