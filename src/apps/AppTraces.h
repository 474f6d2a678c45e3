#pragma once
// One application's traces: its cache folder and its recent-documents lists, counted and removed
// as its record's flags say, the switches that stop it keeping recent documents, and quitting it.
//
// macos layout: caches under the Caches folder, the per-application shared-file-list plists and
// Microsoft Office's own most-recently-used lists in the Preferences folder, edited as the
// defaults tool would. linux layout: "$XDG_CACHE_HOME/<id>" (or the executable's name when only
// that folder exists) and the recently-used bookmarks registered only by that application.
//
// Runs on a worker thread; touches no record of a list the interface shows.

#include "core/Value.h"
#include "platform/DesktopApps.h"
#include "platform/RecentFiles.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace tpc::core {
class SystemLog;
}
namespace tpc::platform {
class Platform;
}
namespace tpc::erase {
class Deleter;
}

namespace tpc::apps {

// "com.microsoft.Word", "com.microsoft.Excel", "com.microsoft.Powerpoint", compared exactly.
bool isOfficeBundle(const std::string& bundleId);

struct AppCount {
    std::int32_t count = 0;
    std::int32_t size = 0; // wraps at 2 GiB: kept as the 32-bit signed number it was summed in
};

class AppTraces {
public:
    AppTraces(platform::Platform& platform, erase::Deleter& deleter, core::SystemLog& log);

    // countAppDetailsToClear. `aborted`, when given, is asked during the cache walk.
    AppCount countAppDetailsToClear(const core::DictRef& record,
                                    const std::function<bool()>& aborted = {});
    // deleteAppData, in its order: cache, recents, quit, the two disable switches.
    void deleteAppData(const core::DictRef& record);
    // Asks every running instance to quit; does not wait.
    void quitAppWithBundleID(const std::string& bundleId);

    // The record's cache path; nullopt when the Caches folder is missing.
    std::optional<std::filesystem::path> cachePath(const core::DictRef& record) const;
    // "<major version>\File MRU\<signature>" from the bundle's Info.plist; nullopt when the
    // file, the version or the signature is missing.
    std::optional<std::string> officeMruKey(const std::string& bundlePath) const;

private:
    bool linuxLayout() const;
    // The desktop entry behind a linux record ("Path"), when it can be read.
    std::optional<platform::DesktopApp> desktopApp(const core::DictRef& record) const;
    // False (logged) for a record whose identifier cannot name a file or a preference domain.
    bool usableRecord(const core::DictRef& record) const;
    // linux: the recently-used bookmarks registered by this application alone.
    std::function<bool(const platform::RecentBookmark&)>
    bookmarkMatcher(const core::DictRef& record) const;
    // linux: what the running applications are asked to quit by.
    std::string processIdentifier(const core::DictRef& record) const;

    platform::Platform& platform_;
    erase::Deleter& deleter_;
    core::SystemLog& log_;
};

} // namespace tpc::apps
