#pragma once
// A fake home with a Firefox profile, the cleaner wired to it, and small sqlite3 helpers that
// build stores with the browser's own table layouts.

#include "browsers/CookieLists.h"
#include "browsers/ItemRunner.h"
#include "core/Clock.h"
#include "core/Settings.h"
#include "core/SystemLog.h"
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

namespace tpc::browsers::firefox::fxtest {

namespace fs = std::filesystem;
using tpc::test::readFile;
using tpc::test::writeFile;

using tpc::test::exec;
using tpc::test::RecordingRunningApps;
using tpc::test::rows;
using tpc::test::scalar;

// The CREATE TABLE statements Firefox writes.
extern const char* const kCookiesSchema;
extern const char* const kDownloadsSchema;
extern const char* const kFormHistorySchema;
extern const char* const kSignonsSchema;
extern const char* const kContentPrefsSchema;
// places.sqlite of the releases that kept hosts in moz_hosts, and of current releases.
extern const char* const kPlacesWithHostsSchema;
extern const char* const kPlacesWithOriginsSchema;

class Harness {
public:
    // `profileName` is the profile folder's name (empty for no profile at all); `cookiesPlist`
    // the text of the settings file "Cookies.plist" to start with (garbage makes it unreadable).
    explicit Harness(platform::Layout layout = platform::Layout::MacOS,
                     const std::string& profileName = "abcd.default",
                     const std::string& cookiesPlist = "");

    fs::path home() const { return dir.path() / "home"; }
    // The profile folder and the cache profile folder (created in the constructor).
    fs::path profile;
    fs::path cacheProfile;
    fs::path store(const std::string& name) const { return profile / name; }

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

} // namespace tpc::browsers::firefox::fxtest
