// The web cache and the application cache of the cache profile: walked without following links,
// removed through the deletion engine.

#include "FirefoxHarness.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tpc::browsers::firefox::fxtest {
namespace {

std::int64_t sizeOf(const fs::path& path) {
    struct stat st {};
    EXPECT_EQ(::lstat(path.c_str(), &st), 0) << path;
    return st.st_size;
}

// <web>/a (10), <web>/sub/b (20); startupCache/x (5), startupCache/Cache/z (3), y.bin (7).
void buildCaches(const fs::path& cache, const std::string& web) {
    writeFile(cache / web / "a", std::string(10, 'a'));
    writeFile(cache / web / "sub/b", std::string(20, 'b'));
    writeFile(cache / "startupCache/x", std::string(5, 'x'));
    writeFile(cache / "startupCache/Cache/z", std::string(3, 'z'));
    writeFile(cache / "y.bin", std::string(7, 'y'));
}

TEST(FirefoxCachesTest, InternetCacheCountsEveryEntryBelowTheWebCache) {
    Harness h;
    buildCaches(h.cacheProfile, "Cache");
    auto web = h.cacheProfile / "Cache";
    EXPECT_EQ(h.cleaner->count("Internet Cache").value(),
              (CountPair{3, 10 + 20 + sizeOf(web / "sub")}));
}

TEST(FirefoxCachesTest, AppCacheCountsEverythingElseAndOnlyTheTopLevelWebCacheIsSkipped) {
    Harness h;
    buildCaches(h.cacheProfile, "Cache");
    auto startup = h.cacheProfile / "startupCache";
    EXPECT_EQ(h.cleaner->count("Application Cache").value(),
              (CountPair{5, sizeOf(startup) + 5 + sizeOf(startup / "Cache") + 3 + 7}));
}

TEST(FirefoxCachesTest, DeletesSplitAtTheWebCache) {
    Harness h;
    buildCaches(h.cacheProfile, "Cache");
    h.cleaner->remove("Application Cache");
    EXPECT_FALSE(fs::exists(h.cacheProfile / "startupCache"));
    EXPECT_FALSE(fs::exists(h.cacheProfile / "y.bin"));
    EXPECT_TRUE(fs::exists(h.cacheProfile / "Cache/sub/b"));
    EXPECT_EQ(h.cleaner->count("Application Cache").value(), (CountPair{0, 0}));

    h.cleaner->remove("Internet Cache");
    EXPECT_FALSE(fs::exists(h.cacheProfile / "Cache"));
    EXPECT_TRUE(fs::exists(h.cacheProfile));
    EXPECT_EQ(h.cleaner->count("Internet Cache").value(), (CountPair{0, 0}));
}

TEST(FirefoxCachesTest, LinuxWebCacheIsCache2) {
    Harness h(platform::Layout::Linux, "abcd.default-release");
    ASSERT_EQ(h.cacheProfile, h.home() / ".cache/mozilla/firefox/abcd.default-release");
    buildCaches(h.cacheProfile, "cache2");
    writeFile(h.cacheProfile / "Cache/old", std::string(4, 'o'));
    auto sub = h.cacheProfile / "cache2/sub";
    EXPECT_EQ(h.cleaner->count("Internet Cache").value(), (CountPair{3, 30 + sizeOf(sub)}));
    // "Cache" is just another application cache entry here.
    EXPECT_EQ(h.cleaner->count("Application Cache").value().count, 7);

    h.cleaner->remove("Application Cache");
    EXPECT_FALSE(fs::exists(h.cacheProfile / "Cache"));
    EXPECT_TRUE(fs::exists(h.cacheProfile / "cache2/a"));
    h.cleaner->remove("Internet Cache");
    EXPECT_FALSE(fs::exists(h.cacheProfile / "cache2"));
}

TEST(FirefoxCachesTest, LinksAreCountedAsLinksAndNeverFollowed) {
    Harness h;
    writeFile(h.dir / "outside/big/file", std::string(1000, 'o'));
    fs::create_directories(h.cacheProfile / "Cache");
    fs::create_directory_symlink(h.dir / "outside/big", h.cacheProfile / "Cache/link");
    EXPECT_EQ(h.cleaner->count("Internet Cache").value(),
              (CountPair{1, sizeOf(h.cacheProfile / "Cache/link")}));
    h.cleaner->remove("Internet Cache");
    EXPECT_FALSE(fs::exists(h.cacheProfile / "Cache"));
    EXPECT_EQ(readFile(h.dir / "outside/big/file"), std::string(1000, 'o'));

    // A web cache that is itself a link is not walked; only the link goes.
    fs::create_directory_symlink(h.dir / "outside/big", h.cacheProfile / "Cache");
    EXPECT_EQ(h.cleaner->count("Internet Cache").value(), (CountPair{0, 0}));
    h.cleaner->remove("Internet Cache");
    EXPECT_FALSE(fs::exists(fs::symlink_status(h.cacheProfile / "Cache")));
    EXPECT_EQ(readFile(h.dir / "outside/big/file"), std::string(1000, 'o'));
}

} // namespace
} // namespace tpc::browsers::firefox::fxtest
