// History of the Chrome family: "Archived History", "History" and the "History Index" files,
// counted table by table and emptied one batch per file.

#include "ChromeHarness.h"
#include "browsers/ItemRunner.h"

#include <gtest/gtest.h>

namespace tpc::browsers {
namespace {

namespace fs = std::filesystem;
using test::BrowserHarness;
using test::Db;

// Eleven rows over the eight counted tables of "History"; sizes by hand (INTEGER 4, or 8 above
// 2^32 and below 0; LONGVARCHAR 4; VARCHAR and BOOLEAN 0; "INTEGER NON" is not INTEGER).
void fillHistory(Db& db) {
    db.exec(test::schema::kHistory);
    db.exec("INSERT INTO meta VALUES('version','29');"
            // 2 × 36
            "INSERT INTO urls VALUES(1,'https://a.example/','A',3,1,13300000000000000,0,0);"
            "INSERT INTO urls VALUES(2,'https://b.example/','B',1,0,13300000000000001,0,0);"
            // 3 × 32
            "INSERT INTO visits VALUES(1,1,13300000000000000,0,805306368,0,1,0);"
            "INSERT INTO visits VALUES(2,1,13300000000000005,1,805306368,0,1,0);"
            "INSERT INTO visits VALUES(3,2,13300000000000009,0,805306368,0,1,0);"
            // 8, 16
            "INSERT INTO visit_source VALUES(1,1);"
            "INSERT INTO keyword_search_terms VALUES(2,1,'term','Term');"
            // 52, 12
            "INSERT INTO downloads VALUES(1,'/tmp/f','/tmp/f',13300000000000000,5,5,1,0,0,"
            "13300000000000003,0);"
            "INSERT INTO downloads_url_chains VALUES(1,0,'https://a.example/f');"
            // 4 + 0 + 0 + 8, 20
            "INSERT INTO segments VALUES(1,'http://a.example/',1,-1);"
            "INSERT INTO segment_usage VALUES(1,1,13300000000000000,2);");
}
constexpr CountPair kHistoryPair{11, 72 + 96 + 8 + 16 + 52 + 12 + 12 + 20};

void fillArchivedHistory(Db& db) {
    db.exec(test::schema::kArchivedHistory);
    db.exec("INSERT INTO urls VALUES(7,'https://old.example/','Old',1,0,13000000000000000,0,0);"
            "INSERT INTO visits VALUES(9,7,13000000000000000,0,0,0,1,0);");
}
constexpr CountPair kArchivedPair{2, 36 + 32};

void fillHistoryIndex(Db& db) {
    db.exec(test::schema::kHistoryIndex);
    db.exec("INSERT INTO pages VALUES('https://a.example/','A','words of the page');"
            "INSERT INTO info VALUES(13300000000000000, 1);");
}

long long indexRows(Db& db) {
    return db.rows("pages_content") + db.rows("pages_segments") + db.rows("pages_segdir") +
           db.rows("info");
}

class ChromeHistoryTest : public ::testing::Test {
protected:
    BrowserHarness h;
    ItemRunner chrome{h.env(), chromeFamilyDef(Browser::GoogleChrome)};
};

TEST_F(ChromeHistoryTest, HistoryAloneCountsItsEightTables) {
    Db db(h.chromeProfile() / "History");
    fillHistory(db);
    EXPECT_EQ(chrome.count("Internet History").value(), kHistoryPair);
}

TEST_F(ChromeHistoryTest, ArchivedHistoryAndIndexFilesAddToTheCount) {
    Db history(h.chromeProfile() / "History");
    fillHistory(history);
    Db archived(h.chromeProfile() / "Archived History");
    fillArchivedHistory(archived);
    Db march(h.chromeProfile() / "History Index 2013-03");
    fillHistoryIndex(march);
    Db april(h.chromeProfile() / "History Index 2013-04");
    fillHistoryIndex(april);
    april.exec("INSERT INTO info VALUES(13300000000000001, 2);");

    auto pair = chrome.count("Internet History").value();
    EXPECT_EQ(pair.count,
              kHistoryPair.count + kArchivedPair.count + indexRows(march) + indexRows(april));
    // Each index adds its cells: at least the two info rows' 8 + 4 bytes each.
    EXPECT_GT(pair.size, kHistoryPair.size + kArchivedPair.size + 3 * 12);
}

TEST_F(ChromeHistoryTest, DeleteEmptiesEveryFileAndKeepsOtherTables) {
    Db history(h.chromeProfile() / "History");
    fillHistory(history);
    Db archived(h.chromeProfile() / "Archived History");
    fillArchivedHistory(archived);
    Db march(h.chromeProfile() / "History Index 2013-03");
    fillHistoryIndex(march);
    Db april(h.chromeProfile() / "History Index 2013-04");
    fillHistoryIndex(april);

    chrome.remove("Internet History");

    for (const auto& table :
         std::vector<std::string>{"urls", "visits", "visit_source", "keyword_search_terms",
                                  "downloads", "downloads_url_chains", "segments", "segment_usage"})
        EXPECT_EQ(history.rows(table), 0) << table;
    for (const auto& table : {"urls", "visits", "visit_source", "keyword_search_terms"})
        EXPECT_EQ(archived.rows(table), 0) << table;
    for (auto* index : {&march, &april})
        for (const auto& table : {"pages_content", "pages_segments", "pages_segdir", "info"})
            EXPECT_EQ(index->rows(table), 0) << table;
    EXPECT_EQ(history.rows("meta"), 1);
    EXPECT_TRUE(h.failedQueryLines().empty());
    EXPECT_EQ(chrome.count("Internet History").value(), CountPair{});
}

TEST_F(ChromeHistoryTest, IndexJournalsAreNotTakenForDatabases) {
    Db march(h.chromeProfile() / "History Index 2013-03");
    fillHistoryIndex(march);
    // A journal left by an index that is gone (a journal beside its own database belongs to
    // SQLite, which rolls it back when the database is opened).
    test::writeFile(h.chromeProfile() / "History Index 2013-05-journal", "journal bytes");

    EXPECT_EQ(chrome.count("Internet History").value().count, indexRows(march));
    chrome.remove("Internet History");
    EXPECT_TRUE(h.failedQueryLines().empty());
    EXPECT_EQ(test::readFile(h.chromeProfile() / "History Index 2013-05-journal"), "journal bytes");
}

TEST_F(ChromeHistoryTest, HistoryWithoutSegmentUsageCountsAndEmptiesTheOthersQuietly) {
    Db history(h.chromeProfile() / "History");
    fillHistory(history);
    history.exec("DROP TABLE segment_usage;");

    EXPECT_EQ(chrome.count("Internet History").value(), (CountPair{10, kHistoryPair.size - 20}));

    chrome.remove("Internet History");
    for (const auto& table : {"urls", "visits", "visit_source", "keyword_search_terms", "downloads",
                              "downloads_url_chains", "segments"})
        EXPECT_EQ(history.rows(table), 0) << table;
    // The table is looked up first: a release without it is not a failure.
    EXPECT_TRUE(h.failedQueryLines().empty());
}

TEST_F(ChromeHistoryTest, AMissingMiddleTableLeavesTheBatchCodeToTheLastStatement) {
    Db history(h.chromeProfile() / "History");
    fillHistory(history);
    history.exec("DROP TABLE visit_source;");

    chrome.remove("Internet History");
    EXPECT_EQ(history.rows("segment_usage"), 0);
    EXPECT_TRUE(h.failedQueryLines().empty());
}

TEST_F(ChromeHistoryTest, MissingProfileCountsNothingAndCreatesNothing) {
    EXPECT_EQ(chrome.count("Internet History").value(), CountPair{});
    chrome.remove("Internet History");
    EXPECT_FALSE(fs::exists(h.chromeProfile()));
    EXPECT_TRUE(h.log.lines().empty());
}

TEST_F(ChromeHistoryTest, ChromiumIsCleanedBySameCodeInItsOwnProfile) {
    Db chromeHistory(h.chromeProfile() / "History");
    fillHistory(chromeHistory);
    Db chromiumHistory(h.chromiumProfile() / "History");
    fillHistory(chromiumHistory);
    chromiumHistory.exec("DELETE FROM visits WHERE id = 3;");

    ItemRunner chromium{h.env(), chromeFamilyDef(Browser::Chromium)};
    EXPECT_EQ(chromium.count("Internet History").value(),
              (CountPair{kHistoryPair.count - 1, kHistoryPair.size - 32}));
    chromium.remove("Internet History");
    EXPECT_EQ(chromiumHistory.rows("urls"), 0);
    EXPECT_EQ(chromeHistory.rows("urls"), 2);
    EXPECT_EQ(chrome.count("Internet History").value(), kHistoryPair);
}

TEST(ChromeFamilyTest, OnlyChromeFamilyBrowsersHaveItsRows) {
    EXPECT_THROW(chromeFamilyDef(Browser::Opera), std::invalid_argument);
    EXPECT_THROW(chromeFamilyDef(Browser::Firefox), std::invalid_argument);
}

} // namespace
} // namespace tpc::browsers
