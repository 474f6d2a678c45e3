// The other Chrome-family items: caches, session and tab files, form data, logins, site icons,
// top sites, quitting, and the rows' operations by Description.

#include "ChromeHarness.h"
#include "browsers/ItemRunner.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tpc::browsers {
namespace {

namespace fs = std::filesystem;
using test::BrowserHarness;
using test::Db;
using test::ownSize;
using test::writeFile;

class ChromeItemsTest : public ::testing::Test {
protected:
    BrowserHarness h;
    ItemRunner chrome{h.env(), chromeFamilyDef(Browser::GoogleChrome)};

    void SetUp() override { fs::create_directories(h.chromeProfile()); }
};

TEST_F(ChromeItemsTest, CachesCountSessionStorageWithoutLockAndTheCacheFolder) {
    auto storage = h.chromeProfile() / "Session Storage";
    writeFile(storage / "LOCK", "");
    writeFile(storage / "000003.log", std::string(300, 'l'));
    writeFile(storage / "MANIFEST-000001", std::string(40, 'm'));
    writeFile(h.chromeCache() / "Default/Cache/data_0", std::string(1000, 'c'));
    writeFile(h.chromeCache() / "Default/Cache/index", std::string(24, 'i'));

    auto expected = 300 + 40 + ownSize(h.chromeCache() / "Default") +
                    ownSize(h.chromeCache() / "Default/Cache") + 1000 + 24;
    EXPECT_EQ(chrome.count("Internet Cache").value(), (CountPair{6, expected}));

    chrome.remove("Internet Cache");
    EXPECT_TRUE(fs::exists(storage / "LOCK"));
    EXPECT_FALSE(fs::exists(storage / "000003.log"));
    EXPECT_FALSE(fs::exists(storage / "MANIFEST-000001"));
    EXPECT_TRUE(fs::is_directory(h.chromeCache()));
    EXPECT_TRUE(fs::is_empty(h.chromeCache()));
    EXPECT_EQ(chrome.count("Internet Cache").value(), CountPair{});
}

TEST_F(ChromeItemsTest, SessionStorageHoldingOnlyLockCountsAndDeletesNothing) {
    writeFile(h.chromeProfile() / "Session Storage/LOCK", "");
    EXPECT_EQ(chrome.count("Internet Cache").value(), CountPair{});
    chrome.remove("Internet Cache");
    EXPECT_TRUE(fs::exists(h.chromeProfile() / "Session Storage/LOCK"));
}

TEST_F(ChromeItemsTest, LinksInTheCacheAreRemovedAsLinks) {
    auto outside = h.dir / "outside";
    writeFile(outside / "precious", "keep me");
    fs::create_directories(h.chromeCache());
    fs::create_directory_symlink(outside, h.chromeCache() / "link");

    // The link counts as itself; its target is not walked.
    EXPECT_EQ(chrome.count("Internet Cache").value(),
              (CountPair{1, ownSize(h.chromeCache() / "link")}));
    chrome.remove("Internet Cache");
    EXPECT_FALSE(fs::exists(fs::symlink_status(h.chromeCache() / "link")));
    EXPECT_EQ(test::readFile(outside / "precious"), "keep me");
}

TEST_F(ChromeItemsTest, SessionAndTabFilesCountOneAndTheirSize) {
    writeFile(h.chromeProfile() / "Current Session", std::string(123, 's'));
    writeFile(h.chromeProfile() / "Last Tabs", std::string(7, 't'));
    EXPECT_EQ(chrome.count("Current Session").value(), (CountPair{1, 123}));
    EXPECT_EQ(chrome.count("Last Tabs").value(), (CountPair{1, 7}));
    EXPECT_EQ(chrome.count("Current Tabs").value(), CountPair{});
    EXPECT_EQ(chrome.count("Last Session").value(), CountPair{});

    chrome.remove("Current Session");
    chrome.remove("Current Tabs");
    EXPECT_FALSE(fs::exists(h.chromeProfile() / "Current Session"));
    EXPECT_TRUE(fs::exists(h.chromeProfile() / "Last Tabs"));
    chrome.remove("Last Tabs");
    chrome.remove("Last Session");
    EXPECT_FALSE(fs::exists(h.chromeProfile() / "Last Tabs"));
    EXPECT_TRUE(h.log.lines().empty());
}

TEST_F(ChromeItemsTest, FormInformationLeavesSearchEnginesSignInAndAppTables) {
    Db db(h.chromeProfile() / "Web Data");
    db.exec(test::schema::kWebData);
    db.exec("INSERT INTO meta VALUES('version','46');"
            // 0 + 0 + 0 + 4 + 4
            "INSERT INTO autofill VALUES('email','a@b.example','a@b.example',1,2);"
            // 4 + 4
            "INSERT INTO autofill_dates VALUES(1,1300000000);"
            "INSERT INTO autofill_profile_emails VALUES('g','a@b.example');"
            // 4 + 4 + 2 bytes
            "INSERT INTO web_app_icons VALUES('https://app.example/',16,16,X'0A0B');"
            "INSERT INTO web_intents_defaults VALUES('share','text/*','p',1,0,'s');");
    // autofill 8, autofill_dates 8, the e-mail's VARCHARs 0; the app tables are not form data.
    EXPECT_EQ(chrome.count("Saved Form Information").value(), (CountPair{3, 8 + 8}));

    chrome.remove("Saved Form Information");
    for (const auto& table : {"autofill", "autofill_dates", "autofill_profile_emails"})
        EXPECT_EQ(db.rows(table), 0) << table;
    EXPECT_EQ(db.rows("web_app_icons"), 1);
    EXPECT_EQ(db.rows("web_intents_defaults"), 1);
    EXPECT_EQ(db.rows("meta"), 1);
    EXPECT_TRUE(h.failedQueryLines().empty());
}

TEST_F(ChromeItemsTest, SavedPasswordsAndTheirFailureLine) {
    Db db(h.chromeProfile() / "Login Data");
    db.exec(test::schema::kLoginData);
    db.exec("INSERT INTO logins VALUES('https://a.example/','','user','me','pw',X'00112233','',"
            "'https://a.example/',1,1,13300000000000000,0,0);");
    // password_value 4 bytes; ssl_valid, preferred, blacklisted, scheme 4 each; date 8.
    EXPECT_EQ(chrome.count("Saved Passwords").value(), (CountPair{1, 4 + 16 + 8}));
    chrome.remove("Saved Passwords");
    EXPECT_EQ(db.rows("logins"), 0);
    EXPECT_TRUE(h.failedQueryLines().empty());

    // A store without the table has nothing of the kind: neither a count nor a failure.
    db.exec("DROP TABLE logins;");
    EXPECT_EQ(chrome.count("Saved Passwords").value(), CountPair{});
    chrome.remove("Saved Passwords");
    EXPECT_TRUE(h.failedQueryLines().empty());
}

TEST_F(ChromeItemsTest, SiteIconsCountAndEmptyTheThreeTables) {
    Db db(h.chromeProfile() / "Favicons");
    db.exec(test::schema::kFavicons);
    db.exec("INSERT INTO favicons VALUES(1,'https://a.example/favicon.ico',1);"
            "INSERT INTO favicon_bitmaps VALUES(1,1,13300000000000000,X'89504E47',16,16);"
            "INSERT INTO icon_mapping VALUES(1,'https://a.example/',1);");
    EXPECT_EQ(chrome.count("Site Icons").value(),
              (CountPair{3, 12 + (4 + 4 + 8 + 4 + 4 + 4) + 12}));
    chrome.remove("Site Icons");
    for (const char* table : {"favicon_bitmaps", "favicons", "icon_mapping"})
        EXPECT_EQ(db.rows(table), 0) << table;
}

TEST_F(ChromeItemsTest, TopSitesEmptyTheOldAndTheCurrentTable) {
    Db db(h.chromeProfile() / "Top Sites");
    db.exec(test::schema::kTopSites);
    db.exec("INSERT INTO thumbnails VALUES('https://a.example/',0,'A',X'FFD8',"
            "'https://a.example/',1.0,1,0,13300000000000000,1);");
    // LONGVARCHAR 4 × 3, url_rank 4, blob 2, DOUBLE 0, three INTEGER 4, one 8.
    EXPECT_EQ(chrome.count("Top Sites").value(), (CountPair{1, 12 + 4 + 2 + 12 + 8}));
    chrome.remove("Top Sites");
    EXPECT_EQ(db.rows("thumbnails"), 0);
    EXPECT_TRUE(h.failedQueryLines().empty());

    // A newer store keeps its sites in another table.
    db.exec("DROP TABLE thumbnails; CREATE TABLE top_sites (url LONGVARCHAR NOT NULL, "
            "url_rank INTEGER NOT NULL, title LONGVARCHAR NOT NULL);"
            "INSERT INTO top_sites VALUES('https://a.example/',0,'A');");
    EXPECT_EQ(chrome.count("Top Sites").value(), (CountPair{1, 4 + 4 + 4}));
    chrome.remove("Top Sites");
    EXPECT_EQ(db.rows("top_sites"), 0);
    EXPECT_TRUE(h.failedQueryLines().empty());
}

TEST_F(ChromeItemsTest, QuitAsksTheBrowserByBundleIdentifier) {
    chrome.remove("Auto Quit Chrome");
    ItemRunner(h.env(), chromeFamilyDef(Browser::Chromium)).remove("Auto Quit Chrome");
    EXPECT_EQ(h.apps->terminated,
              (std::vector<std::string>{"com.google.Chrome", "org.chromium.Chromium"}));
}

TEST_F(ChromeItemsTest, RowsReachTheirOperationsByDescription) {
    writeFile(h.chromeProfile() / "Last Session", "abc");
    EXPECT_EQ(chrome.count("Last Session"), (CountPair{1, 3}));
    EXPECT_EQ(chrome.count("Auto Quit Chrome"), std::nullopt);
    EXPECT_EQ(chrome.count("Download History"), std::nullopt);
    EXPECT_FALSE(chrome.remove("Sessions"));
    EXPECT_TRUE(chrome.remove("Last Session"));
    EXPECT_FALSE(fs::exists(h.chromeProfile() / "Last Session"));
    EXPECT_TRUE(chrome.remove("Auto Quit Chrome"));
    EXPECT_EQ(h.apps->terminated, std::vector<std::string>{"com.google.Chrome"});
    ASSERT_EQ(
        ItemRunner::descriptions(chromeFamilyDef(Browser::GoogleChrome), platform::Layout::MacOS)
            .size(),
        12u);
    EXPECT_EQ(
        ItemRunner::descriptions(chromeFamilyDef(Browser::GoogleChrome), platform::Layout::MacOS)
            .front(),
        "Internet History");
    EXPECT_EQ(
        ItemRunner::descriptions(chromeFamilyDef(Browser::GoogleChrome), platform::Layout::MacOS)
            .back(),
        "Auto Quit Chrome");
}

} // namespace
} // namespace tpc::browsers
