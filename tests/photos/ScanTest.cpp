// The scan: the edits of every event photo with both files on disk, grouped into categories.

#include "PhotosHarness.h"

#include "photos/PhotoEdits.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace tpc::test::photos {
namespace {

namespace ph = tpc::photos;

TEST(PhotoEdits, AdjustmentsNameTheirEditAndEditsMakeASortedCategory) {
    EXPECT_EQ(ph::getOpNameForAdjIndex("2100000"), "Fixed Red Eye");
    EXPECT_EQ(ph::getOpNameForAdjIndex("6000000.75"), "Cropped");
    EXPECT_EQ(ph::getOpNameForAdjIndex("7000000"), "Cropped");
    EXPECT_EQ(ph::getOpNameForAdjIndex("2100001"), "Enhanced");
    EXPECT_EQ(ph::getOpNameForAdjIndex("-"), "Enhanced");
    EXPECT_EQ(ph::getCategoryName(";Enhanced;Cropped;Enhanced;Rotated"),
              "Cropped, Enhanced, Rotated");
    EXPECT_EQ(ph::getCategoryName(";Rotated"), "Rotated");
    EXPECT_EQ(ph::getCategoryName(""), "");
}

FakePhoto photo(int key, std::vector<double> adjustments, std::int64_t rotation,
                const std::string& event) {
    FakePhoto p;
    p.key = key;
    p.adjustments = std::move(adjustments);
    p.rotation = rotation;
    p.event = event;
    return p;
}

TEST(PhotoScan, PhotosAreGroupedByTheirEditsAcrossAlbums) {
    PhotosHarness h;
    h.library.add(photo(1, {2100000, 6000000}, 90, "Summer"));
    auto turnedAlike = photo(2, {}, 90, "Summer");
    turnedAlike.originalRotation = 90;
    h.library.add(turnedAlike);
    h.library.add(photo(3, {1000}, 0, "Summer"));
    h.library.add(photo(4, {}, 0, "Summer")); // never edited
    h.library.add(photo(5, {1000}, 0, "Summer"));
    h.library.add(photo(6, {1000}, 0, "Winter"));
    h.library.write();
    fs::remove(h.library.originalOf(h.library.photos[4])); // no original left
    const std::string databaseBefore = readFile(h.library.database());

    h.openAndScan();
    EXPECT_EQ(h.rootNames(),
              (std::vector<std::string>{"Cropped, Fixed Red Eye, Rotated", "Rotated", "Enhanced"}));
    const auto enhanced = h.driver().results().roots()[2];
    EXPECT_EQ(enhanced->items, 2u);
    EXPECT_EQ(enhanced->size, 6000u);
    EXPECT_EQ(enhanced->photos()[1]->contents->getString("ImageKey"), "6");
    EXPECT_EQ(h.photo(4), nullptr);
    EXPECT_EQ(h.photo(5), nullptr);

    // The node: the record with its key, the files' sizes, both thumbnails; the original is
    // drawn turned only when it is stored turned otherwise.
    const auto first = h.photo(1);
    EXPECT_EQ(first->size, 3000u);
    EXPECT_EQ(first->sizeOriginal, 1000u);
    EXPECT_EQ(first->selected, 0);
    EXPECT_EQ(first->contents->getString("Caption"), "Photo");
    EXPECT_EQ(first->imageOriginal.path, h.library.originalOf(h.library.photos[0]).string());
    EXPECT_EQ(first->imageOriginal.rotation, 90);
    EXPECT_EQ(first->imageImage.rotation, 0);
    EXPECT_EQ(h.photo(2)->imageOriginal.rotation, 0);

    EXPECT_EQ(h.page().statusLine, "Scan Complete");
    EXPECT_EQ(h.page().resultLine, "There is 12.00 KB occupied by hidden service copies of "
                                   "photos, which cannot be deleted automatically by iPhoto");
    EXPECT_TRUE(h.page().detailedResultsEnabled);
    EXPECT_EQ(h.subtitles().back(), "(12.00 KB)");
    EXPECT_EQ(h.frontend.resultText(),
              std::optional<std::string>("Total Size To Clean: 12.00 KB\nTotal Items To Clean: 4 "
                                         "items"));
    // The bar runs over the event albums' photos, album by album.
    EXPECT_EQ(h.maxima(), std::vector<std::uint64_t>({6}));
    const auto statuses = h.statuses();
    EXPECT_NE(std::find(statuses.begin(), statuses.end(), "Scanning Album: Winter"),
              statuses.end());
    // The scan only reads.
    EXPECT_EQ(readFile(h.library.database()), databaseBefore);
}

TEST(PhotoScan, AMovedLibraryFindsItsPhotosBesideItself) {
    PhotosHarness h;
    FakePhotoLibrary old(h.dir / "Old Disk/Pictures/iPhoto Library");
    old.add(photo(7, {6000000}, 0, "Trip"));
    old.write();
    fs::create_directories(h.pictures());
    fs::rename(old.path, h.pictures() / "iPhoto Library");

    h.openAndScan();
    ASSERT_EQ(h.rootNames(), std::vector<std::string>{"Cropped"});
    EXPECT_EQ(h.photo(7)->contents->getString("ImagePath"),
              (h.pictures() / "iPhoto Library/Previews/2014/06/01/IMG_7.jpg").string());
    EXPECT_EQ(h.photo(7)->contents->getString("OriginalPath"),
              (h.pictures() / "iPhoto Library/Masters/2014/06/01/IMG_7.jpg").string());
}

TEST(PhotoScan, ALibraryWithoutEditedPhotosHasNothingToClean) {
    PhotosHarness h;
    h.library.add(photo(1, {}, 0, "Plain"));
    h.library.write();
    h.openAndScan();
    EXPECT_TRUE(h.driver().results().empty());
    EXPECT_EQ(h.page().statusLine, "Scan Complete");
    EXPECT_EQ(h.page().resultLine, "Could not find any hidden service copies of photos");
    EXPECT_FALSE(h.page().detailedResultsEnabled);
    EXPECT_EQ(h.subtitles().back(), "");
}

TEST(PhotoScan, AnAbortKeepsThePhotosFoundSoFar) {
    PhotosHarness h;
    h.library.add(photo(1, {1000}, 0, "First"));
    h.library.add(photo(2, {1000}, 0, "Second"));
    h.library.write();
    h.frontend.abortOnStatus = "Scanning Album: Second";
    h.openAndScan();
    EXPECT_EQ(h.page().statusLine, "Scan Aborted");
    ASSERT_NE(h.photo(1), nullptr);
    EXPECT_EQ(h.photo(2), nullptr);
    EXPECT_FALSE(h.flags().running(core::Category::IPhoto, core::TaskKind::Scan));
    EXPECT_TRUE(h.flags().allScansAndCleansAborted());
}

} // namespace
} // namespace tpc::test::photos
