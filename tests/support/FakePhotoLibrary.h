#pragma once
// A small iPhoto library built in a temporary folder: "Info.plist", "AlbumData.xml" written as an
// XML property list, a real SQLite database behind the relative link "Database/Library.apdb"
// (the tables and columns the scan and the clean use), and for every photo an original in
// "Masters" and an edited image in "Previews". The image files hold whatever bytes a test gives.

#include "core/Value.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tpc::test {

struct FakePhoto {
    // The key in "Master Image List", also the edited version's modelId in the database.
    int key = 1;
    std::string caption = "Photo";
    std::string event = "Event";
    // adjIndex values of the photo's adjustment rows.
    std::vector<double> adjustments;
    std::int64_t rotation = 0;
    std::int64_t originalRotation = 0;
    std::int64_t masterHeight = 3000;
    std::int64_t masterWidth = 2000;
    std::string originalBytes = std::string(3000, 'o');
    std::string imageBytes = std::string(1000, 'e');

    std::string guid() const { return "GUID-" + std::to_string(key); }
    std::string originalUuid() const { return "ORIG-" + std::to_string(key); }
    int masterId() const { return 500 + key; }
};

class FakePhotoLibrary {
public:
    // The library folder to make (its parent is made too).
    explicit FakePhotoLibrary(std::filesystem::path folder);

    void add(const FakePhoto& photo) { photos.push_back(photo); }
    // Writes everything: Info.plist (with `version` unless it is empty), the album file, the
    // database and the image files.
    void write();

    std::filesystem::path originalOf(const FakePhoto& photo) const;
    std::filesystem::path imageOf(const FakePhoto& photo) const;
    std::filesystem::path albumFile() const { return path / "AlbumData.xml"; }
    std::filesystem::path database() const { return path / "Database/apdb/Library.apdb"; }
    // "AlbumData.xml" as the value it holds.
    core::DictRef readAlbumData() const;

    std::filesystem::path path;
    std::string version = "9.6.1";
    std::vector<FakePhoto> photos;
};

} // namespace tpc::test
