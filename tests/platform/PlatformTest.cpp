#include "platform/Platform.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fstream>

namespace tpc::platform {
namespace {

using test::TempDir;
using test::writeFile;
using Env = std::map<std::string, std::string>;

PlatformOptions options(Layout layout, const TempDir& dir) {
    PlatformOptions o;
    o.layout = layout;
    o.home = dir / "home";
    o.root = dir / "root";
    o.procRoot = dir / "proc";
    return o;
}

TEST(LayoutTest, NamesRoundTripAndUnknownNamesAreRejected) {
    EXPECT_EQ(parseLayout("macos"), Layout::MacOS);
    EXPECT_EQ(parseLayout("linux"), Layout::Linux);
    EXPECT_EQ(parseLayout("Linux"), std::nullopt);
    EXPECT_EQ(parseLayout(""), std::nullopt);
    EXPECT_STREQ(layoutName(Layout::MacOS), "macos");
    EXPECT_STREQ(layoutName(Layout::Linux), "linux");
#ifndef __APPLE__
    EXPECT_EQ(hostLayout(), Layout::Linux);
#endif
}

TEST(PlatformXdgTest, EnvironmentGivesHomeAndAbsoluteXdgFolders) {
    TempDir dir;
    PlatformOptions o;
    o.layout = Layout::Linux;
    o.root = dir / "root";
    o.environment = Env{{"HOME", (dir / "u").string()},
                        {"XDG_DATA_HOME", (dir / "data").string()},
                        {"XDG_CONFIG_HOME", "relative/config"},
                        {"XDG_CACHE_HOME", ""},
                        {"XDG_STATE_HOME", (dir / "state").string()},
                        {"XDG_CONFIG_DIRS", "/etc/one:relative::/etc/two"}};
    Platform p(o);
    EXPECT_EQ(p.home(), dir / "u");
    EXPECT_EQ(p.xdgDataHome(), dir / "data");
    EXPECT_EQ(p.xdgConfigHome(), dir / "u/.config"); // relative: ignored
    EXPECT_EQ(p.xdgCacheHome(), dir / "u/.cache");   // empty: ignored
    EXPECT_EQ(p.xdgStateHome(), dir / "state");
    EXPECT_EQ(p.xdgConfigDirs(),
              (std::vector<fs::path>{dir / "root/etc/one", dir / "root/etc/two"}));
}

TEST(PlatformXdgTest, ExplicitHomeIgnoresTheEnvironment) {
    TempDir dir;
    auto o = options(Layout::Linux, dir);
    o.environment = Env{{"HOME", "/elsewhere"},
                        {"XDG_CONFIG_HOME", "/elsewhere/config"},
                        {"XDG_CONFIG_DIRS", "/etc/other"}};
    Platform p(o);
    EXPECT_EQ(p.home(), dir / "home");
    EXPECT_EQ(p.xdgDataHome(), dir / "home/.local/share");
    EXPECT_EQ(p.xdgConfigHome(), dir / "home/.config");
    EXPECT_EQ(p.xdgStateHome(), dir / "home/.local/state");
    EXPECT_EQ(p.xdgCacheHome(), dir / "home/.cache");
    EXPECT_EQ(p.xdgConfigDirs(), std::vector<fs::path>{dir / "root/etc/xdg"});
    EXPECT_EQ(p.underRoot("/Applications"), dir / "root/Applications");
}

TEST(PlatformXdgTest, MissingHomeIsAClearError) {
    PlatformOptions o;
    o.environment = Env{{"HOME", "not/absolute"}};
    EXPECT_THROW(Platform{o}, std::runtime_error);
    o.environment = Env{};
    EXPECT_THROW(Platform{o}, std::runtime_error);
}

TEST(PlatformRolesTest, MacosLayoutFolders) {
    TempDir dir;
    Platform p(options(Layout::MacOS, dir));
    auto home = dir / "home";
    EXPECT_EQ(p.settingsFolder(),
              home / "Library/Application Support/Tavrin Software/Tavrin Privacy Cleaner");
    EXPECT_EQ(p.applicationSupport(), home / "Library/Application Support");
    EXPECT_EQ(p.caches(), home / "Library/Caches");
    EXPECT_EQ(p.preferences(), home / "Library/Preferences");
    EXPECT_EQ(p.trash(), home / ".Trash");
    EXPECT_EQ(p.applicationPath(), dir / "root/Applications/Tavrin Privacy Cleaner.app");

    // Downloads and Pictures are fixed, whatever user-dirs.dirs says.
    writeFile(home / ".config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"$HOME/Elsewhere\"\n");
    EXPECT_EQ(p.downloads(), home / "Downloads");
    EXPECT_EQ(p.pictures(), home / "Pictures");

    EXPECT_TRUE(p.logs().empty());
    fs::create_directories(home / "Library/Logs");
    EXPECT_EQ(p.logs(), std::vector<fs::path>{home / "Library/Logs"});
}

TEST(PlatformRolesTest, LinuxLayoutFoldersFollowXdg) {
    TempDir dir;
    auto o = options(Layout::Linux, dir);
    o.home.reset();
    o.environment = Env{{"HOME", (dir / "home").string()},
                        {"XDG_CONFIG_HOME", (dir / "cfg").string()},
                        {"XDG_DATA_HOME", (dir / "data").string()},
                        {"XDG_CACHE_HOME", (dir / "cache").string()}};
    Platform p(o);
    EXPECT_EQ(p.settingsFolder(), dir / "cfg/Tavrin Software/Tavrin Privacy Cleaner");
    EXPECT_EQ(p.applicationSupport(), dir / "data");
    EXPECT_EQ(p.caches(), dir / "cache");
    EXPECT_EQ(p.preferences(), dir / "cfg");
    EXPECT_EQ(p.trash(), dir / "data/Trash");
    EXPECT_EQ(p.recentlyUsedFile(), dir / "data/recently-used.xbel");
}

TEST(PlatformRolesTest, LinuxUserFoldersComeFromUserDirs) {
    TempDir dir;
    Platform p(options(Layout::Linux, dir));
    auto home = dir / "home";
    EXPECT_EQ(p.downloads(), home / "Downloads");
    EXPECT_EQ(p.pictures(), home / "Pictures");

    writeFile(home / ".config/user-dirs.dirs", "# written by xdg-user-dirs-update\n"
                                               "XDG_DOWNLOAD_DIR=\"$HOME/Téléchargements\"\n"
                                               "XDG_PICTURES_DIR=\"/srv/photos\"\n");
    EXPECT_EQ(p.downloads(), home / "Téléchargements");
    EXPECT_EQ(p.pictures(), "/srv/photos");
    EXPECT_EQ(p.userDir("DOWNLOAD"), home / "Téléchargements");
    EXPECT_EQ(p.userDir("pictures"), "/srv/photos");
    EXPECT_EQ(p.userDir("XDG_MUSIC_DIR"), std::nullopt);
}

TEST(PlatformRolesTest, LinuxLogsAreTheExistingSessionAndXorgLogs) {
    TempDir dir;
    Platform p(options(Layout::Linux, dir));
    auto home = dir / "home";
    EXPECT_TRUE(p.logs().empty());
    writeFile(home / ".xsession-errors", "x");
    writeFile(home / ".xsession-errors.old", "x");
    writeFile(home / ".xsession", "not a log");
    writeFile(home / ".local/share/xorg/Xorg.0.log", "x");
    writeFile(home / ".local/share/xorg/Xorg.0.log.old", "x");
    EXPECT_EQ(p.logs(),
              (std::vector<fs::path>{home / ".local/share/xorg/Xorg.0.log",
                                     home / ".xsession-errors", home / ".xsession-errors.old"}));
}

TEST(PlatformServicesTest, EachLayoutPicksItsServices) {
    TempDir dir;
    Platform onLinux(options(Layout::Linux, dir));
    EXPECT_TRUE(onLinux.loginItems().available());
    EXPECT_EQ(onLinux.systemVersion(), std::nullopt);
    auto script = onLinux.scriptRunner().run("tell application \"System Events\" to count");
    EXPECT_FALSE(script.compiled);
    EXPECT_FALSE(script.succeeded);
    EXPECT_NE(script.error.find("not available"), std::string::npos);
    // A fake /proc without self/exe: the application is looked for in the system folder.
    EXPECT_EQ(onLinux.applicationPath(), dir / "root/usr/bin/tavrin-privacy-cleaner");

    Platform onMac(options(Layout::MacOS, dir));
    EXPECT_FALSE(onMac.loginItems().available());
    EXPECT_FALSE(onMac.loginItems().enable("/Applications/Tavrin Privacy Cleaner.app"));

    auto o = options(Layout::MacOS, dir);
    o.systemVersion = SystemVersion{10, 9, 5};
    Platform given(o);
    ASSERT_TRUE(given.systemVersion());
    EXPECT_EQ(given.systemVersion()->minor, 9);
}

TEST(PlatformServicesTest, LinuxApplicationPathIsBesideTheRunningProgram) {
    TempDir dir;
    auto o = options(Layout::Linux, dir);
    fs::create_directories(dir / "proc/self");
    fs::create_symlink("/opt/tpc/bin/tpc", dir / "proc/self/exe");
    Platform p(o);
    EXPECT_EQ(p.applicationPath(), "/opt/tpc/bin/tavrin-privacy-cleaner");
}

} // namespace
} // namespace tpc::platform
