#include "browsers/chrome/ChromiumStores.h"

#include "browsers/chrome/ChromiumFiles.h"
#include "core/SystemLog.h"
#include "fs/Entries.h"

namespace tpc::browsers::chromium {

namespace {

SQLite storeAt(const std::filesystem::path& store) {
    SQLite db;
    db.setfileName(store.filename().string());
    db.setfilePath(store.string());
    return db;
}

} // namespace

std::vector<std::string> selectStatements(const std::vector<std::string>& tables) {
    std::vector<std::string> sqls;
    for (const auto& table : tables)
        sqls.push_back("SELECT * FROM " + table + ";");
    return sqls;
}

std::vector<std::string> deleteStatements(const std::vector<std::string>& tables) {
    std::vector<std::string> sqls;
    for (const auto& table : tables)
        sqls.push_back("DELETE FROM " + table + ";");
    return sqls;
}

std::string failedQueryLine(const std::string& statement, const std::string& code) {
    return "SQLite failed query: " + statement + " errorCode: " + code;
}

CountPair countTables(const std::filesystem::path& store, const std::vector<std::string>& selects) {
    CountPair total;
    if (!tpc::fs::isRegularFileNoFollow(store))
        return total;
    auto db = storeAt(store);
    for (const auto& sql : selects)
        addPair(total, db.countRows(sql));
    return total;
}

std::string runBatch(const std::filesystem::path& store, const std::vector<std::string>& sqls) {
    if (sqls.empty() || !tpc::fs::isRegularFileNoFollow(store))
        return "";
    SQLiteResult result;
    storeAt(store).queryMultiple(sqls, result);
    return result.errorCode();
}

void runBatchLogged(const std::filesystem::path& store, const std::vector<std::string>& sqls,
                    core::SystemLog& log) {
    auto code = runBatch(store, sqls);
    if (!code.empty() && code != kSQLiteOK)
        log.log(failedQueryLine(sqls.back(), code));
}

std::string runOne(const std::filesystem::path& store, const std::string& sql) {
    if (!tpc::fs::isRegularFileNoFollow(store))
        return "";
    SQLiteResult result;
    storeAt(store).query(sql, result);
    return result.errorCode();
}

} // namespace tpc::browsers::chromium
