#pragma once
// Whether a folder is an iPhoto library this subsystem can work on: its album file and the
// relative link to its database present, its album file and "Info.plist" readable property
// lists, and (before a scan) written by iPhoto 9.6 or later. Nothing in the library is changed.

#include "core/Value.h"

#include <filesystem>
#include <string>

namespace tpc::photos {

enum class LibraryFailure { None, Missing, Corrupt, Old };

struct CheckedLibrary {
    LibraryFailure failure = LibraryFailure::None;
    // The database file the link leads to (set once the link was found).
    std::filesystem::path databasePath;
    // "AlbumData.xml" as read (set when the library passed).
    core::DictRef albumData;
};

// "Database/Library.apdb" read as a relative symbolic link, joined to the library's "Database"
// folder. Empty when it is no link (a plain file, nothing) or a link to an absolute path.
std::filesystem::path resolveDatabasePath(const std::filesystem::path& library);

// A file of the library that must read as a dictionary property list; null otherwise.
core::DictRef readLibraryPlist(const std::filesystem::path& file);

// The checks, in order: the album file and the database missing, then the album file or
// "Info.plist" unreadable, then (with `checkVersion`) the version too old.
CheckedLibrary checkIPhotoLibrary(const std::filesystem::path& library, bool checkVersion);

// "CFBundleShortVersionString" split at ".": older than 9.6 (9.5.1, 9, 8.1.2) is old.
bool isOldLibraryVersion(const std::string& shortVersion);

// What a failed check shows: the progress line while failing, then the page's status and
// result lines.
struct LibraryFailureTexts {
    std::string progressStatus;
    std::string statusLine;
    std::string resultLine;
};
LibraryFailureTexts libraryFailureTexts(LibraryFailure failure);

} // namespace tpc::photos
