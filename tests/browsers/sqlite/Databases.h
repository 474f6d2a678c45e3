#pragma once
// Builds real SQLite stores for the tests, straight through the library.

#include <sqlite3.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace tpc::test {

// Creates (or opens) the database at `file` and runs `sql`, which may hold several statements.
inline void execSql(const std::filesystem::path& file, const std::string& sql) {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) !=
        SQLITE_OK) {
        sqlite3_close(db);
        throw std::runtime_error("cannot open test database " + file.string());
    }
    // Test stores need no durability; skipping the syncs keeps the tests quick.
    sqlite3_exec(db, "PRAGMA synchronous = OFF;", nullptr, nullptr, nullptr);
    char* message = nullptr;
    const int rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message);
    const std::string error = message ? message : "";
    sqlite3_free(message);
    sqlite3_close(db);
    if (rc != SQLITE_OK)
        throw std::runtime_error("test SQL failed: " + error);
}

// Answers the single integer that `sql` selects from the database at `file`.
inline long long selectInteger(const std::filesystem::path& file, const std::string& sql) {
    sqlite3* db = nullptr;
    sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt* stmt = nullptr;
    long long value = -1;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) == SQLITE_OK &&
        sqlite3_step(stmt) == SQLITE_ROW)
        value = sqlite3_column_int64(stmt, 0);
    sqlite3_finalize(stmt);
    sqlite3_close(db);
    return value;
}

} // namespace tpc::test
