// Marking the result tree, and the clean that makes the library forget the marked photos' edits
// and keep only their edited images.

#include "PhotosHarness.h"

#include "core/PropertyList.h"
#include "erase/Deleter.h"
#include "erase/EraseModule.h"
#include "photos/IPhotoCleaner.h"
#include "photos/LibraryDatabase.h"
#include "support/Sql.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tpc::test::photos {
namespace {

namespace ph = tpc::photos;
using core::Category;
using core::CheckState;
using core::TaskKind;

FakePhoto edited(int key, std::vector<double> adjustments, std::int64_t rotation) {
    FakePhoto p;
    p.key = key;
    p.caption = "Photo " + std::to_string(key);
    p.adjustments = std::move(adjustments);
    p.rotation = rotation;
    return p;
}

// A library of a turned photo (1) and two enhanced ones (2, 3), scanned.
class PhotoClean : public ::testing::Test {
protected:
    PhotosHarness h;
    void SetUp() override {
        h.library.add(edited(1, {}, 90));
        h.library.add(edited(2, {1000, 2100000}, 0));
        h.library.add(edited(3, {1000, 2100000}, 0));
        h.library.write();
        h.openAndScan();
        ASSERT_EQ(h.rootNames(), (std::vector<std::string>{"Rotated", "Enhanced, Fixed Red Eye"}));
    }
    ph::IPhotoResults& results() { return h.driver().results(); }
    NewDir& root(std::size_t i) { return *results().roots().at(i); }
    std::string versionRow(int modelId) {
        return rows(h.library.database(),
                    "SELECT rotation, editState, masterHeight, masterWidth, processedHeight, "
                    "processedWidth FROM RKVersion WHERE modelId=" +
                        std::to_string(modelId))
            .at(0);
    }
};

TEST_F(PhotoClean, MarksFollowTheBoxesOfCategoriesAndPhotos) {
    EXPECT_EQ(results().reflectMarkStatusInIPhotoMainList(), CheckState::Off);
    EXPECT_EQ(results().selectionText(), "Selected: 0 item, 0.00 KB");

    results().checkBoxIPhotoClicked(*h.photo(2), true);
    EXPECT_EQ(root(1).selected, -1);
    EXPECT_EQ(root(1).itemsSelected, 1u);
    EXPECT_EQ(root(1).sizeSelected, 3000u);
    EXPECT_EQ(results().selectionText(), "Selected: 1 item, 3.00 KB");
    // Only a fully marked category counts for the mark-all box and the Clean button.
    EXPECT_EQ(results().reflectMarkStatusInIPhotoMainList(), CheckState::Off);

    results().checkBoxIPhotoClicked(*h.photo(3), true);
    EXPECT_EQ(root(1).selected, 1);
    EXPECT_EQ(results().reflectMarkStatusInIPhotoMainList(), CheckState::Mixed);
    EXPECT_TRUE(h.driver().canClean());
    EXPECT_EQ(results().selectionText(), "Selected: 2 items, 6.00 KB");

    // A mixed box goes on with a click; on goes off.
    results().checkBoxIPhotoClicked(*h.photo(3), false);
    results().checkBoxIPhotoClicked(root(1), CheckState::On);
    EXPECT_EQ(h.photo(3)->selected, 1);
    EXPECT_EQ(root(1).itemsSelected, 2u);
    results().markAllIPhoto(true);
    EXPECT_EQ(results().reflectMarkStatusInIPhotoMainList(), CheckState::On);
    results().checkBoxIPhotoClicked(root(0), CheckState::Off);
    EXPECT_EQ(h.photo(1)->selected, 0);
    EXPECT_EQ(h.photo(1)->sizeSelected, 0u);

    // Counts recomputed from the photos agree with the ones kept along the way.
    root(1).items = 7;
    root(1).itemsSelected = 0;
    results().updateMarkStatusAllIPhoto();
    EXPECT_EQ(root(1).items, 2u);
    EXPECT_EQ(root(1).itemsSelected, 2u);
    EXPECT_EQ(root(1).selected, 1);
}

TEST_F(PhotoClean, TheMarkedPhotosBecomeTheirEditedImagesAndTheRestIsUntouched) {
    const auto before = h.library.readAlbumData();
    h.driver().markForClean({"Rotated"}, {"2"});
    h.cleanLibrary();

    // The database: the turn exchanges height and width, the adjustments are forgotten.
    EXPECT_EQ(versionRow(1), "0|0|2000|3000|2000|3000");
    EXPECT_EQ(versionRow(10001), "0|0|2000|3000|2000|3000");
    EXPECT_EQ(versionRow(2), "0|0|3000|2000|3000|2000");
    EXPECT_EQ(scalar(h.library.database(),
                     "SELECT COUNT(*) FROM RKImageAdjustment WHERE versionUuid='GUID-2'"),
              0);
    EXPECT_EQ(versionRow(3), "0|1|3000|2000|3000|2000");
    EXPECT_EQ(scalar(h.library.database(),
                     "SELECT COUNT(*) FROM RKImageAdjustment WHERE versionUuid='GUID-3'"),
              2);
    EXPECT_EQ(rows(h.library.database(), "PRAGMA integrity_check"), std::vector<std::string>{"ok"});

    // The files: each edited image took its original's place.
    const auto& photos = h.library.photos;
    EXPECT_EQ(readFile(h.library.originalOf(photos[0])), photos[0].imageBytes);
    EXPECT_FALSE(fs::exists(h.library.imageOf(photos[0])));
    EXPECT_EQ(readFile(h.library.originalOf(photos[1])), photos[1].imageBytes);
    EXPECT_EQ(readFile(h.library.originalOf(photos[2])), photos[2].originalBytes);
    EXPECT_TRUE(fs::exists(h.library.imageOf(photos[2])));

    // The album file: a valid list whose cleaned records name one file; all else as it was.
    const auto after = h.library.readAlbumData();
    ASSERT_TRUE(after);
    const auto master = after->getDict("Master Image List");
    const auto oldMaster = before->getDict("Master Image List");
    for (const char* key : {"1", "2"}) {
        auto expected = core::Value(oldMaster->getDict(key)).deepCopy().dict();
        expected->set("ImagePath", expected->getString("OriginalPath"));
        expected->remove("OriginalPath");
        EXPECT_EQ(core::Value(master->getDict(key)), core::Value(expected)) << key;
    }
    EXPECT_EQ(core::Value(master->getDict("3")), core::Value(oldMaster->getDict("3")));
    for (const auto& [key, value] : before->items)
        if (key != "Master Image List")
            EXPECT_EQ(after->get(key), value) << key;

    // The tree keeps what was not cleaned; an emptied category goes.
    EXPECT_EQ(h.rootNames(), std::vector<std::string>{"Enhanced, Fixed Red Eye"});
    EXPECT_EQ(root(0).items, 1u);
    EXPECT_TRUE(root(0).isLastCategoryRoot);
    EXPECT_EQ(h.page().statusLine, "Clean Complete");
    EXPECT_EQ(h.page().resultLine, "There is still 3.00 KB occupied by hidden service copies of "
                                   "photos, which cannot be deleted automatically by iPhoto");
    EXPECT_EQ(h.subtitles().back(), "(3.00 KB)");
    EXPECT_FALSE(h.flags().running(Category::IPhoto, TaskKind::Clean));

    results().markAllIPhoto(true);
    h.cleanLibrary();
    EXPECT_TRUE(results().empty());
    EXPECT_EQ(h.page().resultLine, "All hidden service copies of photos removed");
    EXPECT_EQ(h.subtitles().back(), "");
}

TEST_F(PhotoClean, TheStatementsAreRunAsWrittenAndATurnAloneDeletesNothing) {
    ph::LibraryDatabase database(h.library.database(), h.log);
    std::vector<std::string> statements;
    database.onStatement = [&statements](const std::string& sql) {
        statements.push_back(sql);
    };
    ph::IPhotoCleaner cleaner(database, h.app->erase().deleter(), h.log, "iPhoto Library",
                              h.pictures().string() + "/");
    const auto master = h.library.readAlbumData()->getDict("Master Image List");

    ASSERT_TRUE(cleaner.cleanPhoto("1", master->getDict("1")).filesReplaced);
    EXPECT_EQ(statements,
              (std::vector<std::string>{
                  "SELECT adjIndex FROM RKImageAdjustment WHERE versionUuid='GUID-1';",
                  "SELECT rotation FROM RKVersion WHERE modelId='1';",
                  "SELECT * FROM RKVersion WHERE modelId='1';",
                  "UPDATE RKVersion SET masterHeight='2000', masterWidth='3000', "
                  "processedHeight='2000', processedWidth='3000', rotation='0', editState='0' "
                  "WHERE modelId='1';",
                  "SELECT originalVersionUuid FROM RKMaster WHERE modelId='501';",
                  "UPDATE RKVersion SET masterHeight='2000', masterWidth='3000', "
                  "processedHeight='2000', processedWidth='3000', rotation='0', editState='0' "
                  "WHERE Uuid='ORIG-1';"}));
    EXPECT_EQ(master->getDict("1")->getString("ImagePath"),
              h.library.originalOf(h.library.photos[0]).string());
    EXPECT_FALSE(master->getDict("1")->has("OriginalPath"));

    statements.clear();
    ASSERT_TRUE(cleaner.cleanPhoto("2", master->getDict("2")).cleaned);
    EXPECT_EQ(statements[1], "DELETE FROM RKImageAdjustment WHERE versionUuid='GUID-2';");
    EXPECT_EQ(statements[4], "UPDATE RKVersion SET rotation='0', editState='0' WHERE modelId='2';");
    EXPECT_EQ(statements[6],
              "UPDATE RKVersion SET rotation='0', editState='0' WHERE uuid='ORIG-2';");

    // Values are quoted into the text.
    EXPECT_EQ(ph::photosql::selectMasterId("it's"),
              "SELECT masterId FROM RKVersion WHERE modelId='it''s';");
}

TEST_F(PhotoClean, AnOriginalThatCannotBeDeletedKeepsThePhotoAsItWas) {
    const auto original = h.library.originalOf(h.library.photos[0]).string();
    RefusingAccess refusing(original);
    erase::Deleter deleter(erase::DeleterEnv{h.flags().abortCleaningFlag(),
                                             [] { return std::int64_t{-1}; }, h.clock, h.log,
                                             nullptr, nullptr, nullptr, &refusing});
    PhotosDriver driver(h.app->context(), h.app->tasks(), deleter);
    driver.openPage();
    h.scanLibrary(&driver);
    driver.markForClean({"Rotated"}, {});
    h.cleanLibrary(&driver);

    EXPECT_EQ(readFile(original), h.library.photos[0].originalBytes);
    EXPECT_TRUE(fs::exists(h.library.imageOf(h.library.photos[0])));
    const auto record = h.library.readAlbumData()->getDict("Master Image List")->getDict("1");
    EXPECT_EQ(record->getString("OriginalPath"), original);
    EXPECT_EQ(record->getString("ImagePath"), h.library.imageOf(h.library.photos[0]).string());
    ASSERT_EQ(driver.results().roots().size(), 2u);
    EXPECT_EQ(driver.results().roots()[0]->items, 1u);
    EXPECT_EQ(driver.pageState().resultLine.rfind("There is still 9.00 KB", 0), 0u);
}

TEST_F(PhotoClean, NothingCleanedLeavesTheAlbumFileAlone) {
    struct stat before {};
    ASSERT_EQ(::stat(h.library.albumFile().c_str(), &before), 0);
    const std::string bytes = readFile(h.library.albumFile());
    // The photo's version went from the database after the scan: its first query finds nothing.
    exec(h.library.database(), "DELETE FROM RKVersion WHERE modelId=1;");
    h.driver().markForClean({"Rotated"}, {});
    h.cleanLibrary();

    struct stat after {};
    ASSERT_EQ(::stat(h.library.albumFile().c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(readFile(h.library.albumFile()), bytes);
    EXPECT_NE(h.photo(1), nullptr);
    EXPECT_EQ(h.page().statusLine, "Clean Complete");
}

TEST_F(PhotoClean, ALibraryDamagedSinceTheScanIsNotTouched) {
    h.driver().markForClean({"Rotated"}, {});
    const auto link = h.library.path / "Database/Library.apdb";
    fs::remove(link);
    h.cleanLibrary();
    EXPECT_EQ(h.page().statusLine, "! Library Corrupt");
    EXPECT_EQ(h.page().resultLine,
              "The selected iPhoto Library is corrupt as an important file is missing inside it. "
              "This feature can only process a healthy Library.");
    EXPECT_FALSE(h.flags().running(Category::IPhoto, TaskKind::Clean));
    EXPECT_TRUE(fs::exists(h.library.imageOf(h.library.photos[0])));

    // An unreadable album file ends the clean as a failed scan ends, and the clean is no longer
    // marked running (later tasks and quitting would wait for it for ever).
    fs::create_symlink("apdb/Library.apdb", link);
    writeFile(h.library.albumFile(), "garbage");
    h.cleanLibrary();
    EXPECT_EQ(h.page().resultLine,
              "The selected iPhoto Library is corrupt as an important file is corrupt inside it. "
              "This feature can only process a healthy Library.");
    EXPECT_FALSE(h.flags().running(Category::IPhoto, TaskKind::Clean));
    EXPECT_FALSE(h.flags().running(Category::IPhoto, TaskKind::Scan));
    EXPECT_EQ(readFile(h.library.albumFile()), "garbage");
    EXPECT_EQ(versionRow(1), "90|1|3000|2000|3000|2000");
}

TEST_F(PhotoClean, TheCleanButtonRefusesAVanishedLibraryOrARunningIPhoto) {
    h.driver().markForClean({"Rotated"}, {});
    h.running->running = true;
    h.cleanLibrary();
    fs::rename(h.library.path, h.pictures() / "Moved");
    h.cleanLibrary();
    const auto alerts = h.alerts();
    ASSERT_EQ(alerts.size(), 2u);
    EXPECT_EQ(alerts[0].title, "! iPhoto is running");
    EXPECT_EQ(alerts[0].message,
              "Please \"Quit\" iPhoto in order to scan the selected iPhoto Library. It is highly "
              "recommended that iPhoto is not running while scanning and cleaning and "
              "in-between. If iPhoto was opened after the current scan, it is highly recommended "
              "to start over again");
    EXPECT_EQ(alerts[1].title, "! Cannot Proceed");
    EXPECT_EQ(alerts[1].message,
              "! Library not found. It may have been moved or renamed. Please click the \"Start "
              "Over\" button to again browse and select the iPhoto Library you want to scan.");
    const auto statuses = h.statuses();
    EXPECT_EQ(std::count(statuses.begin(), statuses.end(), "Cleaning iPhoto Library..."), 0);
    EXPECT_NE(h.photo(1), nullptr);
}

} // namespace
} // namespace tpc::test::photos
