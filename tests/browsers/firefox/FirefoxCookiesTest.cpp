// The cookie item: rows of moz_cookies counted, and every cookie whose host is not kept deleted
// host by host, with the host's text quoted so that no host can change the statement.

#include "FirefoxHarness.h"

#include <gtest/gtest.h>

namespace tpc::browsers::firefox::fxtest {
namespace {

void addCookie(const fs::path& db, int id, const std::string& host, const std::string& name = "n") {
    // Built with the test's own quoting; the hosts here include quotes on purpose.
    exec(db, "INSERT INTO moz_cookies (id, name, value, host, path, expiry, lastAccessed, "
             "creationTime, isSecure, isHttpOnly) VALUES (" +
                 std::to_string(id) + ", '" + sqlQuote(name) + "', 'v', '" + sqlQuote(host) +
                 "', '/', 2000000000, 1700000000000000, 1700000000000000, 0, 0);");
}

std::vector<std::string> hosts(const fs::path& db) {
    return rows(db, "SELECT host FROM moz_cookies ORDER BY id;");
}

class FirefoxCookiesTest : public ::testing::Test {
protected:
    void SetUp() override { exec(db, kCookiesSchema); }
    Harness h;
    fs::path db = h.store("cookies.sqlite");
};

TEST_F(FirefoxCookiesTest, CountsRowsAndCellSizes) {
    // 4 id + 0 originAttributes + 1 name + 1 value + 5 host + 1 path + 4 expiry + 8 + 8 times +
    // 6 * 4 flags = 56
    addCookie(db, 1, "x.com");
    addCookie(db, 2, "y.com");
    EXPECT_EQ(h.cleaner->count("Cookies").value(), (CountPair{2, 112}));
}

TEST_F(FirefoxCookiesTest, DeletesEveryHostNotKeptAndKeepsTheRest) {
    addCookie(db, 1, ".kept.example");
    addCookie(db, 2, "gone.example", "a");
    addCookie(db, 3, "gone.example", "b");
    addCookie(db, 4, "gone.example", "c");
    addCookie(db, 5, ".www.other.example");
    addCookie(db, 6, "kept.example", "second");
    h.cookies->keep(CookieBrowser::Firefox, "kept.example");

    h.cleaner->remove("Cookies");
    EXPECT_EQ(hosts(db), (std::vector<std::string>{".kept.example", "kept.example"}));
    EXPECT_TRUE(h.logLines("SQLite failed query").empty());
    // The delete list shows what the browser still holds apart from kept domains: nothing.
    EXPECT_TRUE(h.cookies->disAllowed(CookieBrowser::Firefox).empty());
    EXPECT_EQ(h.cookies->allowed(CookieBrowser::Firefox),
              (std::vector<std::string>{"kept.example"}));
}

TEST_F(FirefoxCookiesTest, AHostWithAQuoteDeletesExactlyItsCookies) {
    addCookie(db, 1, "it's.example");
    addCookie(db, 2, "its.example");
    addCookie(db, 3, "it");
    h.cookies->keep(CookieBrowser::Firefox, "its.example");
    h.cookies->keep(CookieBrowser::Firefox, "it");

    h.cleaner->remove("Cookies");
    EXPECT_EQ(hosts(db), (std::vector<std::string>{"its.example", "it"}));
    EXPECT_TRUE(h.logLines("SQLite failed query").empty());
}

TEST_F(FirefoxCookiesTest, AHostCannotWidenTheStatement) {
    // Pasted into the statement as it is, this host would match every cookie.
    addCookie(db, 1, "evil' OR '1'='1");
    addCookie(db, 2, "kept.example");
    h.cookies->keep(CookieBrowser::Firefox, "kept.example");

    h.cleaner->remove("Cookies");
    EXPECT_EQ(hosts(db), (std::vector<std::string>{"kept.example"}));
}

TEST_F(FirefoxCookiesTest, RefreshListsTheHostsOnceWithoutDots) {
    addCookie(db, 1, ".b.example");
    addCookie(db, 2, "b.example", "other");
    addCookie(db, 3, "A.example");
    addCookie(db, 4, "kept.example");
    h.cookies->keep(CookieBrowser::Firefox, "kept.example");
    h.cleaner->refreshCookies();
    EXPECT_EQ(h.cookies->disAllowed(CookieBrowser::Firefox),
              (std::vector<std::string>{"A.example", "b.example"}));
}

TEST_F(FirefoxCookiesTest, ATableWithoutAHostColumnIsLeftAlone) {
    fs::remove(db);
    exec(db, "CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, domain TEXT);"
             "INSERT INTO moz_cookies VALUES (1, 'x.com');");
    h.cleaner->remove("Cookies");
    EXPECT_EQ(scalar(db, "SELECT count(*) FROM moz_cookies;"), 1);
    EXPECT_TRUE(h.cookies->disAllowed(CookieBrowser::Firefox).empty());
}

TEST(FirefoxCookiesRefusedTest, UnreadableKeepListsDeleteNothing) {
    Harness h(platform::Layout::MacOS, "abcd.default", "\x01\x02 this is not a property list");
    ASSERT_FALSE(h.cookies->cookieDeletesAllowed());
    auto db = h.store("cookies.sqlite");
    exec(db, kCookiesSchema);
    addCookie(db, 1, "a.example");
    addCookie(db, 2, "b.example");

    h.cleaner->remove("Cookies");
    EXPECT_EQ(hosts(db), (std::vector<std::string>{"a.example", "b.example"}));
    EXPECT_EQ(h.logLines("Firefox cookies were not deleted").size(), 1u);
    // Counting still works.
    EXPECT_EQ(h.cleaner->count("Cookies").value().count, 2);
}

TEST(FirefoxCookiesMissingTest, AMissingStoreCountsZeroAndEmptiesTheDeleteList) {
    Harness h;
    h.cookies->refreshCookiesList(CookieBrowser::Firefox, {"stale.example"});
    ASSERT_EQ(h.cookies->disAllowed(CookieBrowser::Firefox).size(), 1u);
    EXPECT_EQ(h.cleaner->count("Cookies").value(), (CountPair{0, 0}));
    h.cleaner->remove("Cookies");
    EXPECT_FALSE(fs::exists(h.store("cookies.sqlite")));
    EXPECT_TRUE(h.cookies->disAllowed(CookieBrowser::Firefox).empty());
}

} // namespace
} // namespace tpc::browsers::firefox::fxtest
