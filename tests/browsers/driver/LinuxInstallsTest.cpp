// The linux layout's other Chrome-family browsers (Brave, Vivaldi, Microsoft Edge) and browsers
// installed as a Flatpak: offered only when installed, each with its own auto-quit row, and
// never on macos.

#include "DriverHarness.h"

#include "core/Keys.h"
#include "core/Record.h"

#include "support/FakePlatform.h"

#include <gtest/gtest.h>

namespace tpc::test::driver {
namespace {

namespace keys = core::keys;
using browsers::Browser;
using browsers::BrowserLocations;

TEST(LinuxInstallsTest, BraveVivaldiAndEdgeRowsAreOfferedOnlyWhenInstalled) {
    DriverHarness h;
    h.installExecutable("firefox");
    h.installExecutable("brave-browser");
    h.installExecutable("vivaldi-stable");
    h.start(platform::Layout::Linux);
    auto list = h.driver().list();
    ASSERT_EQ(names(list), (std::vector<std::string>{"Firefox", "Brave", "Vivaldi"}));
    auto vivaldi = row(list, "Vivaldi");
    EXPECT_EQ(core::path(vivaldi), (h.root() / "usr/bin/vivaldi-stable").string());
    EXPECT_EQ(vivaldi->getInt(keys::ValueForDefaultSort), 6);
    EXPECT_EQ(names(core::subList(row(list, "Brave"))).back(), "Auto Quit Brave");
    EXPECT_EQ(names(core::subList(vivaldi)).back(), "Auto Quit Vivaldi");

    // Each auto-quit row quits its own browser, and every Chrome item counts.
    auto& cleaners = h.app->module<tpc::browsers::BrowsersModule>()->cleaners();
    const auto* edge = cleaners.find("Microsoft Edge");
    ASSERT_NE(edge, nullptr);
    EXPECT_EQ(edge->items.back(), "Auto Quit Microsoft Edge");
    EXPECT_TRUE(edge->deleteItem("Auto Quit Microsoft Edge"));
    EXPECT_TRUE(cleaners.find("Vivaldi")->deleteItem("Auto Quit Vivaldi"));
    EXPECT_EQ(h.apps->terminated(),
              (std::vector<std::string>{"com.microsoft.edgemac", "com.vivaldi.Vivaldi"}));
    EXPECT_EQ(edge->countItem("Cookies"), browsers::CountPair{});
}

TEST(LinuxInstallsTest, MacosOffersNoNewRows) {
    DriverHarness h;
    h.install("Firefox");
    h.install("Brave Browser");
    h.install("Microsoft Edge");
    h.start(platform::Layout::MacOS);
    EXPECT_EQ(names(h.driver().list()), (std::vector<std::string>{"Firefox"}));
    EXPECT_EQ(h.app->module<tpc::browsers::BrowsersModule>()->cleaners().find("Brave"), nullptr);
}

TEST(LinuxInstallsTest, AFlatpakNeedsBothItsAppFolderAndItsExportedLauncher) {
    TempDir dir;
    platform::PlatformOptions o =
        tpc::test::fakePlatformOptions(platform::Layout::Linux, dir.path());
    const platform::Platform platform(o);
    const BrowserLocations p(platform);

    // The system installation's launcher without the app's folder: not the user's browser.
    const auto systemLauncher = dir / "root/var/lib/flatpak/exports/bin/com.microsoft.Edge";
    writeFile(systemLauncher, "#!/bin/sh\n");
    fs::permissions(systemLauncher, fs::perms::owner_all);
    EXPECT_FALSE(p.browserInstalled(Browser::MicrosoftEdge));
    fs::create_directories(dir / "home/.var/app/com.microsoft.Edge");
    EXPECT_TRUE(p.browserInstalled(Browser::MicrosoftEdge));
    EXPECT_EQ(p.browserPath(Browser::MicrosoftEdge), systemLauncher);

    // The app's folder left behind by an uninstalled Flatpak is no browser; a user installation
    // is one.
    fs::create_directories(dir / "home/.var/app/org.mozilla.firefox");
    EXPECT_FALSE(p.browserInstalled(Browser::Firefox));
    const auto userLauncher = dir / "home/.local/share/flatpak/exports/bin/org.mozilla.firefox";
    fs::create_directories(userLauncher.parent_path());
    fs::create_symlink("/var/lib/flatpak/app/org.mozilla.firefox/current/active/export/bin/x",
                       userLauncher);
    EXPECT_TRUE(p.browserInstalled(Browser::Firefox));
}

} // namespace
} // namespace tpc::test::driver
