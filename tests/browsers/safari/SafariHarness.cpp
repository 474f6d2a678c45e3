#include "SafariHarness.h"

#include "core/PropertyList.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

namespace tpc::browsers::safari::sftest {

const char* const kHistorySchema =
    "CREATE TABLE history_items (id INTEGER PRIMARY KEY AUTOINCREMENT, url TEXT NOT NULL "
    "UNIQUE, domain_expansion TEXT NULL, visit_count INTEGER NOT NULL, daily_visit_counts BLOB "
    "NOT NULL, weekly_visit_counts BLOB NULL, autocomplete_triggers BLOB NULL, "
    "should_recompute_derived_visit_counts INTEGER NOT NULL, visit_count_score INTEGER NOT "
    "NULL);"
    "CREATE TABLE history_visits (id INTEGER PRIMARY KEY AUTOINCREMENT, history_item INTEGER "
    "NOT NULL REFERENCES history_items(id) ON DELETE CASCADE, visit_time REAL NOT NULL, title "
    "TEXT NULL, load_successful BOOLEAN NOT NULL DEFAULT 1, http_non_get BOOLEAN NOT NULL "
    "DEFAULT 0, synthesized BOOLEAN NOT NULL DEFAULT 0, redirect_source INTEGER NULL UNIQUE "
    "REFERENCES history_visits(id) ON DELETE CASCADE, redirect_destination INTEGER NULL UNIQUE "
    "REFERENCES history_visits(id) ON DELETE CASCADE, origin INTEGER NOT NULL DEFAULT 0, "
    "generation INTEGER NOT NULL DEFAULT 0, attributes INTEGER NOT NULL DEFAULT 0, score "
    "INTEGER NOT NULL DEFAULT 0);"
    "CREATE TABLE history_tombstones (id INTEGER PRIMARY KEY AUTOINCREMENT, start_time REAL NOT "
    "NULL, end_time REAL NOT NULL, url TEXT, generation INTEGER NOT NULL DEFAULT 0);"
    "CREATE TABLE metadata (key TEXT NOT NULL UNIQUE, value);";

void makeHistoryDb(const fs::path& db, int items) {
    std::string sql = kHistorySchema;
    for (int i = 1; i <= items; ++i) {
        auto n = std::to_string(i);
        sql += "INSERT INTO history_items (id, url, domain_expansion, visit_count, "
               "daily_visit_counts, should_recompute_derived_visit_counts, visit_count_score) "
               "VALUES (" +
               n + ", 'https://site" + n + ".example/', 'site" + n + "', 1, x'0100', 0, 100);";
        sql += "INSERT INTO history_visits (history_item, visit_time, title) VALUES (" + n +
               ", 700000000." + n + ", 'Page " + n + "');";
    }
    sql += "INSERT INTO history_tombstones (start_time, end_time, url) VALUES (1, 2, "
           "'https://gone.example/');";
    sql += "INSERT INTO metadata (key, value) VALUES ('version', 12);";
    exec(db, sql);
}

void writePlist(const fs::path& file, const core::Value& top) {
    writeBytes(file, core::plist::toBinary(top));
}

core::Value dictWithArray(const std::string& key, int n) {
    auto array = core::ArrayObj::make();
    for (int i = 0; i < n; ++i)
        array->append(core::Value(core::DictObj::make(
            {{"URLString", "https://e" + std::to_string(i) + ".example/"}, {"visitCount", i}})));
    return core::Value(core::DictObj::make({{key, core::Value(array)}}));
}

Bytes readBytes(const fs::path& file) {
    auto text = readFile(file);
    return Bytes(text.begin(), text.end());
}

void writeBytes(const fs::path& file, const Bytes& bytes) {
    writeFile(file, std::string(bytes.begin(), bytes.end()));
}

Cookie cookie(const std::string& domain, const std::string& name) {
    Cookie c;
    c.version = 0;
    c.flags = Cookie::kSecure;
    c.domain = domain;
    c.name = name;
    c.path = "/";
    c.value = "value-of-" + name;
    c.expiry = 800000000.5;
    c.creation = 700000000.25;
    return c;
}

CookieFile cookieFile(const std::vector<std::vector<Cookie>>& pages) {
    auto file = CookieFile::create();
    for (const auto& cookies : pages)
        file.pages.push_back(CookiePage{cookies});
    return file;
}

Stamp stamp(const fs::path& file) {
    struct stat st {};
    if (::lstat(file.c_str(), &st) != 0)
        return {};
    return {static_cast<std::uint64_t>(st.st_ino),
            static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec,
            readBytes(file)};
}

void ageFile(const fs::path& file) {
    fs::last_write_time(file, fs::last_write_time(file) - std::chrono::hours(24 * 30));
}

Harness::Harness(platform::Layout layout, const std::string& cookiesPlist) {
    platform::PlatformOptions o;
    o.layout = layout;
    o.home = dir / "home";
    o.root = dir / "root";
    o.runningApps = apps;
    platform = std::make_unique<platform::Platform>(o);
    fs::create_directories(home() / "Library");

    settings = std::make_unique<core::Settings>(platform->settingsFolder(), log, clock);
    if (!cookiesPlist.empty())
        writeFile(settings->fileFor("Cookies"), cookiesPlist);
    cookies = std::make_unique<CookieLists>(*settings, log);
    cookies->loadCookies();

    deleter = std::make_unique<erase::Deleter>(
        erase::DeleterEnv{abort, [] { return std::int64_t(-1); }, clock, log});
    cleaner =
        std::make_unique<ItemRunner>(CleanerEnv{*platform, *deleter, *cookies, log}, safariDef());
}

std::vector<std::string> Harness::logLines(const std::string& prefix) const {
    std::vector<std::string> found;
    for (const auto& line : log.lines())
        if (line.starts_with(prefix))
            found.push_back(line);
    return found;
}

} // namespace tpc::browsers::safari::sftest
