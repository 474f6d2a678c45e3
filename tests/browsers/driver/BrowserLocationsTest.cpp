// Where each browser keeps its data in the two layouts, built on the platform's folder roles.
#include "browsers/BrowserLocations.h"
#include "platform/Platform.h"

#include "support/TempDir.h"

#include "support/FakePlatform.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace tpc::browsers {
namespace {

namespace fs = std::filesystem;
using platform::Layout;
using platform::Platform;
using platform::PlatformOptions;
using test::TempDir;
using Env = std::map<std::string, std::string>;

TEST(BrowserLocationsTest, MacosLayoutFolders) {
    TempDir dir;
    PlatformOptions o = tpc::test::fakePlatformOptions(Layout::MacOS, dir.path());
    const Platform platform(o);
    const BrowserLocations p(platform);
    auto home = dir / "home";
    EXPECT_EQ(p.chromeProfile(Browser::GoogleChrome),
              home / "Library/Application Support/Google/Chrome/Default");
    EXPECT_EQ(p.chromeCache(Browser::GoogleChrome), home / "Library/Caches/Google/Chrome");
    EXPECT_EQ(p.chromeProfile(Browser::Chromium),
              home / "Library/Application Support/Chromium/Default");
    EXPECT_EQ(p.chromeCache(Browser::Chromium), home / "Library/Caches/Chromium");
    EXPECT_EQ(p.operaData(), home / "Library/Application Support/com.operasoftware.Opera");
    EXPECT_EQ(p.operaWebCache(), home / "Library/Caches/com.operasoftware.Opera/Cache");
    EXPECT_EQ(p.safariFolder(), home / "Library/Safari");
    EXPECT_EQ(p.safariCaches(), home / "Library/Caches/com.apple.Safari");
    EXPECT_EQ(
        p.safariCookieFiles(),
        (std::vector<fs::path>{home / "Library/Cookies/Cookies.binarycookies",
                               home / "Library/Containers/com.apple.Safari/Data/Library/Cookies/"
                                      "Cookies.binarycookies"}));
    EXPECT_EQ(p.firefoxWebCacheName(), "Cache");
    EXPECT_THROW(p.chromeProfile(Browser::Opera), std::invalid_argument);
    EXPECT_THROW(p.chromeCache(Browser::Safari), std::invalid_argument);
}

TEST(BrowserLocationsTest, LinuxLayoutFoldersFollowXdg) {
    TempDir dir;
    PlatformOptions o;
    o.layout = Layout::Linux;
    o.root = dir / "root";
    o.environment = Env{{"HOME", (dir / "home").string()},
                        {"XDG_CONFIG_HOME", (dir / "cfg").string()},
                        {"XDG_DATA_HOME", (dir / "data").string()},
                        {"XDG_CACHE_HOME", (dir / "cache").string()}};
    const Platform platform(o);
    const BrowserLocations p(platform);
    EXPECT_EQ(p.chromeProfile(Browser::GoogleChrome), dir / "cfg/google-chrome/Default");
    EXPECT_EQ(p.chromeCache(Browser::GoogleChrome), dir / "cache/google-chrome");
    EXPECT_EQ(p.chromeProfile(Browser::Chromium), dir / "cfg/chromium/Default");
    EXPECT_EQ(p.chromeCache(Browser::Chromium), dir / "cache/chromium");
    EXPECT_EQ(p.operaWebCache(), dir / "cache/opera/Cache");
    EXPECT_EQ(p.firefoxWebCacheName(), "cache2");

    // Opera moved its data into "Default" in newer installs; only a real folder counts.
    EXPECT_EQ(p.operaData(), dir / "cfg/opera");
    fs::create_directories(dir / "elsewhere");
    fs::create_directories(dir / "cfg/opera");
    fs::create_directory_symlink(dir / "elsewhere", dir / "cfg/opera/Default");
    EXPECT_EQ(p.operaData(), dir / "cfg/opera");
    fs::remove(dir / "cfg/opera/Default");
    fs::create_directories(dir / "cfg/opera/Default");
    EXPECT_EQ(p.operaData(), dir / "cfg/opera/Default");
}

TEST(BrowserLocationsTest, FirefoxProfilesFolderMovesToXdgOnlyWithoutAnyMozillaEntry) {
    TempDir dir;
    PlatformOptions o = tpc::test::fakePlatformOptions(Layout::Linux, dir.path());
    const Platform platform(o);
    const BrowserLocations p(platform);
    EXPECT_EQ(p.firefoxProfilesFolder(), dir / "home/.config/mozilla/firefox");
    // Even a dangling link named ~/.mozilla keeps Firefox's own place.
    fs::create_directories(dir / "home");
    fs::create_directory_symlink(dir / "nowhere", dir / "home/.mozilla");
    EXPECT_EQ(p.firefoxProfilesFolder(), dir / "home/.mozilla/firefox");
}

} // namespace
} // namespace tpc::browsers
