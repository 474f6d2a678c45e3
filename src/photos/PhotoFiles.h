#pragma once
// Where a photo's two files are, and the one file operation the clean makes besides deleting:
// moving the edited image into the original's place.

#include "core/Value.h"

#include <optional>
#include <string>

namespace tpc::photos {

// A photo's edited image ("ImagePath") and kept original ("OriginalPath").
struct PhotoPaths {
    std::string image;
    std::string original;
};

// The record's two paths; nullopt unless it holds both as text.
std::optional<PhotoPaths> recordedPaths(const core::DictRef& record);

// A photo file is a regular file at the path itself (a link is never taken for a photo).
bool photoFileExists(const std::string& path);

// The paths rebased on the library: where the library's name first appears in the image path,
// both paths continue after the library's location (which ends in "/"), so that a library moved
// or copied to another folder still finds its photos. nullopt when the name does not appear in
// the image path (or the original path is too short to be cut at the same place).
std::optional<PhotoPaths> rebasedPaths(const PhotoPaths& paths, const std::string& libraryName,
                                       const std::string& libraryLocation);

// The photo's files as the scan and the clean find them: where the record says, or rebased when
// neither file is there; nullopt unless both files then exist and are two different files.
std::optional<PhotoPaths> locatePhotoFiles(const PhotoPaths& recorded,
                                           const std::string& libraryName,
                                           const std::string& libraryLocation);

// Moves the file `from` to `to`, which must not exist, never following a link at either name:
// a rename, or across file systems a copy made in place of `to` and then the removal of `from`.
// False (with `error` set) when nothing was moved; `to` then does not hold a partial copy.
bool moveFileNoReplace(const std::string& from, const std::string& to, std::string& error);

} // namespace tpc::photos
