// The linux layout's Firefox items on today's stores: history out of places.sqlite (origins,
// annotations) and favicons.sqlite while bookmarks keep theirs, downloads as annotations, logins
// in logins.json, compressed sessions, and a cookie store held locked reported instead of
// counted as empty.

#include "FirefoxHarness.h"
#include "support/StoreSchemas.h"

#include <gtest/gtest.h>
#include <lz4.h>
#include <sqlite3.h>

namespace tpc::browsers::firefox::fxtest {
namespace {

class FirefoxCurrentStoresTest : public ::testing::Test {
protected:
    Harness h{platform::Layout::Linux, "abcd.default-release"};

    // Two visited pages of one origin and a bookmarked one of another; a download annotation on
    // page 1; the icons of pages 1 and 3.
    void fillPlaces() {
        exec(h.store("places.sqlite"),
             std::string(kPlacesWithOriginsSchema) + test::schema::kFirefoxAnnos +
                 "INSERT INTO moz_origins VALUES(1,'https://','a.example',1,0,NULL,0),"
                 "(2,'https://','b.example',1,0,NULL,0);"
                 "INSERT INTO moz_places(id,url,rev_host,origin_id,foreign_count) VALUES"
                 "(1,'https://a.example/1','elpmaxe.a.',1,0),(2,'https://a.example/2',"
                 "'elpmaxe.a.',1,0),(3,'https://b.example/','elpmaxe.b.',2,1);"
                 "INSERT INTO moz_historyvisits(place_id,visit_date,visit_type) VALUES(1,1,1),"
                 "(2,2,7),(3,3,1);"
                 "INSERT INTO moz_bookmarks(type,fk,title) VALUES(1,3,'B');"
                 "INSERT INTO moz_anno_attributes VALUES(1,'downloads/destinationFileURI');"
                 "INSERT INTO moz_annos(place_id,anno_attribute_id,content) VALUES"
                 "(2,1,'file:///home/u/Downloads/x.pdf');");
        exec(h.store("favicons.sqlite"),
             std::string(test::schema::kFirefoxFavicons) +
                 "INSERT INTO moz_icons(id,icon_url,fixed_icon_url_hash) VALUES"
                 "(1,'https://a.example/i.png',1),(3,'https://b.example/i.png',3);"
                 "INSERT INTO moz_pages_w_icons VALUES(1,'https://a.example/1',1),"
                 "(3,'https://b.example/',3);"
                 "INSERT INTO moz_icons_to_pages(page_id,icon_id) VALUES(1,1),(3,3);");
    }
    std::vector<std::string> of(const char* store, const std::string& sql) {
        return rows(h.store(store), sql);
    }
};

TEST_F(FirefoxCurrentStoresTest, HistoryGoesEverywhereAndBookmarksKeepTheirs) {
    fillPlaces();
    // 3 visits, 1 annotation, 2 places, 1 origin; 1 link, 1 page and 1 icon of favicons.sqlite.
    EXPECT_EQ(h.cleaner->count("Internet History").value().count, 10);

    h.cleaner->remove("Internet History");
    EXPECT_TRUE(of("places.sqlite", "SELECT * FROM moz_historyvisits").empty());
    EXPECT_EQ(of("places.sqlite", "SELECT id FROM moz_places"), std::vector<std::string>{"3"});
    EXPECT_EQ(of("places.sqlite", "SELECT host FROM moz_origins"),
              std::vector<std::string>{"b.example"});
    EXPECT_TRUE(of("places.sqlite", "SELECT * FROM moz_annos").empty());
    EXPECT_EQ(of("places.sqlite", "SELECT count(*) FROM moz_bookmarks"),
              std::vector<std::string>{"1"});
    EXPECT_EQ(of("favicons.sqlite", "SELECT page_url FROM moz_pages_w_icons"),
              std::vector<std::string>{"https://b.example/"});
    EXPECT_EQ(of("favicons.sqlite", "SELECT id FROM moz_icons"), std::vector<std::string>{"3"});
    EXPECT_EQ(h.cleaner->count("Internet History").value().count, 0);
    EXPECT_TRUE(h.log.lines().empty());
}

TEST_F(FirefoxCurrentStoresTest, DownloadsAreTheirAnnotationsAndDownloadVisits) {
    fillPlaces();
    EXPECT_EQ(h.cleaner->count("Download History").value().count, 2);
    h.cleaner->remove("Download History");
    EXPECT_TRUE(of("places.sqlite", "SELECT * FROM moz_annos").empty());
    EXPECT_EQ(of("places.sqlite", "SELECT place_id FROM moz_historyvisits ORDER BY place_id"),
              (std::vector<std::string>{"1", "3"}));
}

TEST_F(FirefoxCurrentStoresTest, LoginsAreTheEntriesOfLoginsJsonAndTheKeyStoreStays) {
    const std::string logins = R"({"nextId":3,"logins":[{"id":1},{"id":2}],"version":3})";
    writeFile(h.store("logins.json"), logins);
    writeFile(h.store("logins-backup.json"), "{}");
    writeFile(h.store("key4.db"), "key");
    EXPECT_EQ(h.cleaner->count("Saved Passwords").value(),
              (CountPair{2, static_cast<std::int64_t>(logins.size() + 2)}));
    h.cleaner->remove("Saved Passwords");
    EXPECT_FALSE(fs::exists(h.store("logins.json")));
    EXPECT_FALSE(fs::exists(h.store("logins-backup.json")));
    EXPECT_TRUE(fs::exists(h.store("key4.db")));
    EXPECT_EQ(h.cleaner->count("Saved Passwords").value(), CountPair{});
}

TEST_F(FirefoxCurrentStoresTest, LoginsDbLosesItsLoginsAndKeepsItsSyncState) {
    exec(h.store("logins.db"),
         "CREATE TABLE loginsL (id INTEGER PRIMARY KEY, origin TEXT NOT NULL);"
         "CREATE TABLE loginsM (id INTEGER PRIMARY KEY, origin TEXT NOT NULL);"
         "CREATE TABLE breachesL (id INTEGER PRIMARY KEY, origin TEXT);"
         "CREATE TABLE loginsSyncMeta (key TEXT PRIMARY KEY, value NOT NULL);"
         "INSERT INTO loginsL VALUES(1,'https://a.example'),(2,'https://b.example');"
         "INSERT INTO loginsM VALUES(1,'https://c.example');"
         "INSERT INTO loginsSyncMeta VALUES('last_sync', 1);");
    EXPECT_EQ(h.cleaner->count("Saved Passwords").value().count, 3);
    h.cleaner->remove("Saved Passwords");
    EXPECT_EQ(scalar(h.store("logins.db"), "SELECT COUNT(*) FROM loginsL") +
                  scalar(h.store("logins.db"), "SELECT COUNT(*) FROM loginsM"),
              0);
    EXPECT_EQ(scalar(h.store("logins.db"), "SELECT COUNT(*) FROM loginsSyncMeta"), 1);
}

TEST_F(FirefoxCurrentStoresTest, SessionsAreTheCompressedFileAndTheBackupsFolder) {
    // Two saved pages, compressed as the browser writes them.
    const std::string text = R"({"windows":[{"tabs":[{"entries":[{"url":"https://a.example/"},)"
                             R"({"url":"https://b.example/"}]}]}]})";
    std::string session("mozLz40\0", 8);
    for (int i = 0; i < 4; ++i)
        session += static_cast<char>(text.size() >> (8 * i));
    std::string block(static_cast<std::size_t>(LZ4_compressBound(static_cast<int>(text.size()))),
                      '\0');
    block.resize(static_cast<std::size_t>(LZ4_compress_default(
        text.data(), block.data(), static_cast<int>(text.size()), static_cast<int>(block.size()))));
    writeFile(h.store("sessionstore.jsonlz4"), session + block);
    writeFile(h.store("sessionstore-backups/recovery.jsonlz4"), std::string(40, 'r'));
    writeFile(h.store("sessionstore-backups/previous.jsonlz4"), std::string(20, 'p'));
    const auto size = static_cast<std::int64_t>(session.size() + block.size());
    EXPECT_EQ(h.cleaner->count("Sessions").value(), (CountPair{2 + 2, size + 60}));
    // A file that is not what it should be still counts.
    writeFile(h.store("sessionstore.jsonlz4"), std::string(100, 's'));
    EXPECT_EQ(h.cleaner->count("Sessions").value(), (CountPair{1 + 2, 160}));
    h.cleaner->remove("Sessions");
    EXPECT_FALSE(fs::exists(h.store("sessionstore.jsonlz4")));
    EXPECT_TRUE(fs::is_empty(h.store("sessionstore-backups")));
}

TEST_F(FirefoxCurrentStoresTest, ALockedCookieStoreIsReportedNotCountedAsEmpty) {
    exec(h.store("cookies.sqlite"), std::string(kCookiesSchema) +
                                        "INSERT INTO moz_cookies(name, host) VALUES('a', "
                                        "'a.example'), ('b', 'b.example');");
    h.cleaner->refreshCookies();
    const auto listed = h.cookies->disAllowed(CookieBrowser::Firefox);
    sqlite3* holder = nullptr;
    ASSERT_EQ(sqlite3_open(h.store("cookies.sqlite").c_str(), &holder), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(holder, "BEGIN EXCLUSIVE; DELETE FROM moz_cookies WHERE name = 'a';",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);

    EXPECT_EQ(h.cleaner->count("Cookies").value(), CountPair{});
    h.cleaner->remove("Cookies");
    sqlite3_exec(holder, "ROLLBACK;", nullptr, nullptr, nullptr);
    sqlite3_close(holder);

    const auto path = h.store("cookies.sqlite").string();
    EXPECT_EQ(h.logLines("Firefox store in use"),
              (std::vector<std::string>{"Firefox store in use, not counted: " + path,
                                        "Firefox store in use, not cleaned: " + path}));
    // The lists are not rebuilt from a store that could not be read.
    EXPECT_EQ(h.cookies->disAllowed(CookieBrowser::Firefox), listed);
    EXPECT_EQ(h.cleaner->count("Cookies").value().count, 2);
}

} // namespace
} // namespace tpc::browsers::firefox::fxtest
