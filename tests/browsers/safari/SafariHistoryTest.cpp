// Safari's "Internet History": History.db, or the older History.plist with HistoryIndex.sk.

#include "SafariHarness.h"

#include <gtest/gtest.h>

namespace tpc::browsers::safari::sftest {
namespace {

std::int64_t fileSize(const fs::path& p) {
    return static_cast<std::int64_t>(fs::file_size(p));
}

std::int64_t rowsIn(const fs::path& db, const std::string& table) {
    return scalar(db, "SELECT COUNT(*) FROM " + table);
}

TEST(SafariHistoryCount, NothingWithoutTheSafariFolder) {
    Harness h;
    EXPECT_EQ(h.cleaner->count("Internet History").value(), CountPair{});
    h.cleaner->remove("Internet History");
    EXPECT_FALSE(fs::exists(h.safariFolder()));
    fs::create_directories(h.safariFolder());
    EXPECT_EQ(h.cleaner->count("Internet History").value(), CountPair{});
}

TEST(SafariHistoryCount, TheDatabaseCountsItsItemsAndItsWholeFileSize) {
    Harness h;
    makeHistoryDb(h.store("History.db"), 3);
    EXPECT_EQ(h.cleaner->count("Internet History").value(),
              (CountPair{3, fileSize(h.store("History.db"))}));
}

TEST(SafariHistoryCount, ADatabaseWithZeroRowsCountsNothingAlthoughTheFileHasASize) {
    Harness h;
    makeHistoryDb(h.store("History.db"), 0);
    ASSERT_GT(fileSize(h.store("History.db")), 0);
    EXPECT_EQ(h.cleaner->count("Internet History").value(), CountPair{});
}

TEST(SafariHistoryCount, WithBothStoresOnlyTheDatabaseCounts) {
    Harness h;
    makeHistoryDb(h.store("History.db"), 2);
    writePlist(h.store("History.plist"), dictWithArray("WebHistoryDates", 9));
    writeFile(h.store("HistoryIndex.sk"), std::string(5000, 'i'));
    EXPECT_EQ(h.cleaner->count("Internet History").value(),
              (CountPair{2, fileSize(h.store("History.db"))}));
}

TEST(SafariHistoryCount, TheDatabaseSizeIsCutToItsLow32Bits) {
    Harness h;
    const auto db = h.store("History.db");
    makeHistoryDb(db, 1);
    // A sparse tail past 4 GiB; SQLite goes by the page count in its header.
    const std::uint64_t big = (std::uint64_t{1} << 32) + 4096 * 16;
    fs::resize_file(db, big);
    EXPECT_EQ(h.cleaner->count("Internet History").value(), (CountPair{1, 4096 * 16}));
}

TEST(SafariHistoryCount, AnUnreadableDatabaseCountsNothingAndThePlistIsNotTried) {
    Harness h;
    writeFile(h.store("History.db"), std::string(4096, 'x'));
    writePlist(h.store("History.plist"), dictWithArray("WebHistoryDates", 4));
    EXPECT_EQ(h.cleaner->count("Internet History").value(), CountPair{});
}

TEST(SafariHistoryCount, ThePlistCountsItsDatesAndTheSizesOfBothFiles) {
    Harness h;
    writePlist(h.store("History.plist"), dictWithArray("WebHistoryDates", 4));
    const auto plistSize = fileSize(h.store("History.plist"));
    EXPECT_EQ(h.cleaner->count("Internet History").value(), (CountPair{4, plistSize}));
    writeFile(h.store("HistoryIndex.sk"), std::string(5000, 'i'));
    EXPECT_EQ(h.cleaner->count("Internet History").value(), (CountPair{4, plistSize + 5000}));
}

TEST(SafariHistoryCount, AnUnreadablePlistCountsNoEntriesButItsSize) {
    Harness h;
    writeFile(h.store("History.plist"), "not a property list");
    EXPECT_EQ(h.cleaner->count("Internet History").value(), (CountPair{0, 19}));
    writePlist(h.store("History.plist"), core::Value(core::ArrayObj::make({1, 2})));
    EXPECT_EQ(h.cleaner->count("Internet History").value().count, 0);
}

TEST(SafariHistoryCount, ALinkInPlaceOfTheDatabaseIsNeverOpened) {
    Harness h;
    const auto elsewhere = h.dir / "elsewhere.db";
    makeHistoryDb(elsewhere, 2);
    fs::create_directories(h.safariFolder());
    fs::create_symlink(elsewhere, h.store("History.db"));
    EXPECT_EQ(h.cleaner->count("Internet History").value(), CountPair{});
    h.cleaner->remove("Internet History");
    EXPECT_EQ(rowsIn(elsewhere, "history_items"), 2);
    EXPECT_TRUE(fs::is_symlink(h.store("History.db")));
}

TEST(SafariHistoryDelete, EmptiesTheFourTablesKeepsTheDatabaseAndRemovesThePlistAndIndex) {
    Harness h;
    const auto db = h.store("History.db");
    makeHistoryDb(db, 3);
    writePlist(h.store("History.plist"), dictWithArray("WebHistoryDates", 2));
    writeFile(h.store("HistoryIndex.sk"), "index");
    writeFile(h.store("Bookmarks.plist"), "bookmarks");

    h.cleaner->remove("Internet History");

    ASSERT_TRUE(fs::is_regular_file(db));
    for (const char* table : {"history_items", "history_visits", "history_tombstones", "metadata"})
        EXPECT_EQ(rowsIn(db, table), 0) << table;
    EXPECT_FALSE(fs::exists(h.store("History.plist")));
    EXPECT_FALSE(fs::exists(h.store("HistoryIndex.sk")));
    EXPECT_EQ(readFile(h.store("Bookmarks.plist")), "bookmarks");
    EXPECT_TRUE(h.logLines("SQLite failed query").empty());
    EXPECT_EQ(h.cleaner->count("Internet History").value(), CountPair{});
}

TEST(SafariHistoryDelete, ADamagedDatabaseIsLoggedAndThePlistAndIndexStillGo) {
    Harness h;
    writeFile(h.store("History.db"), std::string(4096, 'x'));
    writePlist(h.store("History.plist"), dictWithArray("WebHistoryDates", 2));
    writeFile(h.store("HistoryIndex.sk"), "index");

    h.cleaner->remove("Internet History");

    const auto lines = h.logLines("SQLite failed query: ");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "SQLite failed query: DELETE FROM metadata; errorCode: SQL Statement "
                        "failed to execute.");
    EXPECT_EQ(readFile(h.store("History.db")), std::string(4096, 'x'));
    EXPECT_FALSE(fs::exists(h.store("History.plist")));
    EXPECT_FALSE(fs::exists(h.store("HistoryIndex.sk")));
}

TEST(SafariHistoryDelete, TheLastStatementDecidesWhetherTheBatchIsLogged) {
    Harness h;
    const auto db = h.store("History.db");
    // An older database without tombstones: that statement fails, the batch still ends well.
    exec(db, "CREATE TABLE history_items (id INTEGER PRIMARY KEY, url TEXT);"
             "CREATE TABLE history_visits (id INTEGER PRIMARY KEY, history_item INTEGER);"
             "CREATE TABLE metadata (key TEXT NOT NULL UNIQUE, value);"
             "INSERT INTO history_items (url) VALUES ('a'), ('b');"
             "INSERT INTO history_visits (history_item) VALUES (1);"
             "INSERT INTO metadata VALUES ('version', 1);");
    h.cleaner->remove("Internet History");
    EXPECT_TRUE(h.logLines("SQLite failed query").empty());
    EXPECT_EQ(rowsIn(db, "history_items"), 0);
    EXPECT_EQ(rowsIn(db, "history_visits"), 0);
    EXPECT_EQ(rowsIn(db, "metadata"), 0);
}

TEST(SafariHistoryDelete, ThePlistAloneIsRemovedWithoutADatabase) {
    Harness h;
    writePlist(h.store("History.plist"), dictWithArray("WebHistoryDates", 2));
    h.cleaner->remove("Internet History");
    EXPECT_FALSE(fs::exists(h.store("History.plist")));
    EXPECT_FALSE(fs::exists(h.store("History.db"))); // no database is created
    EXPECT_TRUE(fs::is_directory(h.safariFolder()));
}

} // namespace
} // namespace tpc::browsers::safari::sftest
