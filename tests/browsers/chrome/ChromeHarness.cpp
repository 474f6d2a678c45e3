#include "ChromeHarness.h"

#include <gtest/gtest.h>

namespace tpc::test {

Db::Db(const fs::path& path) {
    fs::create_directories(path.parent_path());
    if (sqlite3_open(path.c_str(), &db_) != SQLITE_OK)
        ADD_FAILURE() << "cannot open " << path;
}

Db::~Db() {
    sqlite3_close(db_);
}

void Db::exec(const std::string& sql) {
    char* error = nullptr;
    if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
        ADD_FAILURE() << "SQL failed: " << (error ? error : "?") << "\n" << sql;
        sqlite3_free(error);
    }
}

long long Db::rows(const std::string& table) {
    sqlite3_stmt* stmt = nullptr;
    auto sql = "SELECT count(*) FROM \"" + table + "\"";
    if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
        sqlite3_finalize(stmt);
        return -1;
    }
    long long count = -1;
    if (sqlite3_step(stmt) == SQLITE_ROW)
        count = sqlite3_column_int64(stmt, 0);
    sqlite3_finalize(stmt);
    return count;
}

std::vector<std::string> Db::column(const std::string& table, const std::string& column) {
    std::vector<std::string> values;
    sqlite3_stmt* stmt = nullptr;
    auto sql = "SELECT \"" + column + "\" FROM \"" + table + "\" ORDER BY rowid";
    if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << sqlite3_errmsg(db_);
        sqlite3_finalize(stmt);
        return values;
    }
    while (sqlite3_step(stmt) == SQLITE_ROW) {
        auto text = sqlite3_column_text(stmt, 0);
        values.emplace_back(text ? reinterpret_cast<const char*>(text) : "");
    }
    sqlite3_finalize(stmt);
    return values;
}

void Db::execBound(const std::string& sql, const std::vector<std::string>& texts) {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << sqlite3_errmsg(db_) << "\n" << sql;
        sqlite3_finalize(stmt);
        return;
    }
    for (std::size_t i = 0; i < texts.size(); ++i)
        sqlite3_bind_text(stmt, static_cast<int>(i + 1), texts[i].c_str(), -1, SQLITE_TRANSIENT);
    if (sqlite3_step(stmt) != SQLITE_DONE)
        ADD_FAILURE() << sqlite3_errmsg(db_) << "\n" << sql;
    sqlite3_finalize(stmt);
}

void insertChromeCookie(Db& db, const std::string& host, const std::string& name) {
    db.execBound("INSERT INTO cookies VALUES(13300000000000000, ?1, '', ?2, 'v', X'0102', '/', "
                 "13400000000000000, 1, 0, 13300000000000001, 1, 1, 1, -1, 2, 443, "
                 "13300000000000002, 0, 0)",
                 {host, name});
}

std::int64_t chromeCookieSize(const std::string& host, const std::string& name) {
    // Integers: the four times above 2^32 and the negative samesite count 8 bytes, the other
    // nine 4; texts count their bytes ('v', '/'), the two-byte blob 2.
    return 5 * 8 + 9 * 4 + 1 + 1 + 2 + static_cast<std::int64_t>(host.size() + name.size());
}

BrowserHarness::BrowserHarness(platform::Layout layout) {
    platform::PlatformOptions options;
    options.layout = layout;
    options.home = home();
    options.root = dir.path() / "root";
    options.runningApps = apps;
    options.procRoot = dir.path() / "proc";
    platform = std::make_unique<platform::Platform>(options);
    settings = std::make_unique<core::Settings>(dir.path() / "settings", log, clock);
    cookies = std::make_unique<browsers::CookieLists>(*settings, log);
    cookies->loadCookies();
    deleter = std::make_unique<erase::Deleter>(
        erase::DeleterEnv{abort, [] { return std::int64_t(-1); }, clock, log});
}

void BrowserHarness::reloadCookiesFrom(const std::string& content) {
    writeFile(settings->fileFor("Cookies"), content);
    cookies = std::make_unique<browsers::CookieLists>(*settings, log);
    cookies->loadCookies();
}

std::vector<std::string> BrowserHarness::failedQueryLines() const {
    std::vector<std::string> lines;
    for (const auto& line : log.lines())
        if (line.rfind("SQLite failed query:", 0) == 0)
            lines.push_back(line);
    return lines;
}

} // namespace tpc::test
