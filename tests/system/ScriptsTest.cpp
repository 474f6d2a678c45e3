// The two menu-driven categories in the macos layout: the script texts, the arithmetic of their
// answers, and what a failing or missing scripting service gives.

#include "SystemHarness.h"

namespace tpc::test::sys {
namespace {

using system::SystemJunk;

const std::string kPrelude = "my activateGUIscripting()\n"
                             "my selectSubMenu(\"Finder\")\n"
                             "on activateGUIscripting()\n"
                             "tell application \"System Events\"\n"
                             "if not (UI elements enabled) then set (UI elements enabled) to true\n"
                             "end tell\n"
                             "end activateGUIscripting\n"
                             "on selectSubMenu(theApp)\n"
                             "activate application theApp\n";
const std::string kAppleMenu = "tell application \"System Events\" to tell application process "
                               "theApp to tell menu bar 1 to tell menu bar item 1\n";
const std::string kFinderMenu = "tell application \"System Events\" to tell application process "
                                "theApp to tell menu bar 1 to tell menu bar item 6\n";
const std::string kEnd = "end tell\nend tell\nend tell\nend selectSubMenu\n";

TEST(SystemScripts, AreBuiltLineByLine) {
    EXPECT_EQ(SystemJunk::getRecentItemsCountScript(),
              kPrelude + kAppleMenu +
                  "click\ntell menu 1 to tell menu item -13\nclick\n"
                  "tell menu 1 to set numItems to count of menu items\n"
                  "tell menu 1 to tell menu item 1\nclick\nreturn numItems\n" +
                  kEnd);
    EXPECT_EQ(SystemJunk::getRecentsClearScript(),
              kPrelude + kAppleMenu +
                  "click\ntell menu 1 to tell menu item -13\nclick\n"
                  "tell menu 1 to tell menu item -1\nclick\n" +
                  kEnd);
    EXPECT_EQ(SystemJunk::getFinderClearLocationsScript(),
              kPrelude + kFinderMenu +
                  "click\ntell menu 1 to tell menu item -4\nclick\n"
                  "tell menu 1 to tell menu item -1\nclick\n" +
                  kEnd);
    EXPECT_EQ(SystemJunk::getFinderCountLocationsScript(),
              kPrelude + "set menuItemEnabled to 0\n" + kFinderMenu +
                  "click\ntell menu 1 to tell menu item -4\n"
                  "if enabled then set menuItemEnabled to 1\n"
                  "if menuItemEnabled is 1 then\nclick\n"
                  "tell menu 1 to set menuItemEnabled to count of menu items\n"
                  "tell menu 1 to tell menu item -2\nclick\nend tell\nend if\n"
                  "if menuItemEnabled is 0\nclick\ntell menu 1 to tell menu item 1\nclick\n"
                  "end tell\nend if\nreturn menuItemEnabled\nend tell\nend tell\n"
                  "end selectSubMenu\n");
}

TEST(SystemScripts, CountArithmeticKeepsTheUnsignedWrap) {
    EXPECT_EQ(SystemJunk::recentItemsCount(7), 0u);
    EXPECT_EQ(SystemJunk::recentItemsCount(13), 3u);
    EXPECT_EQ(SystemJunk::recentItemsCount(8), 0u);
    EXPECT_EQ(SystemJunk::recentItemsCount(2), 2147483645u);
    EXPECT_EQ(SystemJunk::recentItemsCount(0), 2147483644u);
    EXPECT_EQ(SystemJunk::recentPlacesCount(0), 0);
    EXPECT_EQ(SystemJunk::recentPlacesCount(5), 3);
    EXPECT_EQ(SystemJunk::recentPlacesCount(1), -1);
}

TEST(SystemScripts, CountsComeFromTheScriptAnswersAndRaiseTheWindow) {
    JunkFixture f;
    f.scripts->answer(SystemJunk::getRecentItemsCountScript(), "13\n");
    f.scripts->answer(SystemJunk::getFinderCountLocationsScript(), "5");
    EXPECT_EQ(f.count(system::kRecentDocuments).count, 3u);
    EXPECT_EQ(f.count(system::kRecentPlaces).count, 3u);
    EXPECT_EQ(f.count(system::kRecentPlaces).size, 0u);
    EXPECT_EQ(f.broughtToFront.load(), 3);

    f.scripts->answer(SystemJunk::getRecentItemsCountScript(), "7");
    f.scripts->answer(SystemJunk::getFinderCountLocationsScript(), "0");
    EXPECT_EQ(f.count(system::kRecentDocuments).count, 0u);
    EXPECT_EQ(f.count(system::kRecentPlaces).count, 0u);
    f.scripts->answer(SystemJunk::getRecentItemsCountScript(), "2");
    EXPECT_EQ(f.count(system::kRecentDocuments).count, 2147483645u);
}

TEST(SystemScripts, AFailingOrUncompiledScriptCountsNothing) {
    JunkFixture f;
    f.scripts->answer(SystemJunk::getRecentItemsCountScript(), "13", false);
    EXPECT_EQ(f.count(system::kRecentDocuments).count, 0u);
    // It ran, so the window still comes back; a script that never compiled changes nothing.
    EXPECT_EQ(f.broughtToFront.load(), 1);
    EXPECT_EQ(f.count(system::kRecentPlaces).count, 0u);
    f.clear(system::kRecentPlaces);
    EXPECT_EQ(f.broughtToFront.load(), 1);
}

TEST(SystemScripts, TheLinuxLayoutRunsNoScript) {
    JunkFixture f(platform::Layout::Linux);
    f.scripts->answer(SystemJunk::getRecentItemsCountScript(), "13");
    EXPECT_EQ(f.count(system::kRecentDocuments).count, 0u);
    f.clear(system::kRecentPlaces);
    EXPECT_TRUE(f.scripts->ran().empty());
    EXPECT_EQ(f.broughtToFront.load(), 0);
}

} // namespace
} // namespace tpc::test::sys
