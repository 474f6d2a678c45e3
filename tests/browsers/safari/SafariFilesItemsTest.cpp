// Safari's "Internet Cache", "Download History" and "Auto Quit Safari", the item catalogue, and
// Safari's place among the browser cleaners.

#include "SafariHarness.h"

#include "browsers/BrowserCleaners.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tpc::browsers::safari::sftest {
namespace {

using tpc::test::ownSize;

// --- Internet Cache ---------------------------------------------------------------------------

TEST(SafariCaches, NothingWithoutTheCachesOrTheSafariCacheFolder) {
    Harness h;
    EXPECT_EQ(h.cleaner->count("Internet Cache").value(), CountPair{});
    fs::create_directories(h.cacheFolder().parent_path());
    EXPECT_EQ(h.cleaner->count("Internet Cache").value(), CountPair{});
    h.cleaner->remove("Internet Cache");
    EXPECT_TRUE(fs::is_directory(h.cacheFolder().parent_path()));
}

TEST(SafariCaches, AnEmptyCacheFolderCountsOnlyItsOwnSize) {
    Harness h;
    fs::create_directories(h.cacheFolder());
    EXPECT_EQ(h.cleaner->count("Internet Cache").value(), (CountPair{0, ownSize(h.cacheFolder())}));
}

TEST(SafariCaches, EveryEntryAtAnyDepthCountsOnceWithItsOwnSize) {
    Harness h;
    const auto c = h.cacheFolder();
    writeFile(c / "Cache.db", std::string(1000, 'a'));
    writeFile(c / "fsCachedData" / "ABC", std::string(300, 'b'));
    writeFile(c / "fsCachedData" / "deep" / "er" / "DEF", std::string(7, 'c'));
    const auto outside = h.dir / "outside";
    writeFile(outside / "big", std::string(100000, 'z'));
    fs::create_symlink(outside, c / "link"); // counted as a link, never walked into

    std::int64_t size = ownSize(c);
    for (const char* rel : {"Cache.db", "fsCachedData", "fsCachedData/ABC", "fsCachedData/deep",
                            "fsCachedData/deep/er", "fsCachedData/deep/er/DEF", "link"})
        size += ownSize(c / rel);
    EXPECT_EQ(h.cleaner->count("Internet Cache").value(), (CountPair{7, size}));
}

TEST(SafariCaches, TheDeleteRemovesTheFolderItselfAndNothingBeside) {
    Harness h;
    writeFile(h.cacheFolder() / "Cache.db", "cache");
    const auto outside = h.dir / "outside";
    writeFile(outside / "keep", "keep");
    fs::create_symlink(outside, h.cacheFolder() / "link");
    writeFile(h.cacheFolder().parent_path() / "com.other.App" / "data", "other");

    h.cleaner->remove("Internet Cache");

    EXPECT_FALSE(fs::exists(fs::symlink_status(h.cacheFolder())));
    EXPECT_EQ(readFile(outside / "keep"), "keep");
    EXPECT_EQ(readFile(h.cacheFolder().parent_path() / "com.other.App" / "data"), "other");
    EXPECT_EQ(h.cleaner->count("Internet Cache").value(), CountPair{});
}

TEST(SafariCaches, ALinkInPlaceOfTheCacheFolderIsNotWalkedAndGoesAsALink) {
    Harness h;
    const auto outside = h.dir / "outside";
    writeFile(outside / "keep", "keep");
    fs::create_directories(h.cacheFolder().parent_path());
    fs::create_symlink(outside, h.cacheFolder());
    EXPECT_EQ(h.cleaner->count("Internet Cache").value(), CountPair{});
    h.cleaner->remove("Internet Cache");
    EXPECT_FALSE(fs::exists(fs::symlink_status(h.cacheFolder())));
    EXPECT_EQ(readFile(outside / "keep"), "keep");
}

// --- Download History -------------------------------------------------------------------------

TEST(SafariDownloads, CountsTheEntriesOfDownloadHistoryAndTheFileSize) {
    Harness h;
    EXPECT_EQ(h.cleaner->count("Download History").value(), CountPair{});
    writePlist(h.store("Downloads.plist"), dictWithArray("DownloadHistory", 3));
    EXPECT_EQ(h.cleaner->count("Download History").value(),
              (CountPair{3, ownSize(h.store("Downloads.plist"))}));
}

TEST(SafariDownloads, WithoutDownloadHistoryTheCountIsZeroAndTheSizeTheFiles) {
    Harness h;
    writePlist(h.store("Downloads.plist"), dictWithArray("SomethingElse", 3));
    EXPECT_EQ(h.cleaner->count("Download History").value(),
              (CountPair{0, ownSize(h.store("Downloads.plist"))}));
    // Not an array, or not a property list at all: the same.
    writePlist(h.store("Downloads.plist"),
               core::Value(core::DictObj::make({{"DownloadHistory", "text"}})));
    EXPECT_EQ(h.cleaner->count("Download History").value().count, 0);
    writeFile(h.store("Downloads.plist"), "garbage!");
    EXPECT_EQ(h.cleaner->count("Download History").value(), (CountPair{0, 8}));
}

TEST(SafariDownloads, TheDeleteRemovesTheFileOnly) {
    Harness h;
    writePlist(h.store("Downloads.plist"), dictWithArray("DownloadHistory", 2));
    writeFile(h.store("History.plist"), "history");
    h.cleaner->remove("Download History");
    EXPECT_FALSE(fs::exists(h.store("Downloads.plist")));
    EXPECT_EQ(readFile(h.store("History.plist")), "history");
    h.cleaner->remove("Download History"); // nothing left: nothing happens
    EXPECT_EQ(h.cleaner->count("Download History").value(), CountPair{});
}

// --- Auto quit and the catalogue --------------------------------------------------------------

TEST(SafariItems, QuitAsksSafariByItsBundleIdentifier) {
    Harness h;
    h.cleaner->remove("Auto Quit Safari");
    EXPECT_EQ(h.apps->terminated, std::vector<std::string>{"com.apple.Safari"});
}

TEST(SafariItems, TheCatalogueRowsInOrder) {
    EXPECT_EQ(ItemRunner::descriptions(safariDef(), platform::Layout::MacOS),
              (std::vector<std::string>{"Internet History", "Internet Cache", "Cookies",
                                        "Download History", "Auto Quit Safari"}));
}

TEST(SafariItems, EachRowReachesItsOperations) {
    Harness h;
    writePlist(h.store("Downloads.plist"), dictWithArray("DownloadHistory", 2));
    writePlist(h.store("History.plist"), dictWithArray("WebHistoryDates", 5));
    writeFile(h.cacheFolder() / "Cache.db", "c");

    EXPECT_EQ(h.cleaner->count("Download History"), h.cleaner->count("Download History").value());
    EXPECT_EQ(h.cleaner->count("Internet History")->count, 5);
    EXPECT_EQ(h.cleaner->count("Internet Cache")->count, 1);
    EXPECT_EQ(h.cleaner->count("Cookies"), CountPair{});
    EXPECT_FALSE(h.cleaner->count("Auto Quit Safari"));
    EXPECT_FALSE(h.cleaner->count("internet history"));
    EXPECT_FALSE(h.cleaner->remove("Sessions"));
    EXPECT_TRUE(h.apps->terminated.empty());

    EXPECT_TRUE(h.cleaner->remove("Download History"));
    EXPECT_FALSE(fs::exists(h.store("Downloads.plist")));
    EXPECT_TRUE(h.cleaner->remove("Internet History"));
    EXPECT_FALSE(fs::exists(h.store("History.plist")));
    EXPECT_TRUE(h.cleaner->remove("Internet Cache"));
    EXPECT_FALSE(fs::exists(h.cacheFolder()));
    EXPECT_TRUE(h.cleaner->remove("Auto Quit Safari"));
    EXPECT_EQ(h.apps->terminated, std::vector<std::string>{"com.apple.Safari"});
}

TEST(SafariItems, SafariIsTheFirstBrowserOnTheMacosLayoutOnly) {
    Harness mac;
    BrowserCleaners all(CleanerEnv{*mac.platform, *mac.deleter, *mac.cookies, mac.log});
    ASSERT_FALSE(all.entries().empty());
    std::vector<std::string> names;
    for (const auto& e : all.entries())
        names.push_back(e.name);
    EXPECT_EQ(names, (std::vector<std::string>{"Safari", "Firefox", "Google Chrome", "Opera"}));
    const auto& safari = all.entries().front();
    EXPECT_EQ(safari.browser, Browser::Safari);
    EXPECT_EQ(safari.cookieBrowser, CookieBrowser::Safari);
    EXPECT_EQ(safari.items, ItemRunner::descriptions(safariDef(), platform::Layout::MacOS));
    writePlist(mac.store("Downloads.plist"), dictWithArray("DownloadHistory", 4));
    EXPECT_EQ(safari.countItem("Download History")->count, 4);
    EXPECT_FALSE(safari.countItem("Auto Quit Safari"));
    EXPECT_TRUE(safari.deleteItem("Download History"));
    EXPECT_FALSE(fs::exists(mac.store("Downloads.plist")));
    EXPECT_EQ(all.runner(Browser::Safari)->count("Download History").value(), CountPair{});

    Harness lx(platform::Layout::Linux);
    BrowserCleaners onLinux(CleanerEnv{*lx.platform, *lx.deleter, *lx.cookies, lx.log});
    EXPECT_EQ(onLinux.find("Safari"), nullptr);
    EXPECT_EQ(onLinux.entries().front().name, "Firefox");
    EXPECT_EQ(onLinux.runner(Browser::Safari), nullptr);
}

} // namespace
} // namespace tpc::browsers::safari::sftest
