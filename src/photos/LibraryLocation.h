#pragma once
// Where the photo library is looked for, what runs on it, and which picture shows it.

#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

namespace tpc::photos {

// The application whose library this is; while it runs, the library is neither scanned nor
// cleaned, since it holds the same files.
inline constexpr const char* kIPhotoBundleId = "com.apple.iPhoto";

// The default library: "iPhoto Library", else "iPhoto Library.photolibrary", whichever is first
// found as a folder in the Pictures folder; nullopt when neither is (or there is no Pictures
// folder).
std::optional<std::filesystem::path>
findDefaultIPhotoLibrary(const std::filesystem::path& pictures);

// One size of an icon: its size in points and its height in pixels.
struct IconRepresentation {
    double width = 0;
    double height = 0;
    int pixelsHigh = 0;
};

// The side of the library picture, in points.
inline constexpr double kLibraryIconSide = 128;

// The library picture is the representation of exactly 128 x 128 points with the most pixels
// high (the first one on a tie); nullopt when there is none, in which case the whole icon is
// drawn at 128 x 128.
std::optional<std::size_t>
libraryIconRepresentation(const std::vector<IconRepresentation>& representations);

} // namespace tpc::photos
