// The Chrome family's "Site Storage" item: per-origin IndexedDB folders go unless their host is
// kept, the shared stores go only with an empty keep list (and are logged when kept), counts
// match what a clean removes, and nothing outside the profile is touched.

#include "ChromeHarness.h"
#include "browsers/ItemRunner.h"
#include "browsers/SiteStorage.h"

#include <gtest/gtest.h>

namespace tpc::browsers {
namespace {

namespace fs = std::filesystem;
using test::BrowserHarness;
using test::writeFile;

// The entry's own size and that of everything under it, links as themselves.
std::int64_t bytesUnder(const fs::path& path) {
    std::int64_t total = test::ownSize(path);
    if (fs::is_directory(fs::symlink_status(path)))
        for (const auto& e : fs::recursive_directory_iterator(path))
            total += test::ownSize(e.path());
    return total;
}

class ChromeSiteStorageTest : public ::testing::Test {
protected:
    BrowserHarness h;
    ItemRunner chromium{h.env(), chromeFamilyDef(Browser::Chromium)};

    fs::path profile() const { return h.chromiumProfile(); }
    fs::path second() const { return h.home() / ".config/chromium/Profile 1"; }
    fs::path idb(const fs::path& p, const std::string& name) const {
        return p / "IndexedDB" / name;
    }
    std::vector<fs::path> sharedStores() const {
        return {profile() / "Local Storage/leveldb", profile() / "Session Storage",
                profile() / "Service Worker/CacheStorage", profile() / "Service Worker/ScriptCache",
                profile() / "File System"};
    }

    void fill() {
        writeFile(idb(profile(), "https_kept.example_0.indexeddb.leveldb/000003.log"), "kept");
        writeFile(idb(profile(), "https_kept.example_0.indexeddb.blob/1/00/2"), "blob");
        writeFile(idb(profile(), "https_gone.example_443.indexeddb.leveldb/000003.log"), "gone!");
        writeFile(idb(profile(), "chrome-extension_abcdef_0.indexeddb.leveldb/LOG"), "extension");
        writeFile(idb(second(), "http_other.example_8080.indexeddb.leveldb/LOG"), "other");
        for (const auto& store : sharedStores())
            writeFile(store / "000003.log", "shared");
        writeFile(h.dir.path() / "outside/keep.txt", "not the browser's");
    }
};

TEST_F(ChromeSiteStorageTest, KeptHostsKeepTheirFoldersAndTheSharedStoresAreLogged) {
    fill();
    h.cookies->keep(CookieBrowser::Chrome, "kept.example");
    const auto gone = idb(profile(), "https_gone.example_443.indexeddb.leveldb");
    const auto other = idb(second(), "http_other.example_8080.indexeddb.leveldb");
    EXPECT_EQ(chromium.count("Site Storage"), (CountPair{2, bytesUnder(gone) + bytesUnder(other)}));

    ASSERT_TRUE(chromium.remove("Site Storage"));
    EXPECT_FALSE(fs::exists(gone));
    EXPECT_FALSE(fs::exists(other));
    EXPECT_TRUE(fs::exists(idb(profile(), "https_kept.example_0.indexeddb.leveldb/000003.log")));
    EXPECT_TRUE(fs::exists(idb(profile(), "https_kept.example_0.indexeddb.blob/1/00/2")));
    EXPECT_TRUE(fs::exists(idb(profile(), "chrome-extension_abcdef_0.indexeddb.leveldb/LOG")));
    for (const auto& store : sharedStores())
        EXPECT_TRUE(fs::exists(store / "000003.log")) << store;
    ASSERT_EQ(h.log.lines().size(), 1u);
    const auto line = h.log.lines().front();
    EXPECT_EQ(line.rfind("Chromium site storage kept: ", 0), 0u) << line;
    // Local Storage is split by host inside its database (this one is not a database at all).
    EXPECT_EQ(line.find((profile() / "Local Storage/leveldb").string()), std::string::npos);
    EXPECT_NE(line.find((profile() / "Session Storage").string()), std::string::npos);
    EXPECT_NE(line.find("list of cookies to keep is not empty"), std::string::npos);
    EXPECT_EQ(chromium.count("Site Storage"), (CountPair{0, 0}));
}

TEST_F(ChromeSiteStorageTest, AnEmptyKeepListTakesEveryOriginAndTheSharedStores) {
    fill();
    const auto count = chromium.count("Site Storage");
    // Four web origin folders and five shared stores; the extension's database is no site's.
    ASSERT_TRUE(count);
    EXPECT_EQ(count->count, 9);
    std::int64_t bytes = 0;
    for (const auto& store : sharedStores())
        bytes += bytesUnder(store);
    for (const auto& p : {profile(), second()})
        for (const auto& e : fs::directory_iterator(p / "IndexedDB"))
            if (e.path().filename().string().rfind("http", 0) == 0)
                bytes += bytesUnder(e.path());
    EXPECT_EQ(count->size, bytes);

    chromium.remove("Site Storage");
    for (const auto& store : sharedStores())
        EXPECT_FALSE(fs::exists(store)) << store;
    EXPECT_EQ(test::namesIn(profile() / "IndexedDB"),
              (std::vector<std::string>{"chrome-extension_abcdef_0.indexeddb.leveldb"}));
    EXPECT_TRUE(test::namesIn(second() / "IndexedDB").empty());
    EXPECT_EQ(test::readFile(h.dir.path() / "outside/keep.txt"), "not the browser's");
    EXPECT_TRUE(h.log.lines().empty());
}

TEST_F(ChromeSiteStorageTest, AnUnreadableKeepListRemovesNothing) {
    fill();
    h.reloadCookiesFrom("not a property list");
    ItemRunner reloaded{h.env(), chromeFamilyDef(Browser::Chromium)};
    EXPECT_EQ(reloaded.count("Site Storage"), (CountPair{0, 0}));
    reloaded.remove("Site Storage");
    EXPECT_TRUE(fs::exists(idb(profile(), "https_gone.example_443.indexeddb.leveldb")));
    EXPECT_TRUE(fs::exists(profile() / "Session Storage/000003.log"));
    bool logged = false;
    for (const auto& line : h.log.lines())
        logged |= line == "Chromium site storage was not deleted: the list of cookies to keep "
                          "could not be read";
    EXPECT_TRUE(logged);
}

TEST_F(ChromeSiteStorageTest, TheQuotaRecordsOfRemovedSitesGoWithThem) {
    test::Db quota(profile() / "WebStorage/QuotaManager");
    quota.exec("CREATE TABLE buckets (id INTEGER PRIMARY KEY, storage_key TEXT, host TEXT);"
               "INSERT INTO buckets VALUES (1, 'https://kept.example/', 'kept.example'),"
               "(2, 'http://gone.example:8080/', 'gone.example'), (3, 'chrome://x/', '');");
    h.cookies->keep(CookieBrowser::Chrome, "kept.example");
    chromium.remove("Site Storage");
    EXPECT_EQ(quota.column("buckets", "host"), (std::vector<std::string>{"kept.example", ""}));
}

TEST(ChromiumOriginHost, ReadsWebOriginsOnly) {
    EXPECT_EQ(chromiumOriginHost("http_my_host.example_8080"), "my_host.example");
    for (const char* other : {"chrome-extension_abcdef_0", "file__0", "https_a.example_x", "x"})
        EXPECT_EQ(chromiumOriginHost(other), std::nullopt) << other;
}

} // namespace
} // namespace tpc::browsers
