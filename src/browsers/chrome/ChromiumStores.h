#pragma once
// The SQLite side of the Chromium-family cleaners: counting a store table by table, and emptying
// it in one batch or one statement at a time with the failure lines the log expects.

#include "browsers/sqlite/SQLite.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tpc::core {
class SystemLog;
}

namespace tpc::browsers::chromium {

// "SELECT * FROM <table>;" for each table, in order.
std::vector<std::string> selectStatements(const std::vector<std::string>& tables);
// "DELETE FROM <table>;" for each table, in order.
std::vector<std::string> deleteStatements(const std::vector<std::string>& tables);

// "SQLite failed query: <statement> errorCode: <code>".
std::string failedQueryLine(const std::string& statement, const std::string& code);

// Runs each SELECT on the store; every table that answers "OK" adds its rows and cell sizes.
// [0, 0] when the store is not a database file.
CountPair countTables(const std::filesystem::path& store, const std::vector<std::string>& selects);

// Runs the statements as one batch on one connection; answers the batch's final code (that of
// its last statement), or "" when nothing ran.
std::string runBatch(const std::filesystem::path& store, const std::vector<std::string>& sqls);

// Runs a batch and, when its final code is not "OK", logs the failure line with the batch's last
// statement.
void runBatchLogged(const std::filesystem::path& store, const std::vector<std::string>& sqls,
                    core::SystemLog& log);

// Runs one statement; answers its code.
std::string runOne(const std::filesystem::path& store, const std::string& sql);

} // namespace tpc::browsers::chromium
