#pragma once
// The settings store: one keyed-archive file per settings dictionary, named by the dictionary's
// "presetName", rewritten atomically after every change.

#include "core/Value.h"

#include <cstddef>
#include <filesystem>
#include <string>

namespace tpc::core {

class SystemLog;
class Clock;

class Settings {
public:
    enum class LoadStatus { Missing, Loaded, Unreadable };
    struct LoadResult {
        LoadStatus status = LoadStatus::Missing;
        DictRef dict;                        // when Loaded
        std::filesystem::path keptAsidePath; // when Unreadable: where the file was moved
    };

    Settings(std::filesystem::path folder, SystemLog& log, Clock& clock);

    const std::filesystem::path& folder() const { return folder_; }
    bool folderExists() const;
    // Creates the folder with its parents when missing; a failure is only logged.
    bool ensureFolder();
    // "<folder>/<name>.plist".
    std::filesystem::path fileFor(const std::string& presetName) const;
    bool fileExists(const std::string& presetName) const;

    // Saves `dict` to the file named by its "presetName" (created folder and all). False when
    // the dictionary has no name or the write failed (the old file is then kept).
    bool flushPresetData(const DictRef& dict);

    // Loads "<name>.plist". A file that is not a readable dictionary is moved aside as
    // "<name>.plist.unreadable-<UTC time>" and reported Unreadable, never deleted.
    LoadResult load(const std::string& presetName);
    // Moves "<name>.plist" aside as load does for an unreadable file, for a file that was read
    // but whose content its owner cannot use (`reason` is logged). The path it was moved to;
    // empty when it could not be moved (it is then still in place).
    std::filesystem::path keepAside(const std::string& presetName, const std::string& reason);

    // Removes the temporary files that interrupted saves left in the folder
    // (".<name>.plist.tmp-<pid>-..." of a process that no longer exists). Only that pattern,
    // only regular files, links never followed. Answers how many went.
    std::size_t removeStaleTemporaries();

private:
    std::filesystem::path moveAside(const std::string& presetName, const std::string& reason);

    std::filesystem::path folder_;
    SystemLog& log_;
    Clock& clock_;
};

} // namespace tpc::core
