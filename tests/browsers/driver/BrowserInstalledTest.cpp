#include "browsers/BrowserLocations.h"
#include "platform/Platform.h"

#include "support/TempDir.h"

#include "support/FakePlatform.h"

#include <gtest/gtest.h>

namespace tpc::browsers {
namespace {

namespace fs = std::filesystem;
using platform::Layout;
using platform::Platform;
using platform::PlatformOptions;
using test::TempDir;
using test::writeFile;

constexpr Browser allBrowsers[] = {Browser::Safari, Browser::Firefox, Browser::GoogleChrome,
                                   Browser::Chromium, Browser::Opera};

Platform platformOn(Layout layout, const TempDir& dir) {
    PlatformOptions o = tpc::test::fakePlatformOptions(layout, dir.path());
    return Platform(o);
}

void executable(const fs::path& file) {
    writeFile(file, "#!/bin/sh\n");
    fs::permissions(file, fs::perms::owner_all);
}

TEST(BrowserInstalledTest, MacosLooksForTheApplicationBundles) {
    TempDir dir;
    const auto platform = platformOn(Layout::MacOS, dir);
    const BrowserLocations p(platform);
    for (auto browser : allBrowsers)
        EXPECT_FALSE(p.browserInstalled(browser));
    for (auto name : {"Safari", "Firefox", "Google Chrome", "Chromium", "Opera"})
        fs::create_directories(dir / "root/Applications" / (std::string(name) + ".app"));
    for (auto browser : allBrowsers)
        EXPECT_TRUE(p.browserInstalled(browser));
}

TEST(BrowserInstalledTest, MacosFollowsALinkInPlaceOfTheBundle) {
    TempDir dir;
    const auto platform = platformOn(Layout::MacOS, dir);
    const BrowserLocations p(platform);
    const auto apps = dir / "root/Applications";
    fs::create_directories(dir / "elsewhere/Firefox.app");
    fs::create_directories(apps);
    fs::create_directory_symlink(dir / "elsewhere/Firefox.app", apps / "Firefox.app");
    fs::create_directory_symlink(dir / "gone.app", apps / "Opera.app");
    EXPECT_TRUE(p.browserInstalled(Browser::Firefox));
    EXPECT_FALSE(p.browserInstalled(Browser::Opera)) << "a dangling link is no application";
}

TEST(BrowserInstalledTest, LinuxLooksForExecutablesUnderTheRoot) {
    TempDir dir;
    const auto platform = platformOn(Layout::Linux, dir);
    const BrowserLocations p(platform);
    auto root = dir / "root";
    for (auto browser : allBrowsers)
        EXPECT_FALSE(p.browserInstalled(browser));

    executable(root / "usr/bin/firefox-esr");
    executable(root / "opt/google/chrome/chrome");
    // A link under the test root may point at the real system: it is not followed.
    fs::create_directories(root / "snap/bin");
    fs::create_symlink("/usr/bin/snap", root / "snap/bin/chromium");
    // Not executable: a data file of that name is not a browser.
    writeFile(root / "usr/local/bin/opera", "");
    fs::permissions(root / "usr/local/bin/opera", fs::perms::owner_read | fs::perms::owner_write);
    // Safari never exists on Linux, even with a file of that name.
    executable(root / "usr/bin/safari");
    fs::create_directories(root / "Applications/Safari.app");

    EXPECT_TRUE(p.browserInstalled(Browser::Firefox));
    EXPECT_TRUE(p.browserInstalled(Browser::GoogleChrome));
    EXPECT_TRUE(p.browserInstalled(Browser::Chromium));
    EXPECT_FALSE(p.browserInstalled(Browser::Opera));
    EXPECT_FALSE(p.browserInstalled(Browser::Safari));

    executable(root / "usr/local/bin/google-chrome-stable");
    executable(root / "usr/bin/opera");
    EXPECT_TRUE(p.browserInstalled(Browser::Opera));
}

} // namespace
} // namespace tpc::browsers
