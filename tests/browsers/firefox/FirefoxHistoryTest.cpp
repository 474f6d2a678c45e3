// The history item on places.sqlite: visits and the pages they lead to go, bookmarked pages keep
// their place row and their host record, and only the two batches report failures.

#include "FirefoxHarness.h"

#include "browsers/firefox/FirefoxHistory.h"

#include <gtest/gtest.h>

namespace tpc::browsers::firefox::fxtest {
namespace {

// Every place row weighs 64 bytes: 8 columns of 4 (id, three LONGVARCHARs, visit_count, hidden,
// typed, NULL favicon_id) + 4 frecency + 8 last_visit_date + 12 guid + 4 + 4.
void addPlace(const fs::path& db, int id, const std::string& url, const std::string& revHost) {
    exec(db, "INSERT INTO moz_places (id, url, title, rev_host, visit_count, frecency, "
             "last_visit_date, guid) VALUES (" +
                 std::to_string(id) + ", '" + url + "', 'title', '" + revHost + "', 1, 100, " +
                 "1700000000000000, 'guid" + std::to_string(id) + "aaaaaaa');");
}

// Every visit row weighs 28 bytes: five INTEGERs of 4 and a visit date of 8.
void addVisit(const fs::path& db, int id, int placeId) {
    exec(db, "INSERT INTO moz_historyvisits VALUES (" + std::to_string(id) + ", 0, " +
                 std::to_string(placeId) + ", 1700000000000000, 1, 0);");
}

void addBookmark(const fs::path& db, int id, const std::string& fk) {
    exec(db, "INSERT INTO moz_bookmarks (id, type, fk, parent, position, title) VALUES (" +
                 std::to_string(id) + ", " + (fk == "NULL" ? "2" : "1") + ", " + fk +
                 ", 1, 0, 'b');");
}

// places.sqlite of a release with moz_hosts:
// - www.example.com (host "example.com", prefix "www."): pages 1 (bookmarked) and 4;
// - news.org (prefix NULL): page 2 (bookmarked);
// - other.net (prefix NULL): page 3, visited twice.
void buildPlacesWithHosts(const fs::path& db) {
    exec(db, kPlacesWithHostsSchema);
    exec(db, "INSERT INTO moz_hosts VALUES (1, 'example.com', 100, 0, 'www.');"
             "INSERT INTO moz_hosts VALUES (2, 'news.org', 50, 0, NULL);"
             "INSERT INTO moz_hosts VALUES (3, 'other.net', 10, 0, NULL);");
    addPlace(db, 1, "https://www.example.com/", "moc.elpmaxe.www.");
    addPlace(db, 2, "https://news.org/", "gro.swen.");
    addPlace(db, 3, "https://other.net/a", "ten.rehto.");
    addPlace(db, 4, "https://www.example.com/page", "moc.elpmaxe.www.");
    addBookmark(db, 1, "NULL"); // the root folder
    addBookmark(db, 2, "1");
    addBookmark(db, 3, "2");
    addVisit(db, 1, 1);
    addVisit(db, 2, 2);
    addVisit(db, 3, 3);
    addVisit(db, 4, 3);
    addVisit(db, 5, 4);
    exec(db, "INSERT INTO moz_inputhistory VALUES (3, 'oth', 1);");
}

class FirefoxHistoryTest : public ::testing::Test {
protected:
    Harness h;
    fs::path db = h.store("places.sqlite");
};

TEST_F(FirefoxHistoryTest, CountsVisitsAndWhatGoes) {
    buildPlacesWithHosts(db);
    // Hosts not kept: news.org 4+8+4+4+1 = 21, other.net 4+9+4+4+1 = 22. Input history 4+4+4.
    // Five visits of 28. Places of visits to pages not bookmarked: 3, 3, 4 → 3 * 64.
    EXPECT_EQ(h.cleaner->count("Internet History").value(), (CountPair{5, 43 + 12 + 140 + 192}));
}

TEST_F(FirefoxHistoryTest, AVisitToABookmarkedPageGoesButThePlaceStays) {
    buildPlacesWithHosts(db);
    h.cleaner->remove("Internet History");
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_historyvisits;"), 0);
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_inputhistory;"), 0);
    EXPECT_EQ(rows(db, "SELECT id FROM moz_places ORDER BY id;"),
              (std::vector<std::string>{"1", "2"}));
    // The bookmarked page's host is kept; a host without prefix never is.
    EXPECT_EQ(rows(db, "SELECT host FROM moz_hosts ORDER BY id;"),
              (std::vector<std::string>{"example.com"}));
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_bookmarks;"), 3);
    EXPECT_TRUE(h.logLines("SQLite failed query").empty());

    EXPECT_EQ(h.cleaner->count("Internet History").value(), (CountPair{0, 0}));
}

TEST_F(FirefoxHistoryTest, PlanListsOneStatementPerVisit) {
    buildPlacesWithHosts(db);
    auto plan = planFirefoxHistory(readPlacesTables(db.string()));
    ASSERT_EQ(plan.hosts.size(), 3u);
    EXPECT_TRUE(plan.hosts[0].hostToKeep);
    EXPECT_FALSE(plan.hosts[1].hostToKeep);
    EXPECT_EQ(plan.hosts[1].prefix, "-");
    EXPECT_EQ(plan.hostDeletes, (std::vector<std::string>{"DELETE FROM moz_hosts WHERE id = 2",
                                                          "DELETE FROM moz_hosts WHERE id = 3"}));
    EXPECT_EQ(plan.placeDeletes, (std::vector<std::string>{"DELETE FROM moz_places WHERE id = 3",
                                                           "DELETE FROM moz_places WHERE id = 3",
                                                           "DELETE FROM moz_places WHERE id = 4"}));
    EXPECT_TRUE(plan.hasVisits);
}

TEST_F(FirefoxHistoryTest, NoVisitsDeletesNothing) {
    exec(db, kPlacesWithHostsSchema);
    exec(db, "INSERT INTO moz_hosts VALUES (3, 'other.net', 10, 0, NULL);");
    addPlace(db, 3, "https://other.net/a", "ten.rehto.");
    exec(db, "INSERT INTO moz_inputhistory VALUES (3, 'oth', 1);");
    // No visits: count 0, but the size still tells the host and the input history.
    EXPECT_EQ(h.cleaner->count("Internet History").value(), (CountPair{0, 22 + 12}));
    h.cleaner->remove("Internet History");
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_hosts;"), 1);
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_places;"), 1);
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_inputhistory;"), 1);
}

TEST_F(FirefoxHistoryTest, CurrentStoresWithoutHostsTableStillLoseTheirVisits) {
    exec(db, kPlacesWithOriginsSchema);
    exec(db, "INSERT INTO moz_origins (id, prefix, host, frecency) VALUES (1, 'https://', "
             "'example.com', 1);");
    exec(db, "INSERT INTO moz_places (id, url, rev_host, guid, origin_id) VALUES "
             "(1, 'https://example.com/', 'moc.elpmaxe.', 'g1', 1),"
             "(2, 'https://example.com/x', 'moc.elpmaxe.', 'g2', 1);");
    addBookmark(db, 1, "NULL");
    addBookmark(db, 2, "1");
    exec(db, "INSERT INTO moz_historyvisits (id, from_visit, place_id, visit_date, visit_type) "
             "VALUES (1, 0, 1, 1, 1), (2, 0, 2, 1, 1), (3, 0, 2, 2, 1);");
    EXPECT_EQ(h.cleaner->count("Internet History").value().count, 3);

    h.cleaner->remove("Internet History");
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_historyvisits;"), 0);
    EXPECT_EQ(rows(db, "SELECT id FROM moz_places;"), (std::vector<std::string>{"1"}));
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_origins;"), 1);
    EXPECT_TRUE(h.logLines("SQLite failed query").empty());
}

TEST_F(FirefoxHistoryTest, AFailedHostBatchIsLoggedWithItsLastStatement) {
    // moz_hosts as a view: it reads, but nothing can be deleted from it.
    exec(db, kPlacesWithHostsSchema);
    exec(db, "ALTER TABLE moz_hosts RENAME TO hosts_data;"
             "CREATE VIEW moz_hosts AS SELECT * FROM hosts_data;"
             "INSERT INTO hosts_data VALUES (2, 'news.org', 50, 0, NULL);"
             "INSERT INTO hosts_data VALUES (3, 'other.net', 10, 0, NULL);");
    addPlace(db, 3, "https://other.net/a", "ten.rehto.");
    addVisit(db, 1, 3);

    h.cleaner->remove("Internet History");
    EXPECT_EQ(h.logLines("SQLite failed query"),
              (std::vector<std::string>{"SQLite failed query: DELETE FROM moz_hosts WHERE id = 3 "
                                        "errorCode: SQL Statement failed to execute."}));
    // The rest of the clean still runs.
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_places;"), 0);
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_historyvisits;"), 0);
}

TEST_F(FirefoxHistoryTest, AStoreThatIsNoDatabaseCountsZeroAndIsLeftAlone) {
    writeFile(db, "this is not an SQLite database, just text that is long enough to be read");
    EXPECT_EQ(h.cleaner->count("Internet History").value(), (CountPair{0, 0}));
    h.cleaner->remove("Internet History");
    EXPECT_EQ(readFile(db),
              "this is not an SQLite database, just text that is long enough to be read");
}

TEST_F(FirefoxHistoryTest, OnlyIntegerIdsAreWrittenIntoStatements) {
    // A crafted store whose ids are text.
    exec(db, "CREATE TABLE moz_places (id TEXT, url TEXT, title TEXT, rev_host TEXT);"
             "CREATE TABLE moz_historyvisits (id INTEGER, from_visit INTEGER, place_id TEXT);"
             "CREATE TABLE moz_hosts (id TEXT, host TEXT, frecency INTEGER, typed INTEGER, "
             "prefix TEXT);"
             "INSERT INTO moz_places VALUES ('1 OR 1=1', 'u', 't', 'r');"
             "INSERT INTO moz_historyvisits VALUES (1, 0, '1 OR 1=1');"
             "INSERT INTO moz_hosts VALUES ('0 OR 1=1', 'h', 0, 0, NULL);");
    auto plan = planFirefoxHistory(readPlacesTables(db.string()));
    EXPECT_EQ(plan.count.count, 1);
    EXPECT_TRUE(plan.hostDeletes.empty());
    EXPECT_TRUE(plan.placeDeletes.empty());
}

} // namespace
} // namespace tpc::browsers::firefox::fxtest
