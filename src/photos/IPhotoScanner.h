#pragma once
// The scan of a library's hidden service copies: every photo of an event album that has both an
// edited image and its kept original on disk, with the edits the database records for it, becomes
// a photo node under the category its edits make. The database is only read.
//
// Threads: runs on the scan's worker; what it finds goes to the listener, which hands it to the
// main thread.

#include "core/Value.h"
#include "photos/NewDir.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tpc::photos {

class LibraryDatabase;

// A photo that qualified: its node (record with "ImageKey", paths where the files are, the two
// thumbnails) and its category.
struct FoundPhoto {
    std::string category;
    NewDirRef node;
};

struct ScanListener {
    // Asked before every album and every photo; true ends the scan there.
    std::function<bool()> stopRequested;
    // An event album begins, after `handled` photos.
    std::function<void(const std::string& albumName, std::uint64_t handled)> albumStarted;
    std::function<void(FoundPhoto photo)> photoFound;
};

class IPhotoScanner {
public:
    // The library's name and location (ending in "/") rebase the paths of a moved library.
    IPhotoScanner(LibraryDatabase& database, std::string libraryName, std::string libraryLocation);

    // The sum of "PhotoCount" over the event albums: the scan's progress maximum.
    static std::uint64_t eventPhotoCount(const core::DictRef& albumData);

    // Walks "List of Albums" in order, examining the photos of every event album; false when the
    // listener stopped it.
    bool scanAlbums(const core::DictRef& albumData, const ScanListener& listener);

    // One photo of "Master Image List": nullopt when it lacks a path, a file, a readable edit
    // list or any edit at all.
    std::optional<FoundPhoto> examinePhoto(const std::string& imageKey,
                                           const core::DictRef& record);

private:
    // ";Name" per adjustment row, in row order; nullopt when the query fails.
    std::optional<std::string> adjustmentEdits(const std::string& guid);

    LibraryDatabase& database_;
    std::string libraryName_;
    std::string libraryLocation_;
};

// A key of "KeyList" as the key of "Master Image List" (text, or a whole number written out);
// empty for anything else.
std::string imageKeyText(const core::Value& key);

// A database cell read as a whole number (its leading number truncated; "-" and text are 0).
std::int64_t cellInteger(const std::string& cell);

} // namespace tpc::photos
