// The plain table items: download history, saved form information, saved passwords and site
// preferences, counted by rows and cell sizes and emptied by their DELETE statements.

#include "FirefoxHarness.h"

#include <gtest/gtest.h>

namespace tpc::browsers::firefox::fxtest {
namespace {

// One download row: 4 id + 5 name + 1+1+1 NULL texts + 4+4 NULL times + 4 state + 1+1 NULL
// texts + 4 currBytes + 8 maxBytes (-1) + 1+1 NULL texts + 4+4 + 1 NULL guid = 49 bytes.
void addDownload(const fs::path& db, int id, int state) {
    exec(db, "INSERT INTO moz_downloads (id, name, state) VALUES (" + std::to_string(id) +
                 ", 'a.zip', " + std::to_string(state) + ");");
}

TEST(FirefoxDownloadsTest, CountsEveryRowButDeletesOnlyFinishedDownloads) {
    Harness h;
    auto db = h.store("downloads.sqlite");
    exec(db, kDownloadsSchema);
    addDownload(db, 1, 1);
    addDownload(db, 2, 0); // downloading
    addDownload(db, 3, 2); // failed
    addDownload(db, 4, 1);
    EXPECT_EQ(h.cleaner->count("Download History").value(), (CountPair{4, 4 * 49}));

    h.cleaner->remove("Download History");
    EXPECT_EQ(rows(db, "SELECT id, state FROM moz_downloads ORDER BY id;"),
              (std::vector<std::string>{"2|0", "3|2"}));
    // What stays is counted again by the next scan.
    EXPECT_EQ(h.cleaner->count("Download History").value(), (CountPair{2, 2 * 49}));
    EXPECT_TRUE(h.logLines("SQLite failed query").empty());
}

class FirefoxFormHistoryTest : public ::testing::Test {
protected:
    Harness h;
    fs::path db = h.store("formhistory.sqlite");
};

TEST_F(FirefoxFormHistoryTest, CountsBothTables) {
    exec(db, kFormHistorySchema);
    // 4 + 5 + 8 + 4 + 4 + 4 + 5 = 34
    exec(db, "INSERT INTO moz_formhistory VALUES (1, 'email', 'me@x.org', 3, 1000, 2000, "
             "'guid1');");
    // 4 + 4 + 2 = 10
    exec(db, "INSERT INTO moz_deleted_formhistory VALUES (1, 5000, 'g2');");
    EXPECT_EQ(h.cleaner->count("Saved Form Information").value(), (CountPair{2, 44}));

    h.cleaner->remove("Saved Form Information");
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_formhistory;"), 0);
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_deleted_formhistory;"), 0);
    EXPECT_EQ(h.cleaner->count("Saved Form Information").value(), (CountPair{0, 0}));
}

TEST_F(FirefoxFormHistoryTest, OneMissingTableStillCountsAndEmptiesTheOther) {
    exec(db, "CREATE TABLE moz_deleted_formhistory (id INTEGER PRIMARY KEY, timeDeleted INTEGER, "
             "guid TEXT);"
             "INSERT INTO moz_deleted_formhistory VALUES (1, 5000, 'g2');");
    EXPECT_EQ(h.cleaner->count("Saved Form Information").value(), (CountPair{1, 10}));
    h.cleaner->remove("Saved Form Information");
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_deleted_formhistory;"), 0);
}

TEST_F(FirefoxFormHistoryTest, BothTablesMissingCountsZero) {
    exec(db, "CREATE TABLE other (x INTEGER); INSERT INTO other VALUES (1);");
    EXPECT_EQ(h.cleaner->count("Saved Form Information").value(), (CountPair{0, 0}));
}

TEST(FirefoxSignOnsTest, CountsAndEmptiesLoginsOnly) {
    Harness h;
    auto db = h.store("signons.sqlite");
    exec(db, kSignonsSchema);
    // 4 + 13 + 1 (NULL) + 13 + 4 + 4 + 2 + 2 + 3 + 5 * 4 = 66
    exec(db, "INSERT INTO moz_logins VALUES (1, 'https://a.org', NULL, 'https://a.org', 'user', "
             "'pass', 'eu', 'ep', '{g}', 1, 10, 20, 30, 4);");
    // 4 + 3 + 4 = 11
    exec(db, "INSERT INTO moz_deleted_logins VALUES (1, '{g}', 99);");
    exec(db, "INSERT INTO moz_disabledHosts VALUES (1, 'https://never.org');");
    EXPECT_EQ(h.cleaner->count("Saved Passwords").value(), (CountPair{2, 77}));

    h.cleaner->remove("Saved Passwords");
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_logins;"), 0);
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_deleted_logins;"), 0);
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_disabledHosts;"), 1);
}

TEST(FirefoxSitePrefsTest, CountsBlobValuesByLengthAndEmptiesPrefsOnly) {
    Harness h;
    auto db = h.store("content-prefs.sqlite");
    exec(db, kContentPrefsSchema);
    exec(db, "INSERT INTO groups VALUES (1, 'example.com');"
             "INSERT INTO settings VALUES (1, 'browser.content.full-zoom');"
             // 4 + 4 + 4 + 3 (blob bytes) + 4 = 19
             "INSERT INTO prefs VALUES (1, 1, 1, X'010203', 0);"
             // 4 + 4 (NULL integer) + 4 + 0 (NULL blob) + 4 = 16
             "INSERT INTO prefs VALUES (2, NULL, 1, NULL, 5);");
    EXPECT_EQ(h.cleaner->count("Site Preferences").value(), (CountPair{2, 35}));

    h.cleaner->remove("Site Preferences");
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM prefs;"), 0);
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM groups;"), 1);
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM settings;"), 1);
}

TEST(FirefoxTableItemsTest, MissingStoresCountZeroAndAreNeverCreated) {
    Harness h;
    EXPECT_EQ(h.cleaner->count("Download History").value(), (CountPair{0, 0}));
    EXPECT_EQ(h.cleaner->count("Saved Form Information").value(), (CountPair{0, 0}));
    EXPECT_EQ(h.cleaner->count("Saved Passwords").value(), (CountPair{0, 0}));
    EXPECT_EQ(h.cleaner->count("Site Preferences").value(), (CountPair{0, 0}));
    h.cleaner->remove("Download History");
    h.cleaner->remove("Saved Form Information");
    h.cleaner->remove("Saved Passwords");
    h.cleaner->remove("Site Preferences");
    for (auto name :
         {"downloads.sqlite", "formhistory.sqlite", "signons.sqlite", "content-prefs.sqlite"})
        EXPECT_FALSE(fs::exists(h.store(name))) << name;
}

TEST(FirefoxTableItemsTest, AStoreThatIsALinkIsLeftAlone) {
    Harness h;
    auto outside = h.dir / "outside/prefs.sqlite";
    exec(outside, kContentPrefsSchema);
    exec(outside, "INSERT INTO prefs VALUES (1, 1, 1, X'01', 0);");
    fs::create_symlink(outside, h.store("content-prefs.sqlite"));
    EXPECT_EQ(h.cleaner->count("Site Preferences").value(), (CountPair{0, 0}));
    h.cleaner->remove("Site Preferences");
    EXPECT_EQ(scalar(outside, "SELECT count(*) FROM prefs;"), 1);
}

TEST(FirefoxTableItemsTest, DeletesRefreshTheCookieDeleteList) {
    Harness h;
    auto cookies = h.store("cookies.sqlite");
    exec(cookies, kCookiesSchema);
    exec(cookies, "INSERT INTO moz_cookies (id, name, host) VALUES (1, 'a', 'b.example');"
                  "INSERT INTO moz_cookies (id, name, host) VALUES (2, 'a', '.a.example');");
    ASSERT_TRUE(h.cookies->disAllowed(CookieBrowser::Firefox).empty());
    h.cleaner->remove("Site Preferences"); // no store: returns early, still refreshes
    EXPECT_EQ(h.cookies->disAllowed(CookieBrowser::Firefox),
              (std::vector<std::string>{"a.example", "b.example"}));

    exec(cookies, "DELETE FROM moz_cookies WHERE id = 1;");
    exec(h.store("downloads.sqlite"), kDownloadsSchema);
    h.cleaner->remove("Download History");
    EXPECT_EQ(h.cookies->disAllowed(CookieBrowser::Firefox),
              (std::vector<std::string>{"a.example"}));
}

} // namespace
} // namespace tpc::browsers::firefox::fxtest
