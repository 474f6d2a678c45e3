#include "support/Sql.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace tpc::test {

namespace {

struct Db {
    explicit Db(const std::filesystem::path& path) {
        if (sqlite3_open(path.c_str(), &db) != SQLITE_OK)
            ADD_FAILURE() << "cannot open " << path;
    }
    ~Db() { sqlite3_close(db); }
    sqlite3* db = nullptr;
};

} // namespace

void exec(const std::filesystem::path& path, const std::string& sql) {
    std::filesystem::create_directories(path.parent_path());
    Db db(path);
    char* error = nullptr;
    if (sqlite3_exec(db.db, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
        ADD_FAILURE() << "SQL failed: " << (error ? error : "?") << "\n" << sql;
        sqlite3_free(error);
    }
}

std::vector<std::string> rows(const std::filesystem::path& path, const std::string& sql) {
    std::vector<std::string> out;
    Db db(path);
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db.db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << "cannot prepare " << sql << ": " << sqlite3_errmsg(db.db);
        return out;
    }
    while (sqlite3_step(stmt) == SQLITE_ROW) {
        std::string row;
        for (int i = 0; i < sqlite3_column_count(stmt); ++i) {
            if (i > 0)
                row += "|";
            auto text = sqlite3_column_text(stmt, i);
            row += text ? reinterpret_cast<const char*>(text) : "NULL";
        }
        out.push_back(row);
    }
    sqlite3_finalize(stmt);
    return out;
}

std::int64_t scalar(const std::filesystem::path& path, const std::string& sql) {
    Db db(path);
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db.db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << "cannot prepare " << sql << ": " << sqlite3_errmsg(db.db);
        return -1;
    }
    std::int64_t value = -1;
    if (sqlite3_step(stmt) == SQLITE_ROW)
        value = sqlite3_column_int64(stmt, 0);
    sqlite3_finalize(stmt);
    return value;
}

} // namespace tpc::test
