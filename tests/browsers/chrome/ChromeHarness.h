#pragma once
// A fake home with the Chrome-family and Opera folders of the linux layout, the cookie lists, the
// deletion engine and a log, for the Chrome and Opera cleaner tests. Stores are built with the
// sqlite3 C interface and the browsers' own table layouts.

#include "browsers/CleanerEnv.h"
#include "browsers/CookieLists.h"
#include "browsers/sqlite/SQLite.h"
#include "core/Clock.h"
#include "core/Settings.h"
#include "core/SystemLog.h"
#include "erase/Deleter.h"
#include "platform/Platform.h"
#include "support/FakeClock.h"
#include "support/RecordingRunningApps.h"
#include "support/StoreSchemas.h"
#include "support/TempDir.h"

#include <atomic>
#include <filesystem>
#include <memory>
#include <ostream>
#include <sqlite3.h>
#include <string>
#include <vector>

namespace tpc::browsers {
inline void PrintTo(const CountPair& pair, std::ostream* os) {
    *os << "[" << pair.count << ", " << pair.size << "]";
}
} // namespace tpc::browsers

namespace tpc::test {

namespace fs = std::filesystem;

// A database file built or inspected directly through sqlite3.
class Db {
public:
    // Opens (creating) the database at `path`, creating its folders.
    explicit Db(const fs::path& path);
    ~Db();
    Db(const Db&) = delete;
    Db& operator=(const Db&) = delete;

    // Runs SQL text (several statements allowed); a failure fails the test.
    void exec(const std::string& sql);
    // Runs one statement with the texts bound to ?1, ?2, ...
    void execBound(const std::string& sql, const std::vector<std::string>& texts);
    // Number of rows of `table`; -1 when the table does not exist.
    long long rows(const std::string& table);
    // The texts of one column, in rowid order.
    std::vector<std::string> column(const std::string& table, const std::string& column);

private:
    sqlite3* db_ = nullptr;
};

// One cookie row of the "cookies" layout: 80 bytes by the size estimate, plus the lengths of
// the host and the name.
void insertChromeCookie(Db& db, const std::string& host, const std::string& name);
std::int64_t chromeCookieSize(const std::string& host, const std::string& name);

class BrowserHarness {
public:
    explicit BrowserHarness(platform::Layout layout = platform::Layout::Linux);

    fs::path home() const { return dir.path() / "home"; }
    fs::path chromeProfile() const {
        return browsers::BrowserLocations(*platform).chromeProfile(browsers::Browser::GoogleChrome);
    }
    fs::path chromeCache() const { return home() / ".cache/google-chrome"; }
    fs::path chromiumProfile() const { return home() / ".config/chromium/Default"; }
    fs::path operaData() const { return browsers::BrowserLocations(*platform).operaData(); }
    fs::path operaWebCache() const { return browsers::BrowserLocations(*platform).operaWebCache(); }

    browsers::CleanerEnv env() { return {*platform, *deleter, *cookies, log}; }
    // Replaces the "Cookies" settings file with `content` and loads the cookie lists anew.
    void reloadCookiesFrom(const std::string& content);
    // Lines logged so far that begin with "SQLite failed query:".
    std::vector<std::string> failedQueryLines() const;

    TempDir dir;
    test::FakeClock clock;
    core::SystemLog log{false};
    std::atomic<bool> abort{false};
    std::shared_ptr<RecordingRunningApps> apps = std::make_shared<RecordingRunningApps>();
    std::unique_ptr<platform::Platform> platform;
    std::unique_ptr<core::Settings> settings;
    std::unique_ptr<browsers::CookieLists> cookies;
    std::unique_ptr<erase::Deleter> deleter;
};

} // namespace tpc::test
