// Finding the default library, choosing another, and the checks a library passes before a scan.

#include "PhotosHarness.h"

#include "photos/LibraryCheck.h"
#include "photos/LibraryLocation.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace tpc::test::photos {
namespace {

namespace ph = tpc::photos;
using ph::LibraryFailure;

TEST(PhotoLibraryVersion, NinePointSixAndLaterPass) {
    for (const char* version : {"9.6", "9.6.1", "10.0", "11"})
        EXPECT_FALSE(ph::isOldLibraryVersion(version)) << version;
    for (const char* version : {"9.5", "9.5.1", "9", "8.1.2", ""})
        EXPECT_TRUE(ph::isOldLibraryVersion(version)) << version;
}

TEST(PhotoLibraryIcon, TakesTheSharpest128PointRepresentation) {
    EXPECT_EQ(
        ph::libraryIconRepresentation(
            {{32, 32, 32}, {128, 128, 128}, {128, 128, 256}, {128, 128, 256}, {256, 256, 256}}),
        std::optional<std::size_t>(2));
    EXPECT_EQ(ph::libraryIconRepresentation({{32, 32, 64}, {256, 256, 512}}), std::nullopt);
    EXPECT_EQ(ph::libraryIconRepresentation({}), std::nullopt);
}

class LibraryChecks : public ::testing::Test {
protected:
    TempDir dir;
    FakePhotoLibrary library{dir / "iPhoto Library"};
    void SetUp() override {
        FakePhoto photo;
        photo.adjustments = {1000};
        library.add(photo);
        library.write();
    }
    LibraryFailure check(bool version = true) {
        return ph::checkIPhotoLibrary(library.path, version).failure;
    }
};

TEST_F(LibraryChecks, AHealthyLibraryHandsOnItsDatabaseAndAlbumFile) {
    const auto checked = ph::checkIPhotoLibrary(library.path, true);
    ASSERT_EQ(checked.failure, LibraryFailure::None);
    EXPECT_TRUE(fs::equivalent(checked.databasePath, library.database()));
    ASSERT_TRUE(checked.albumData);
    EXPECT_TRUE(checked.albumData->getDict("Master Image List")->has("1"));
}

TEST_F(LibraryChecks, VersionsBefore96AreOldAndAMissingVersionPasses) {
    library.version = "9.5";
    library.write();
    EXPECT_EQ(check(), LibraryFailure::Old);
    // The clean does not look at the version again.
    EXPECT_EQ(check(false), LibraryFailure::None);
    library.version = "9.6";
    library.write();
    EXPECT_EQ(check(), LibraryFailure::None);
    library.version = "";
    library.write();
    EXPECT_EQ(check(), LibraryFailure::None);
}

TEST_F(LibraryChecks, TheDatabaseMustBeARelativeLinkThatLeadsSomewhere) {
    const auto link = library.path / "Database/Library.apdb";
    fs::remove(link);
    fs::copy_file(library.database(), link);
    EXPECT_EQ(check(), LibraryFailure::Missing);
    fs::remove(link);
    fs::create_symlink(library.database(), link);
    EXPECT_EQ(check(), LibraryFailure::Missing);
    fs::remove(link);
    fs::create_symlink("apdb/Gone.apdb", link);
    EXPECT_EQ(check(), LibraryFailure::Missing);
    fs::remove(link);
    EXPECT_EQ(check(), LibraryFailure::Missing);
}

TEST_F(LibraryChecks, UnreadableOrAbsentListsAreCorruptAndAMissingAlbumFileIsMissing) {
    writeFile(library.path / "Info.plist", "<plist><dict><key>x</key>");
    EXPECT_EQ(check(), LibraryFailure::Corrupt);
    fs::remove(library.path / "Info.plist");
    EXPECT_EQ(check(), LibraryFailure::Corrupt);
    library.write();
    writeFile(library.albumFile(), "<?xml version=\"1.0\"?><plist><array/></plist>");
    EXPECT_EQ(check(), LibraryFailure::Corrupt);
    fs::remove(library.albumFile());
    EXPECT_EQ(check(), LibraryFailure::Missing);
}

TEST(PhotoLibraryPage, TheDefaultLibraryIsLookedForInThePicturesFolder) {
    PhotosHarness h;
    auto& driver = h.driver();
    driver.openPage();
    EXPECT_EQ(h.page().libraryName, "! Default Library not found.");
    EXPECT_EQ(h.page().libraryLocation, "Please click the \"Change Library\" button to browse and "
                                        "select the iPhoto Library you want to scan.");
    EXPECT_FALSE(h.page().scanEnabled);
    EXPECT_TRUE(h.page().iconPath.empty());
    EXPECT_EQ(driver.chosenLibrary(), std::nullopt);

    fs::create_directories(h.pictures() / "iPhoto Library.photolibrary");
    driver.openPage();
    EXPECT_EQ(h.page().libraryName, "iPhoto Library.photolibrary");
    fs::create_directories(h.pictures() / "iPhoto Library");
    driver.openPage();
    EXPECT_EQ(h.page().libraryName, "iPhoto Library");
    EXPECT_EQ(h.page().libraryLocation, h.pictures().string() + "/");
    EXPECT_EQ(driver.libraryPath(), h.pictures() / "iPhoto Library");
    EXPECT_TRUE(h.page().scanEnabled);
    EXPECT_FALSE(h.page().detailedResultsEnabled);
    EXPECT_EQ(h.page().iconPath, (h.pictures() / "iPhoto Library").string());

    // Another library is any folder, judged when scanned; it vanishing before then is told.
    const auto other = h.dir / "Disk/Old Photos";
    fs::create_directories(other);
    driver.libraryChosen(other.string() + "/");
    EXPECT_EQ(h.page().libraryName, "Old Photos");
    EXPECT_EQ(h.page().libraryLocation, (h.dir / "Disk").string() + "/");
    fs::remove(other);
    h.scanLibrary();
    EXPECT_EQ(h.page().libraryName, "! Library not found. It may have been moved or renamed.");
    EXPECT_FALSE(h.page().scanEnabled);
    EXPECT_TRUE(h.frontend.eventsOf(FrontendEvent::Type::Window).empty());
}

TEST(PhotoLibraryPage, TheLinuxLayoutLooksInTheXdgPicturesFolder) {
    PhotosHarness h;
    writeFile(h.home() / ".config/user-dirs.dirs", "XDG_PICTURES_DIR=\"$HOME/Bilder\"\n");
    fs::create_directories(h.home() / "Bilder/iPhoto Library");
    h.start(platform::Layout::Linux);
    h.driver().openPage();
    EXPECT_EQ(h.driver().chosenLibrary(), h.home() / "Bilder/iPhoto Library");
}

TEST(PhotoLibraryPage, AScanIsRefusedWhileIPhotoRuns) {
    PhotosHarness h;
    h.library.write();
    h.running->running = true;
    h.openAndScan();
    const auto alerts = h.alerts();
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].title, "! iPhoto is running");
    EXPECT_EQ(alerts[0].message,
              "Please \"Quit\" iPhoto in order to scan the selected iPhoto Library. It is highly "
              "recommended that iPhoto is not running while scanning and cleaning and "
              "in-between.");
    EXPECT_EQ(h.running->asked, "com.apple.iPhoto");
    EXPECT_TRUE(h.frontend.eventsOf(FrontendEvent::Type::Window).empty());
    EXPECT_FALSE(h.flags().running(core::Category::IPhoto, core::TaskKind::Scan));
}

TEST(PhotoLibraryPage, AFailedCheckEndsTheScanWithItsLines) {
    PhotosHarness h;
    h.library.version = "9.5";
    h.library.write();
    h.openAndScan();
    EXPECT_EQ(h.page().statusLine, "! Library Version is Old");
    EXPECT_EQ(h.page().resultLine,
              "The selected iPhoto Library version is old. It is recommended to update your "
              "iPhoto software to the latest available and to open this iPhoto Library with the "
              "latest version of iPhoto software once to upgrade it.");
    auto statuses = h.statuses();
    EXPECT_EQ(statuses,
              (std::vector<std::string>{"Preparing...", "Library Version is Old...", " "}));
    EXPECT_FALSE(h.frontend.progressWindowShown());
    EXPECT_FALSE(h.flags().running(core::Category::IPhoto, core::TaskKind::Scan));

    // A plain file where the database link belongs is a missing file.
    h.library.version = "9.6";
    h.library.write();
    fs::remove(h.library.path / "Database/Library.apdb");
    writeFile(h.library.path / "Database/Library.apdb", "not a link");
    h.scanLibrary();
    EXPECT_EQ(h.page().statusLine, "! Library Corrupt");
    EXPECT_EQ(h.page().resultLine,
              "The selected iPhoto Library is corrupt as an important file is missing inside it. "
              "This feature can only process a healthy Library.");
    EXPECT_TRUE(h.driver().results().empty());
}

} // namespace
} // namespace tpc::test::photos
