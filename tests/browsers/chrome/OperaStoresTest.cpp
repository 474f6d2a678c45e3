// Opera's SQLite stores: fewer tables counted than emptied, one-at-a-time deletes with their fixed
// failure lines, batch deletes that refresh the cookie list, and the session database.

#include "ChromeHarness.h"
#include "browsers/ItemRunner.h"

#include <gtest/gtest.h>

namespace tpc::browsers {
namespace {

namespace fs = std::filesystem;
using test::BrowserHarness;
using test::Db;
using test::insertChromeCookie;

// Rows in every "History" table; the three counted ones hold urls 2 × 36, one term 16 and one
// segment 12 (name VARCHAR 0, url_id "INTEGER NON" 0, pres_index -1 → 8).
void fillOperaHistory(Db& db) {
    db.exec(test::schema::kHistory);
    db.exec("INSERT INTO urls VALUES(1,'https://a.example/','A',3,1,13300000000000000,0,0);"
            "INSERT INTO urls VALUES(2,'https://b.example/','B',1,0,13300000000000001,0,0);"
            "INSERT INTO visits VALUES(1,1,13300000000000000,0,805306368,0,1,0);"
            "INSERT INTO visit_source VALUES(1,1);"
            "INSERT INTO keyword_search_terms VALUES(2,1,'term','Term');"
            "INSERT INTO downloads VALUES(1,'/tmp/f','/tmp/f',13300000000000000,5,5,1,0,0,"
            "13300000000000003,0);"
            "INSERT INTO downloads VALUES(2,'/tmp/g','/tmp/g',13300000000000000,1,9,0,0,0,0,0);"
            "INSERT INTO downloads_url_chains VALUES(1,0,'https://a.example/f');"
            "INSERT INTO segments VALUES(1,'http://a.example/',1,-1);"
            "INSERT INTO segment_usage VALUES(1,1,13300000000000000,2);");
}
constexpr CountPair kOperaHistoryPair{4, 72 + 16 + 12};

class OperaStoresTest : public ::testing::Test {
protected:
    BrowserHarness h{platform::Layout::MacOS};
    ItemRunner opera{h.env(), operaDef()};

    void SetUp() override { fs::create_directories(h.operaData()); }
    fs::path data(const std::string& name) const { return h.operaData() / name; }
};

TEST_F(OperaStoresTest, HistoryCountsThreeTablesOfHistory) {
    Db history(data("History"));
    fillOperaHistory(history);
    Db archived(data("Archived History"));
    archived.exec(test::schema::kArchivedHistory);
    archived.exec("INSERT INTO urls VALUES(7,'https://old.example/','Old',1,0,1,0,0);");
    EXPECT_EQ(opera.count("Internet History").value(), kOperaHistoryPair);
}

TEST_F(OperaStoresTest, ArchivedHistoryAloneIsTheHistoryCount) {
    Db archived(data("Archived History"));
    archived.exec(test::schema::kArchivedHistory);
    archived.exec("INSERT INTO urls VALUES(7,'https://old.example/','Old',1,0,1,0,0);"
                  "INSERT INTO visits VALUES(9,7,13000000000000000,0,0,0,1,0);"
                  "INSERT INTO keyword_search_terms VALUES(1,7,'old','Old');");
    EXPECT_EQ(opera.count("Internet History").value(), (CountPair{2, 32 + 16}));
}

TEST_F(OperaStoresTest, HistoryDeleteEmptiesBothStoresWithoutALogLine) {
    Db history(data("History"));
    fillOperaHistory(history);
    Db archived(data("Archived History"));
    archived.exec(test::schema::kArchivedHistory);
    archived.exec("INSERT INTO urls VALUES(7,'https://old.example/','Old',1,0,1,0,0);"
                  "INSERT INTO visit_source VALUES(7,1);");

    opera.remove("Internet History");
    for (const char* table :
         {"urls", "visits", "visit_source", "keyword_search_terms", "segments", "segment_usage"})
        EXPECT_EQ(history.rows(table), 0) << table;
    EXPECT_EQ(history.rows("downloads"), 2);
    EXPECT_EQ(archived.rows("urls"), 0);
    EXPECT_EQ(archived.rows("visit_source"), 0);
    EXPECT_TRUE(h.log.lines().empty());
}

TEST_F(OperaStoresTest, HistoryWithoutSegmentUsageLogsItsFixedLine) {
    Db history(data("History"));
    fillOperaHistory(history);
    history.exec("DROP TABLE segment_usage;");

    opera.remove("Internet History");
    for (const char* table : {"urls", "visits", "visit_source", "keyword_search_terms", "segments"})
        EXPECT_EQ(history.rows(table), 0) << table;
    EXPECT_EQ(h.log.lines(),
              std::vector<std::string>{"SQLite failed query: DELETE FROM segment_usage; "
                                       "errorCode: SQL Statement failed to execute."});
}

TEST_F(OperaStoresTest, DownloadsAreCountedAndAllDeleted) {
    Db history(data("History"));
    fillOperaHistory(history);
    // Two rows of 52 and 48 bytes (the unfinished one has no end time).
    EXPECT_EQ(opera.count("Download History").value(), (CountPair{2, 52 + 48}));
    opera.remove("Download History");
    EXPECT_EQ(history.rows("downloads"), 0);
    EXPECT_EQ(history.rows("downloads_url_chains"), 0);
    EXPECT_EQ(history.rows("urls"), 2);

    history.exec("DROP TABLE downloads_url_chains;");
    opera.remove("Download History");
    EXPECT_EQ(h.log.lines(),
              std::vector<std::string>{"SQLite failed query: DELETE FROM downloads_url_chains; "
                                       "errorCode: SQL Statement failed to execute."});
}

TEST_F(OperaStoresTest, FormDataCountsFourTablesAndEmptiesTen) {
    Db db(data("Web Data"));
    db.exec(test::schema::kWebData);
    db.exec("INSERT INTO autofill_dates VALUES(1,1300000000);"
            "INSERT INTO autofill_profiles_trash VALUES('g');"
            "INSERT INTO web_apps VALUES('https://app.example/',1);");
    EXPECT_EQ(opera.count("Saved Form Information").value(), CountPair{});

    db.exec("INSERT INTO autofill VALUES('email','a@b.example','a@b.example',1,2);"
            "INSERT INTO token_service VALUES('sync',X'0102030405');");
    EXPECT_EQ(opera.count("Saved Form Information").value(), (CountPair{2, 8 + 5}));

    opera.remove("Saved Form Information");
    for (const char* table :
         {"autofill", "autofill_dates", "autofill_profiles_trash", "token_service"})
        EXPECT_EQ(db.rows(table), 0) << table;
    // Not one of Opera's form tables.
    EXPECT_EQ(db.rows("web_apps"), 1);
}

TEST_F(OperaStoresTest, StashCountsTwoTablesAndEmptiesSix) {
    Db db(data("stash.db"));
    db.exec(test::schema::kOperaStash);
    db.exec("INSERT INTO stash VALUES(1,'https://a.example/','A',13300000000000000,1);"
            "INSERT INTO stash_fts VALUES('A','page words');"
            "INSERT INTO snapshots VALUES(1,X'0000',10,10);"
            "INSERT INTO task_queue VALUES(1,1,2);");
    EXPECT_EQ(opera.count("Stash").value(), (CountPair{2, (4 + 4 + 4 + 8 + 4) + (4 + 2 + 4 + 4)}));
    opera.remove("Stash");
    for (const char* table : {"stash", "stash_fts_content", "stash_fts_segments",
                              "stash_fts_segdir", "snapshots", "task_queue"})
        EXPECT_EQ(db.rows(table), 0) << table;
}

TEST_F(OperaStoresTest, ThumbnailsAndLogins) {
    Db thumbs(data("thumbnails.db"));
    thumbs.exec(test::schema::kOperaThumbnails);
    thumbs.exec("INSERT INTO thumbnails VALUES('https://a.example/',X'FFD8FF',5);");
    Db logins(data("Login Data"));
    logins.exec(test::schema::kLoginData);
    logins.exec("INSERT INTO logins VALUES('https://a.example/','','u','me','p',X'01','',"
                "'https://a.example/',1,1,5,0,0);");

    EXPECT_EQ(opera.count("Thumbnails").value(), (CountPair{1, 4 + 3 + 4}));
    EXPECT_EQ(opera.count("Saved Passwords").value(), (CountPair{1, 1 + 5 * 4 + 0}));
    opera.remove("Thumbnails");
    opera.remove("Saved Passwords");
    EXPECT_EQ(thumbs.rows("thumbnails"), 0);
    EXPECT_EQ(logins.rows("logins"), 0);
}

TEST_F(OperaStoresTest, BatchDeletesRefreshTheOperaCookieList) {
    Db cookies(data("Cookies"));
    cookies.exec(test::schema::kCookies);
    insertChromeCookie(cookies, ".a.example", "x");
    Db thumbs(data("thumbnails.db"));
    thumbs.exec(test::schema::kOperaThumbnails);

    opera.remove("Thumbnails");
    EXPECT_EQ(h.cookies->disAllowed(CookieBrowser::Opera), std::vector<std::string>{"a.example"});
    EXPECT_TRUE(h.cookies->disAllowed(CookieBrowser::Chrome).empty());
}

TEST_F(OperaStoresTest, SessionsCountWindowsAndBothTablesSizes) {
    Db db(data("session.db"));
    db.exec(test::schema::kOperaSession);
    db.exec("INSERT INTO windows VALUES(1,0,'0,0,800,600',1);"
            "INSERT INTO windows VALUES(2,0,'0,0,640,480',1);"
            "INSERT INTO window_attrs VALUES(1,'title','Tabs');"
            "INSERT INTO window_attrs VALUES(2,'pinned','1');"
            "INSERT INTO window_attrs VALUES(2,'group','g');");
    // windows 2 × 16; window_attrs 4 + name + value bytes.
    EXPECT_EQ(opera.count("Sessions").value(), (CountPair{2, 32 + (4 + 9) + (4 + 7) + (4 + 6)}));

    db.exec("DROP TABLE window_attrs;");
    EXPECT_EQ(opera.count("Sessions").value(), CountPair{});
}

TEST_F(OperaStoresTest, SessionsDeleteEmptiesTheDatabaseAndRemovesTheBackup) {
    Db db(data("session.db"));
    db.exec(test::schema::kOperaSession);
    db.exec("INSERT INTO windows VALUES(1,0,'b',1); INSERT INTO window_attrs VALUES(1,'a','b');");
    test::writeFile(data("session.dbak"), "backup");

    opera.remove("Sessions");
    EXPECT_EQ(db.rows("windows"), 0);
    EXPECT_EQ(db.rows("window_attrs"), 0);
    EXPECT_FALSE(fs::exists(data("session.dbak")));
    EXPECT_TRUE(h.log.lines().empty());
}

TEST_F(OperaStoresTest, SessionBackupIsRemovedWithoutTheDatabase) {
    test::writeFile(data("session.dbak"), "backup");
    EXPECT_EQ(opera.count("Sessions").value(), CountPair{});
    opera.remove("Sessions");
    EXPECT_FALSE(fs::exists(data("session.dbak")));
    EXPECT_FALSE(fs::exists(data("session.db")));
    EXPECT_TRUE(h.log.lines().empty());
}

TEST_F(OperaStoresTest, SessionTablesFailingLogTheirFixedLines) {
    Db db(data("session.db"));
    db.exec("CREATE TABLE unrelated (x INTEGER);");
    opera.remove("Sessions");
    EXPECT_EQ(h.log.lines(),
              (std::vector<std::string>{
                  "SQLite failed query: DELETE FROM windows; errorCode: SQL Statement failed to "
                  "execute.",
                  "SQLite failed query: DELETE FROM window_attrs; errorCode: SQL Statement "
                  "failed to execute."}));
}

} // namespace
} // namespace tpc::browsers
