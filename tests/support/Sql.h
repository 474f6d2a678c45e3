#pragma once
// Building and reading SQLite stores in tests, through the sqlite3 C API directly (never through
// the code under test).

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tpc::test {

// Runs `sql` (several statements allowed) on the database at `db`, creating it and its folders
// when missing; a failure is a test failure.
void exec(const std::filesystem::path& db, const std::string& sql);
// Every row of a query, its cells joined with "|" (NULL as "NULL").
std::vector<std::string> rows(const std::filesystem::path& db, const std::string& sql);
// The first cell of the first row as an integer; -1 when there is no row.
std::int64_t scalar(const std::filesystem::path& db, const std::string& sql);

} // namespace tpc::test
