// Opera's folders, cookies, the site preferences that live in Firefox's profile, quitting, and
// the rows' operations by Description.

#include "ChromeHarness.h"
#include "browsers/ItemRunner.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tpc::browsers {
namespace {

namespace fs = std::filesystem;
using test::BrowserHarness;
using test::Db;
using test::insertChromeCookie;
using test::ownSize;
using test::writeFile;

class OperaFilesTest : public ::testing::Test {
protected:
    BrowserHarness h{platform::Layout::MacOS};
    ItemRunner opera{h.env(), operaDef()};
};

TEST_F(OperaFilesTest, MissingDataFolderCountsNothingAndDeletesNothing) {
    for (const auto& description : ItemRunner::descriptions(operaDef(), platform::Layout::MacOS)) {
        auto pair = opera.count(description);
        EXPECT_EQ(pair.value_or(CountPair{}), CountPair{}) << description;
    }
    for (const auto& description : ItemRunner::descriptions(operaDef(), platform::Layout::MacOS)) {
        if (description != "Auto Quit Opera") {
            EXPECT_TRUE(opera.remove(description));
        }
    }
    EXPECT_FALSE(fs::exists(h.operaData()));
    EXPECT_TRUE(h.log.lines().empty());
}

TEST_F(OperaFilesTest, WebCacheIsWalkedAndRemovedWhole) {
    writeFile(h.operaWebCache() / "data_0", std::string(100, 'd'));
    writeFile(h.operaWebCache() / "sub/f_000001", std::string(20, 'f'));
    EXPECT_EQ(opera.count("Internet Cache").value(),
              (CountPair{3, 100 + ownSize(h.operaWebCache() / "sub") + 20}));
    opera.remove("Internet Cache");
    EXPECT_FALSE(fs::exists(h.operaWebCache()));
    EXPECT_TRUE(fs::is_directory(h.operaWebCache().parent_path()));
}

TEST_F(OperaFilesTest, GpuCacheEntriesGoAndTheFolderStays) {
    auto gpu = h.operaData() / "GPUCache";
    writeFile(gpu / "data_1", std::string(64, 'g'));
    writeFile(gpu / "index", std::string(8, 'i'));
    EXPECT_EQ(opera.count("Application Cache").value(), (CountPair{2, 72}));
    opera.remove("Application Cache");
    EXPECT_TRUE(fs::is_directory(gpu));
    EXPECT_TRUE(fs::is_empty(gpu));
}

TEST_F(OperaFilesTest, CookiesUseTheOperaKeepList) {
    Db cookies(h.operaData() / "Cookies");
    cookies.exec(test::schema::kCookies);
    insertChromeCookie(cookies, ".a.example", "1");
    insertChromeCookie(cookies, ".a.example", "2");
    insertChromeCookie(cookies, "opera-keep.example", "3");
    insertChromeCookie(cookies, "chrome-keep.example", "4");
    h.cookies->keep(CookieBrowser::Opera, "opera-keep.example");
    h.cookies->keep(CookieBrowser::Chrome, "chrome-keep.example");

    EXPECT_EQ(opera.count("Cookies").value().count, 4);
    opera.remove("Cookies");
    EXPECT_EQ(cookies.column("cookies", "host_key"),
              std::vector<std::string>{"opera-keep.example"});
    EXPECT_TRUE(h.cookies->disAllowed(CookieBrowser::Opera).empty());
}

TEST_F(OperaFilesTest, UnreadableKeepListsDeleteNoOperaCookie) {
    Db cookies(h.operaData() / "Cookies");
    cookies.exec(test::schema::kCookies);
    insertChromeCookie(cookies, "a.example", "1");
    h.reloadCookiesFrom("garbage");
    ItemRunner cleaner{h.env(), operaDef()};
    cleaner.remove("Cookies");
    EXPECT_EQ(cookies.rows("cookies"), 1);
}

// On linux the data folder is "Default" when present, with the Chrome family's stores of today.
TEST(OperaLinuxTest, TheDefaultSubfolderHoldsTheFamilysCurrentStores) {
    BrowserHarness h;
    ItemRunner opera{h.env(), operaDef()};
    auto folder = h.home() / ".config/opera/Default";
    Db cookies(folder / "Network/Cookies");
    cookies.exec(test::schema::kCookies);
    insertChromeCookie(cookies, "a.example", "1");
    test::writeFile(folder / "Sessions/Session_13300000000000000", "old");
    test::writeFile(folder / "Sessions/Session_13300000000000001", "new");

    EXPECT_EQ(opera.count("Cookies").value(),
              (CountPair{1, test::chromeCookieSize("a.example", "1")}));
    EXPECT_EQ(opera.count("Sessions").value(), (CountPair{2, 6}));
    opera.remove("Cookies");
    opera.remove("Sessions");
    EXPECT_EQ(cookies.rows("cookies"), 0);
    EXPECT_FALSE(fs::exists(folder / "Sessions/Session_13300000000000000"));
    EXPECT_FALSE(fs::exists(folder / "Sessions/Session_13300000000000001"));
    EXPECT_EQ(ItemRunner::descriptions(operaDef(), platform::Layout::Linux).end()[-2],
              "Site Storage");
}

TEST(OperaSitePreferencesTest, SitePreferencesWorkOnFirefoxsStore) {
    BrowserHarness h;
    ItemRunner opera{h.env(), operaDef()};
    auto profile = h.home() / ".mozilla/firefox/abcd1234.default";
    Db prefs(profile / "content-prefs.sqlite");
    prefs.exec(test::schema::kFirefoxContentPrefs);
    prefs.exec("INSERT INTO groups VALUES(1,'a.example'); INSERT INTO settings VALUES(1,'zoom');"
               "INSERT INTO prefs VALUES(1,1,1,'1.5',1300000000);"
               "INSERT INTO prefs VALUES(2,1,1,X'00',1300000001);");
    Db firefoxCookies(profile / "cookies.sqlite");
    firefoxCookies.exec(test::schema::kFirefoxCookies);
    firefoxCookies.exec("INSERT INTO moz_cookies (name, value, host, path) "
                        "VALUES('n','v','.ff.example','/');");
    // Opera's own data plays no part.
    fs::create_directories(h.operaData());

    // id, groupID, settingID, timestamp 4 each; value BLOB: its bytes.
    EXPECT_EQ(opera.count("Site Preferences").value(), (CountPair{2, 16 + 3 + 16 + 1}));
    EXPECT_EQ(opera.count("Site Preferences"), opera.count("Site Preferences").value());
    opera.remove("Site Preferences");
    EXPECT_EQ(prefs.rows("prefs"), 0);
    EXPECT_EQ(prefs.rows("groups"), 1);
    EXPECT_EQ(h.cookies->disAllowed(CookieBrowser::Firefox),
              std::vector<std::string>{"ff.example"});
    EXPECT_TRUE(h.cookies->disAllowed(CookieBrowser::Opera).empty());
}

TEST_F(OperaFilesTest, QuitAndRows) {
    opera.remove("Auto Quit Opera");
    EXPECT_EQ(h.apps->terminated, std::vector<std::string>{"com.operasoftware.Opera"});
    EXPECT_TRUE(opera.remove("Auto Quit Opera"));
    EXPECT_EQ(h.apps->terminated.size(), 2u);
    EXPECT_EQ(opera.count("Auto Quit Opera"), std::nullopt);
    EXPECT_EQ(opera.count("Top Sites"), std::nullopt);
    EXPECT_FALSE(opera.remove("Current Tabs"));
    const auto& rows = ItemRunner::descriptions(operaDef(), platform::Layout::MacOS);
    ASSERT_EQ(rows.size(), 11u);
    EXPECT_EQ(std::count(rows.begin(), rows.end(), "Site Preferences"), 0);
}

} // namespace
} // namespace tpc::browsers
