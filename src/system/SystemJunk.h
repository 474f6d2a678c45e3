#pragma once
// The System page's categories: the system's recent items, the recent folders, the user's logs,
// the Trash and the Downloads folder. Each category is counted and emptied by its
// "Description"; the two menu-driven ones go through GUI scripting in the macos layout and
// through the desktop's recently-used file in the linux layout.
//
// Count and delete run on a worker thread; nothing here touches the interface except through the
// `bringWindowToFront` callback given at construction.

#include "core/Value.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tpc::core {
class SystemLog;
}
namespace tpc::platform {
class Platform;
}
namespace tpc::erase {
class Deleter;
}

namespace tpc::system {

inline constexpr const char* kRecentDocuments = "Recent Documents, Applications, Servers";
inline constexpr const char* kRecentPlaces = "Recent Places";
inline constexpr const char* kLogs = "Logs";
inline constexpr const char* kTrash = "Trash";
inline constexpr const char* kUserDownloads = "User Downloads";
// Recognised by count and delete although the list never makes them (stored presets hold them).
inline constexpr const char* kApplicationRecents = "Application Recents";
inline constexpr const char* kRecentServerList = "Recent Server List";

struct SystemCount {
    std::uint64_t count = 0;
    std::uint64_t size = 0;
};

class SystemJunk {
public:
    // `bringWindowToFront` is called (from the worker) after a script ran, since the script
    // activated another application; it must not wait for the main thread.
    SystemJunk(platform::Platform& platform, erase::Deleter& deleter, core::SystemLog& log,
               std::function<void()> bringWindowToFront);

    // The five records of the list, in order, with their initial marks.
    core::ArrayRef populateSystemData() const;

    // countSystemDetailsToClear: [count, size] of the record's category; 0, 0 for an unknown
    // description or anything missing. `aborted`, when given, is asked during folder walks.
    SystemCount countSystemDetailsToClear(const core::DictRef& record,
                                          const std::function<bool()>& aborted = {});
    // deleteSystemData: empties the record's category.
    void deleteSystemData(const core::DictRef& record);

    // The four GUI scripts, line by line.
    static std::string getRecentItemsCountScript();
    static std::string getRecentsClearScript();
    static std::string getFinderClearLocationsScript();
    static std::string getFinderCountLocationsScript();

    // The count arithmetic of the two script answers: (result - 7) / 2 in unsigned 32 bits
    // (a result below 7 wraps), and r - 2 for a non-zero r, else 0.
    static std::uint32_t recentItemsCount(std::int32_t scriptResult);
    static std::int64_t recentPlacesCount(std::int32_t scriptResult);

    // The length of "name" plus the length of "file-bookmark" over the items; 0 for none.
    static std::uint64_t sizeofFXRecentFoldersArrayElements(const core::ArrayRef& items);

private:
    bool linuxLayout() const;
    // Runs a GUI script: its answer as a 32-bit integer, or nothing when it did not compile or
    // failed. A script that ran brings the main window back to the front.
    std::optional<std::int32_t> runScript(const std::string& source);
    // The totals of measureTree over the paths.
    SystemCount measure(const std::vector<std::filesystem::path>& paths,
                        const std::function<bool()>& aborted) const;
    // What emptying the folder counts: nothing when a link is in its place (deleteContents then
    // removes nothing either); anything else as measureTree counts it.
    SystemCount measureContents(const std::filesystem::path& folder,
                                const std::function<bool()>& aborted) const;
    // The file (or folder) bookmarks of the desktop's recently-used list.
    SystemCount recentBookmarks(bool folders) const;
    // The items of a shared file list kept in the recent-items preference file.
    SystemCount sharedFileList(const char* listKey) const;
    // Hands every entry of the folder to the deletion engine; the folder stays. A link in the
    // folder's place is left alone with what it points to.
    void deleteContents(const std::filesystem::path& folder);

    platform::Platform& platform_;
    erase::Deleter& deleter_;
    core::SystemLog& log_;
    std::function<void()> bringWindowToFront_;
};

} // namespace tpc::system
