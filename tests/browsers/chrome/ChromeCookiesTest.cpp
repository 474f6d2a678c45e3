// Chrome-family cookies: counted over "Cookies" and "Network/Cookies", deleted per cookie row
// whose domain is not kept, the host quoted, and nothing at all when the keep lists are unknown.

#include "ChromeHarness.h"
#include "browsers/ItemRunner.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace tpc::browsers {
namespace {

namespace fs = std::filesystem;
using test::BrowserHarness;
using test::Db;
using test::insertChromeCookie;

std::vector<std::string> hostsIn(Db& db) {
    return db.column("cookies", "host_key");
}

class ChromeCookiesTest : public ::testing::Test {
protected:
    BrowserHarness h;
    ItemRunner chrome{h.env(), chromeFamilyDef(Browser::GoogleChrome)};
    Db cookies{h.chromeProfile() / "Cookies"};

    void SetUp() override { cookies.exec(test::schema::kCookies); }
};

TEST_F(ChromeCookiesTest, CountsRowsAndCellSizes) {
    insertChromeCookie(cookies, ".a.example", "sid");
    insertChromeCookie(cookies, "b.example", "x");
    EXPECT_EQ(chrome.count("Cookies").value(),
              (CountPair{2, test::chromeCookieSize(".a.example", "sid") +
                                test::chromeCookieSize("b.example", "x")}));
}

TEST_F(ChromeCookiesTest, DeletesEveryCookieOfHostsNotKept) {
    insertChromeCookie(cookies, ".a.example", "one");
    insertChromeCookie(cookies, ".a.example", "two");
    insertChromeCookie(cookies, ".a.example", "three");
    insertChromeCookie(cookies, ".keep.example", "k");
    insertChromeCookie(cookies, "keep.example", "k");
    insertChromeCookie(cookies, "sub.keep.example", "k");
    h.cookies->keep(CookieBrowser::Chrome, "keep.example");

    chrome.remove("Cookies");

    EXPECT_EQ(hostsIn(cookies), (std::vector<std::string>{".keep.example", "keep.example"}));
    // The delete list is rebuilt from what the store still holds, kept domains left out.
    EXPECT_TRUE(h.cookies->disAllowed(CookieBrowser::Chrome).empty());
    EXPECT_EQ(h.cookies->allowed(CookieBrowser::Chrome), std::vector<std::string>{"keep.example"});
}

TEST_F(ChromeCookiesTest, AHostWithAQuoteIsDeletedAloneWithoutFailure) {
    insertChromeCookie(cookies, "it's.example", "q");
    insertChromeCookie(cookies, "its.example", "a");
    insertChromeCookie(cookies, "x' OR '1'='1", "b");
    insertChromeCookie(cookies, "s.example", "c");
    h.cookies->keep(CookieBrowser::Chrome, "its.example");
    h.cookies->keep(CookieBrowser::Chrome, "s.example");
    h.cookies->keep(CookieBrowser::Chrome, "x' OR '1'='1");

    // Only the quoted host is not kept: exactly its cookie goes.
    chrome.remove("Cookies");
    EXPECT_EQ(hostsIn(cookies),
              (std::vector<std::string>{"its.example", "x' OR '1'='1", "s.example"}));
}

TEST_F(ChromeCookiesTest, UnreadableKeepListsDeleteNoCookie) {
    insertChromeCookie(cookies, "a.example", "one");
    insertChromeCookie(cookies, "b.example", "two");
    h.reloadCookiesFrom("this is not a property list");
    ASSERT_FALSE(h.cookies->cookieDeletesAllowed());
    ItemRunner cleaner{h.env(), chromeFamilyDef(Browser::GoogleChrome)};

    cleaner.remove("Cookies");

    EXPECT_EQ(cookies.rows("cookies"), 2);
    auto lines = h.log.lines();
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
        return line == "Google Chrome cookies were not deleted: the list of cookies to keep "
                       "could not be read";
    }));
}

TEST_F(ChromeCookiesTest, NetworkCookiesAreFoundBesideTheOldStore) {
    insertChromeCookie(cookies, "old.example", "a");
    Db network(h.chromeProfile() / "Network/Cookies");
    network.exec(test::schema::kCookies);
    insertChromeCookie(network, ".new.example", "b");
    insertChromeCookie(network, "keep.example", "c");
    h.cookies->keep(CookieBrowser::Chrome, "keep.example");

    EXPECT_EQ(chrome.count("Cookies").value(),
              (CountPair{3, test::chromeCookieSize("old.example", "a") +
                                test::chromeCookieSize(".new.example", "b") +
                                test::chromeCookieSize("keep.example", "c")}));
    chrome.remove("Cookies");
    EXPECT_EQ(cookies.rows("cookies"), 0);
    EXPECT_EQ(hostsIn(network), std::vector<std::string>{"keep.example"});
}

TEST_F(ChromeCookiesTest, OnlyNetworkCookies) {
    fs::remove(h.chromeProfile() / "Cookies");
    Db network(h.chromeProfile() / "Network/Cookies");
    network.exec(test::schema::kCookies);
    insertChromeCookie(network, "a.example", "b");
    EXPECT_EQ(chrome.count("Cookies").value(),
              (CountPair{1, test::chromeCookieSize("a.example", "b")}));
    chrome.remove("Cookies");
    EXPECT_EQ(network.rows("cookies"), 0);
    EXPECT_FALSE(fs::exists(h.chromeProfile() / "Cookies"));
}

TEST_F(ChromeCookiesTest, RefreshListsTheStoreDomainsOnce) {
    insertChromeCookie(cookies, ".b.example", "1");
    insertChromeCookie(cookies, "b.example", "2");
    insertChromeCookie(cookies, "A.example", "3");
    insertChromeCookie(cookies, "keep.example", "4");
    h.cookies->keep(CookieBrowser::Chrome, "keep.example");

    chrome.refreshCookies();
    EXPECT_EQ(h.cookies->disAllowed(CookieBrowser::Chrome),
              (std::vector<std::string>{"A.example", "b.example"}));
    EXPECT_TRUE(h.cookies->disAllowed(CookieBrowser::Opera).empty());
}

TEST_F(ChromeCookiesTest, ChromiumUsesItsOwnStoreAndTheChromeLists) {
    insertChromeCookie(cookies, "a.example", "chrome");
    Db chromiumCookies(h.chromiumProfile() / "Cookies");
    chromiumCookies.exec(test::schema::kCookies);
    insertChromeCookie(chromiumCookies, "a.example", "chromium");
    insertChromeCookie(chromiumCookies, "keep.example", "chromium");
    h.cookies->keep(CookieBrowser::Chrome, "keep.example");

    ItemRunner chromium{h.env(), chromeFamilyDef(Browser::Chromium)};
    chromium.remove("Cookies");
    EXPECT_EQ(hostsIn(chromiumCookies), std::vector<std::string>{"keep.example"});
    EXPECT_EQ(hostsIn(cookies), std::vector<std::string>{"a.example"});
}

TEST(ChromeCookiesMissingTest, NoProfileCountsNothingAndDeletesNothing) {
    BrowserHarness h;
    ItemRunner chrome{h.env(), chromeFamilyDef(Browser::GoogleChrome)};
    EXPECT_EQ(chrome.count("Cookies").value(), CountPair{});
    chrome.remove("Cookies");
    EXPECT_FALSE(fs::exists(h.chromeProfile()));
}

// A cache folder is a place without a profile: no cookie store is looked for below it, nor
// relative to the working folder.
TEST(ChromeCookiesPlacesTest, NoCookieStoreIsLookedForOutsideAProfile) {
    BrowserHarness h;
    Db profileCookies(h.chromiumProfile() / "Cookies");
    profileCookies.exec(test::schema::kCookies);
    insertChromeCookie(profileCookies, "gone.example", "a");
    fs::create_directories(h.home() / ".cache/chromium");
    const auto cwd = h.dir.path() / "cwd";
    {
        Db stray(cwd / "Cookies");
        stray.exec(test::schema::kCookies);
        insertChromeCookie(stray, "stray.example", "b");
    }
    const auto before = fs::current_path();
    fs::current_path(cwd);
    ItemRunner(h.env(), chromeFamilyDef(Browser::Chromium)).remove("Cookies");
    fs::current_path(before);
    EXPECT_EQ(profileCookies.rows("cookies"), 0);
    EXPECT_EQ(Db(cwd / "Cookies").rows("cookies"), 1);
}

} // namespace
} // namespace tpc::browsers
