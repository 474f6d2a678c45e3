#pragma once
// Looking into a browser profile without changing it: files that name a host, SQLite stores read
// through read-only connections, and the `tpc` program run on the fake home.

#include <filesystem>
#include <string>
#include <vector>

namespace tpc::test::real {

namespace fs = std::filesystem;

// Regular files under `root` (links not followed) whose name or bytes contain one of `needles`,
// as paths relative to `root`, sorted; none when `root` does not exist.
std::vector<std::string> filesNaming(const std::filesystem::path& root,
                                     const std::vector<std::string>& needles);
// Entries directly in `folder` whose name contains `text`, sorted.
std::vector<std::string> entriesNamed(const std::filesystem::path& folder, const std::string& text);
// Files under `root` that start with the SQLite header, sorted.
std::vector<std::filesystem::path> sqliteStores(const std::filesystem::path& root);

// Every row of `sql` on a read-only connection, cells joined with "|" (NULL as "NULL"); a store
// or query that fails is a test failure and gives no rows.
std::vector<std::string> queryRows(const std::filesystem::path& db, const std::string& sql);
// The rows of a one-column `sql` joined with commas ("1,4,9"), "" when there are none: a list
// for "... IN (...)".
std::string idList(const std::filesystem::path& db, const std::string& sql);
// The first cell of `sql` as an integer; -1 when there is no row.
long long queryCount(const std::filesystem::path& db, const std::string& sql);
// Every cell of every table of `db` whose text contains one of `needles`, each as
// "table.column: value"; none when the store does not exist.
std::vector<std::string> cellsNaming(const std::filesystem::path& db,
                                     const std::vector<std::string>& needles);
// PRAGMA integrity_check on a read-only connection, its rows joined ("ok" for a sound store).
std::string integrityOf(const std::filesystem::path& db);

// "a, b, c", or "(none)".
std::string joined(const std::vector<std::string>& items);

struct TpcResult {
    int code = -1;
    std::string out;
    std::string err;
};

// Runs `tpc --home HOME --layout linux ARGS...` with standard input empty, its output kept in
// files under `scratch`.
TpcResult runTpc(const std::filesystem::path& home, const std::filesystem::path& scratch,
                 const std::vector<std::string>& args);

} // namespace tpc::test::real
