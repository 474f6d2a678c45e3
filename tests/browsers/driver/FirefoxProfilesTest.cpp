#include "browsers/FirefoxProfiles.h"
#include "browsers/BrowserLocations.h"
#include "platform/Platform.h"

#include "support/TempDir.h"

#include "support/FakePlatform.h"

#include <gtest/gtest.h>

namespace tpc::browsers {
namespace {

namespace fs = std::filesystem;
using firefox::firstDefaultProfile;
using firefox::profileFromIni;
using platform::Layout;
using platform::Platform;
using platform::PlatformOptions;
using test::TempDir;
using test::writeFile;

TEST(FirefoxProfilesTest, FirstDefaultProfileNeedsTheExactExtension) {
    TempDir dir;
    fs::create_directories(dir / "a.default-release");
    writeFile(dir / "b.default", "a file, not a profile");
    fs::create_directory_symlink(dir / "a.default-release", dir / "c.default");
    EXPECT_EQ(firstDefaultProfile(dir.path()), std::nullopt);
    fs::create_directories(dir / "z.default");
    fs::create_directories(dir / "m.default");
    EXPECT_EQ(firstDefaultProfile(dir.path()), dir / "m.default");
    EXPECT_EQ(firstDefaultProfile(dir / "missing"), std::nullopt);
}

TEST(FirefoxProfilesTest, IniChoosesInstallDefaultThenMarkedThenOnlyProfile) {
    TempDir dir;
    for (auto name : {"p1.default", "p2.default-release", "p3.other"})
        fs::create_directories(dir / name);
    auto profiles = "[General]\nStartWithLastProfile=1\n\n"
                    "[Profile1]\nName=default-release\nIsRelative=1\nPath=p2.default-release\n\n"
                    "[Profile0]\nName=default\nIsRelative=1\nPath=p1.default\nDefault=1\n";
    EXPECT_EQ(profileFromIni(profiles, dir.path()), dir / "p1.default");
    EXPECT_EQ(profileFromIni(std::string(profiles) + "[Install4F96D1932A9F858E]\n"
                                                     "Default=p2.default-release\nLocked=1\n",
                             dir.path()),
              dir / "p2.default-release");
    // An install default that does not exist falls through to Default=1.
    EXPECT_EQ(profileFromIni(std::string(profiles) + "[InstallX]\nDefault=gone\n", dir.path()),
              dir / "p1.default");
    EXPECT_EQ(profileFromIni("[Profile0]\nIsRelative=1\nPath=p3.other\n", dir.path()),
              dir / "p3.other");
    // Two profiles and nothing marked: no choice.
    EXPECT_EQ(
        profileFromIni("[Profile0]\nPath=p1.default\n[Profile1]\nPath=p3.other\n", dir.path()),
        std::nullopt);
    EXPECT_EQ(profileFromIni("garbage\n[broken\nPath=p1.default\n", dir.path()), std::nullopt);
}

TEST(FirefoxProfilesTest, IniAbsoluteProfilePath) {
    TempDir dir;
    fs::create_directories(dir / "elsewhere/custom");
    auto ini = "[Profile0]\nIsRelative=0\nPath=" + (dir / "elsewhere/custom").string() + "\n";
    EXPECT_EQ(profileFromIni(ini, dir / "root"), dir / "elsewhere/custom");
}

TEST(FirefoxProfilesTest, LinuxPlatformFindsProfileAndCache) {
    TempDir dir;
    PlatformOptions o = tpc::test::fakePlatformOptions(Layout::Linux, dir.path());
    const Platform platform(o);
    const BrowserLocations p(platform);
    auto home = dir / "home";
    // No ~/.mozilla: the XDG location is used.
    EXPECT_EQ(p.firefoxProfilesFolder(), home / ".config/mozilla/firefox");
    EXPECT_EQ(p.firefoxProfile(), std::nullopt);
    EXPECT_EQ(p.firefoxCacheProfile(), std::nullopt);
    fs::create_directories(home / ".config/mozilla/firefox/x.default");
    EXPECT_EQ(p.firefoxProfile(), home / ".config/mozilla/firefox/x.default");

    fs::create_directories(home / ".mozilla/firefox/abc.default-release");
    writeFile(home / ".mozilla/firefox/profiles.ini",
              "[Profile0]\nName=default-release\nIsRelative=1\nPath=abc.default-release\n");
    EXPECT_EQ(p.firefoxProfilesFolder(), home / ".mozilla/firefox");
    EXPECT_EQ(p.firefoxProfile(), home / ".mozilla/firefox/abc.default-release");
    EXPECT_EQ(p.firefoxCacheProfile(), home / ".cache/mozilla/firefox/abc.default-release");

    // A damaged profiles.ini falls back to the ".default" rule.
    writeFile(home / ".mozilla/firefox/profiles.ini", "\x01\x02 not an ini");
    fs::create_directories(home / ".mozilla/firefox/old.default");
    EXPECT_EQ(p.firefoxProfile(), home / ".mozilla/firefox/old.default");
}

TEST(FirefoxProfilesTest, MacosPlatformUsesTheDefaultRule) {
    TempDir dir;
    PlatformOptions o = tpc::test::fakePlatformOptions(Layout::MacOS, dir.path());
    const Platform platform(o);
    const BrowserLocations p(platform);
    auto profiles = dir / "home/Library/Application Support/Firefox/Profiles";
    fs::create_directories(profiles / "r.default-release");
    // profiles.ini is not read in this layout.
    writeFile(profiles / "profiles.ini", "[Profile0]\nIsRelative=1\nPath=r.default-release\n");
    EXPECT_EQ(p.firefoxProfile(), std::nullopt);
    fs::create_directories(profiles / "q.default");
    EXPECT_EQ(p.firefoxProfile(), profiles / "q.default");
    EXPECT_EQ(p.firefoxCacheProfile(), dir / "home/Library/Caches/Firefox/Profiles/q.default");
}

} // namespace
} // namespace tpc::browsers
