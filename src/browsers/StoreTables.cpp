#include "browsers/StoreTables.h"

#include "browsers/BusyStores.h"
#include "core/SystemLog.h"
#include "fs/Entries.h"

#include <algorithm>

namespace tpc::browsers::stores {

namespace fs = std::filesystem;

namespace {

std::string rowsClause(const TableRows& rows) {
    return rows.table + (rows.where.empty() ? "" : " WHERE " + rows.where) + ";";
}

// Runs one statement after the prelude on one connection.
SQLiteResult runAfter(const SQLite& db, const std::vector<std::string>& prelude,
                      const std::string& sql) {
    SQLiteResult result;
    if (prelude.empty()) {
        db.query(sql, result);
        return result;
    }
    auto batch = prelude;
    batch.push_back(sql);
    db.queryMultiple(batch, result);
    return result;
}

bool contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

SQLite storeDb(const fs::path& store) {
    SQLite db;
    db.setfileName(store.filename().string());
    db.setfilePath(store.string());
    return db;
}

TableNames tableNames(const fs::path& store) {
    SQLiteResult result;
    storeDb(store).query("SELECT name FROM sqlite_master WHERE type = 'table';", result);
    TableNames names;
    names.busy = result.busy();
    if (result.ok() && !names.busy)
        for (const auto& row : result.rows())
            if (!row.empty())
                names.names.push_back(SQLiteResult::text(row.front()));
    return names;
}

Counted countRows(const fs::path& store, const std::vector<TableRows>& tables,
                  const std::vector<std::string>& prelude) {
    Counted counted;
    const auto present = tableNames(store);
    if (present.busy)
        return {{}, true};
    const auto db = storeDb(store);
    std::uint32_t size = 0;
    for (const auto& rows : tables) {
        if (!contains(present.names, rows.table))
            continue;
        SQLiteResult result;
        const auto pair = db.countRowsAfter(prelude, "SELECT * FROM " + rowsClause(rows), &result);
        if (result.busy())
            return {{}, true};
        counted.pair.count += pair.count;
        size += static_cast<std::uint32_t>(pair.size);
    }
    counted.pair.size = static_cast<std::int32_t>(size);
    return counted;
}

Emptied deleteRows(const fs::path& store, const std::vector<TableRows>& tables,
                   const std::vector<std::string>& prelude) {
    Emptied emptied;
    const auto present = tableNames(store);
    if (present.busy)
        return {true, {}};
    const auto db = storeDb(store);
    for (const auto& rows : tables) {
        if (!contains(present.names, rows.table))
            continue;
        const auto sql = "DELETE FROM " + rowsClause(rows);
        const auto result = runAfter(db, prelude, sql);
        if (result.busy())
            return {true, std::move(emptied.failures)};
        if (!result.ok())
            emptied.failures.push_back("SQLite failed query: " + sql +
                                       " errorCode: " + result.errorCode());
    }
    return emptied;
}

std::string attachStatement(const fs::path& path, const std::string& name) {
    return "ATTACH DATABASE '" + sqlQuote(path.string()) + "' AS " + name;
}

CountPair countStore(const CleanerEnv& env, const std::string& browser, const fs::path& store,
                     const std::vector<TableRows>& tables,
                     const std::vector<std::string>& prelude) {
    if (!tpc::fs::isRegularFileNoFollow(store))
        return {};
    const auto counted = countRows(store, tables, prelude);
    if (counted.busy)
        noteBusyStore(env, browser, store, StoreUse::Count);
    return counted.pair;
}

void emptyStore(const CleanerEnv& env, const std::string& browser, const fs::path& store,
                const std::vector<TableRows>& tables, const std::vector<std::string>& prelude) {
    if (!tpc::fs::isRegularFileNoFollow(store))
        return;
    const auto emptied = deleteRows(store, tables, prelude);
    for (const auto& line : emptied.failures)
        env.log.log(line);
    if (emptied.busy)
        noteBusyStore(env, browser, store, StoreUse::Clean);
}

std::vector<TableRows> allRowsOf(const std::vector<std::string>& names) {
    std::vector<TableRows> rows;
    for (const auto& name : names)
        rows.push_back({name});
    return rows;
}

} // namespace tpc::browsers::stores
