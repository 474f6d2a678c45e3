#pragma once
// The clean of one marked photo: the library database forgets the photo's edits (the edited image
// becomes the photo's new original, so a quarter turn also exchanges the stored height and width),
// then the kept original is deleted through the deletion engine and the edited image moved into
// its place, and the photo's record in "AlbumData.xml" is pointed at that single file. The
// statements run one by one without a transaction: a failing one ends the work on the photo and
// leaves the earlier ones done, and the files are only touched once the last one succeeded.
//
// Threads: runs on the clean's worker.

#include "core/Value.h"
#include "photos/PhotoFiles.h"

#include <filesystem>
#include <string>

namespace tpc::core {
class SystemLog;
}
namespace tpc::erase {
class Deleter;
}

namespace tpc::photos {

class LibraryDatabase;

struct PhotoCleanOutcome {
    // The database forgot the edits (its last update succeeded).
    bool cleaned = false;
    // ... and the original was deleted and the edited image took its place.
    bool filesReplaced = false;
};

class IPhotoCleaner {
public:
    IPhotoCleaner(LibraryDatabase& database, erase::Deleter& deleter, core::SystemLog& log,
                  std::string libraryName, std::string libraryLocation);

    // `record` is the photo's record in the file's "Master Image List" (not a node's copy): its
    // files are found as the scan finds them, and once they were replaced its "ImagePath" names
    // the original's path and its "OriginalPath" is gone.
    PhotoCleanOutcome cleanPhoto(const std::string& imageKey, const core::DictRef& record);

private:
    // The database steps; true when every statement said "OK".
    bool forgetEdits(const std::string& imageKey, const std::string& guid);
    bool resetVersion(const std::string& imageKey, const std::string& masterId);
    bool turnVersion(const std::string& imageKey, const std::string& masterId,
                     const std::string& height, const std::string& width);
    // Deletes the original, then moves the edited image to its path.
    bool replaceFiles(const PhotoPaths& files);

    LibraryDatabase& database_;
    erase::Deleter& deleter_;
    core::SystemLog& log_;
    std::string libraryName_;
    std::string libraryLocation_;
};

// Whether a stored rotation is a quarter turn (90, 270, -90 or -270).
bool isQuarterTurn(std::int64_t rotation);

// Replaces the library's "AlbumData.xml" atomically with `albumData` as an XML property list,
// keeping the file's permission bits. False (logged, the old file untouched) on failure.
bool writeAlbumData(const std::filesystem::path& library, const core::DictRef& albumData,
                    core::SystemLog& log);

} // namespace tpc::photos
