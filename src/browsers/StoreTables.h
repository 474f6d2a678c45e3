#pragma once
// Counting and emptying tables of a browser's store as the browser's current schema has them:
// the store's own table list (sqlite_master) is read first, so a table an older or newer release
// lacks is left out instead of failing, and a store the running browser holds locked is told
// apart from an empty one. The file is only ever edited with SQL, never replaced.

#include "browsers/CleanerEnv.h"
#include "browsers/sqlite/SQLite.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tpc::browsers::stores {

// The rows of one table that belong to a data kind: all of them, or those matching `where`.
struct TableRows {
    std::string table;
    std::string where = {};
};

// A count, or the store was busy (nothing could be read).
struct Counted {
    CountPair pair;
    bool busy = false;
};

// A clean: whether the store was busy, and the statements that failed otherwise, as log lines.
struct Emptied {
    bool busy = false;
    std::vector<std::string> failures;
};

// The store at `path`, named by its file name.
SQLite storeDb(const std::filesystem::path& store);

// The table names of the store, busy when it is locked. `prelude` statements (an ATTACH) run
// first on the same connection, here and below.
struct TableNames {
    std::vector<std::string> names;
    bool busy = false;
};
TableNames tableNames(const std::filesystem::path& store);

// "SELECT * FROM <table>[ WHERE <where>];" and "DELETE FROM ...", for the tables that exist.
Counted countRows(const std::filesystem::path& store, const std::vector<TableRows>& tables,
                  const std::vector<std::string>& prelude = {});
Emptied deleteRows(const std::filesystem::path& store, const std::vector<TableRows>& tables,
                   const std::vector<std::string>& prelude = {});

// "ATTACH DATABASE '<path>' AS <name>".
std::string attachStatement(const std::filesystem::path& path, const std::string& name);

// The two above for one browser's store: nothing when the store is not a regular file; a busy
// store is noted (BusyStores.h) and counts [0, 0]; failed statements are logged.
CountPair countStore(const CleanerEnv& env, const std::string& browser,
                     const std::filesystem::path& store, const std::vector<TableRows>& tables,
                     const std::vector<std::string>& prelude = {});
void emptyStore(const CleanerEnv& env, const std::string& browser,
                const std::filesystem::path& store, const std::vector<TableRows>& tables,
                const std::vector<std::string>& prelude = {});

// Every table of `names` as a TableRows of all its rows.
std::vector<TableRows> allRowsOf(const std::vector<std::string>& names);

} // namespace tpc::browsers::stores
