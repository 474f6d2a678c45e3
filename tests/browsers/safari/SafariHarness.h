#pragma once
// A fake home with Safari's folders, the cleaner wired to it, and helpers that build Safari's
// stores: History.db with Safari's table layout, property lists, and cookie files.

#include "browsers/CookieLists.h"
#include "browsers/ItemRunner.h"
#include "browsers/safari/BinaryCookies.h"
#include "core/Clock.h"
#include "core/Settings.h"
#include "core/SystemLog.h"
#include "core/Value.h"
#include "erase/Deleter.h"
#include "platform/Platform.h"
#include "support/FakeClock.h"
#include "support/RecordingRunningApps.h"
#include "support/Sql.h"
#include "support/TempDir.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tpc::browsers::safari::sftest {

namespace fs = std::filesystem;
using tpc::test::readFile;
using tpc::test::writeFile;
using Bytes = std::vector<std::uint8_t>;

using tpc::test::exec;
using tpc::test::RecordingRunningApps;
using tpc::test::scalar;

// The CREATE TABLE statements of Safari's History.db.
extern const char* const kHistorySchema;
// A History.db with `items` rows in history_items, each with one visit, plus one tombstone and
// one metadata row.
void makeHistoryDb(const fs::path& db, int items);

// Writes a binary property list.
void writePlist(const fs::path& file, const core::Value& top);
// A dictionary {key: [n dictionaries]}.
core::Value dictWithArray(const std::string& key, int n);

Bytes readBytes(const fs::path& file);
void writeBytes(const fs::path& file, const Bytes& bytes);

// A cookie with every field set from `domain` and `name`.
Cookie cookie(const std::string& domain, const std::string& name);
// A file with the default policy, one page per list of cookies.
CookieFile cookieFile(const std::vector<std::vector<Cookie>>& pages);

// An entry's identity and modification time, to see that a file was left alone.
struct Stamp {
    std::uint64_t inode = 0;
    std::int64_t mtimeNs = 0;
    Bytes bytes;
    bool operator==(const Stamp&) const = default;
};
Stamp stamp(const fs::path& file);
// Sets a file's modification time well into the past, so that a rewrite shows.
void ageFile(const fs::path& file);

class Harness {
public:
    // `cookiesPlist`: the text of the settings file "Cookies.plist" to start with (garbage makes
    // it unreadable).
    explicit Harness(platform::Layout layout = platform::Layout::MacOS,
                     const std::string& cookiesPlist = "");

    fs::path home() const { return dir.path() / "home"; }
    fs::path safariFolder() const { return BrowserLocations(*platform).safariFolder(); }
    fs::path cacheFolder() const { return BrowserLocations(*platform).safariCaches(); }
    // ~/Library/Cookies/Cookies.binarycookies and the container's file.
    fs::path cookieFile() const { return BrowserLocations(*platform).safariCookieFiles().at(0); }
    fs::path containerCookieFile() const {
        return BrowserLocations(*platform).safariCookieFiles().at(1);
    }
    fs::path store(const std::string& name) const { return safariFolder() / name; }

    tpc::test::TempDir dir;
    std::shared_ptr<RecordingRunningApps> apps = std::make_shared<RecordingRunningApps>();
    test::FakeClock clock;
    core::SystemLog log{false};
    std::atomic<bool> abort{false};
    std::unique_ptr<platform::Platform> platform;
    std::unique_ptr<core::Settings> settings;
    std::unique_ptr<CookieLists> cookies;
    std::unique_ptr<erase::Deleter> deleter;
    std::unique_ptr<ItemRunner> cleaner;

    // Log lines that start with `prefix`.
    std::vector<std::string> logLines(const std::string& prefix) const;
};

} // namespace tpc::browsers::safari::sftest
