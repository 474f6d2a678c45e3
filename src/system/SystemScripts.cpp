// The GUI scripts of the two menu-driven categories and the arithmetic of their answers.

#include "system/SystemJunk.h"

#include <initializer_list>

namespace tpc::system {

namespace {

// Every script starts by switching GUI scripting on and bringing the Finder forward, since the
// menus it drives belong to the frontmost application.
constexpr std::initializer_list<const char*> kPrelude = {
    "my activateGUIscripting()",
    "my selectSubMenu(\"Finder\")",
    "on activateGUIscripting()",
    "tell application \"System Events\"",
    "if not (UI elements enabled) then set (UI elements enabled) to true",
    "end tell",
    "end activateGUIscripting",
    "on selectSubMenu(theApp)",
    "activate application theApp",
};

// The Apple menu and the Finder's sixth menu.
constexpr const char* kAppleMenu = "tell application \"System Events\" to tell application process "
                                   "theApp to tell menu bar 1 to tell menu bar item 1";
constexpr const char* kFinderMenu = "tell application \"System Events\" to tell application "
                                    "process theApp to tell menu bar 1 to tell menu bar item 6";

std::string script(std::initializer_list<const char*> body) {
    std::string text;
    for (const char* line : kPrelude)
        text.append(line).push_back('\n');
    for (const char* line : body)
        text.append(line).push_back('\n');
    return text;
}

} // namespace

std::string SystemJunk::getRecentItemsCountScript() {
    return script({kAppleMenu, "click", "tell menu 1 to tell menu item -13", "click",
                   "tell menu 1 to set numItems to count of menu items",
                   "tell menu 1 to tell menu item 1", "click", "return numItems", "end tell",
                   "end tell", "end tell", "end selectSubMenu"});
}

std::string SystemJunk::getRecentsClearScript() {
    return script({kAppleMenu, "click", "tell menu 1 to tell menu item -13", "click",
                   "tell menu 1 to tell menu item -1", "click", "end tell", "end tell", "end tell",
                   "end selectSubMenu"});
}

std::string SystemJunk::getFinderClearLocationsScript() {
    return script({kFinderMenu, "click", "tell menu 1 to tell menu item -4", "click",
                   "tell menu 1 to tell menu item -1", "click", "end tell", "end tell", "end tell",
                   "end selectSubMenu"});
}

std::string SystemJunk::getFinderCountLocationsScript() {
    return script({"set menuItemEnabled to 0",
                   kFinderMenu,
                   "click",
                   "tell menu 1 to tell menu item -4",
                   "if enabled then set menuItemEnabled to 1",
                   "if menuItemEnabled is 1 then",
                   "click",
                   "tell menu 1 to set menuItemEnabled to count of menu items",
                   "tell menu 1 to tell menu item -2",
                   "click",
                   "end tell",
                   "end if",
                   "if menuItemEnabled is 0",
                   "click",
                   "tell menu 1 to tell menu item 1",
                   "click",
                   "end tell",
                   "end if",
                   "return menuItemEnabled",
                   "end tell",
                   "end tell",
                   "end selectSubMenu"});
}

// The recent-items submenu's length less its seven fixed entries, halved, in unsigned 32-bit
// arithmetic: a shorter menu wraps to a huge count, and that answer is kept as it is.
std::uint32_t SystemJunk::recentItemsCount(std::int32_t scriptResult) {
    return (static_cast<std::uint32_t>(scriptResult) - 7u) >> 1;
}

// The recent-folders submenu ends with a separator and the clear command; a disabled submenu
// answers 0.
std::int64_t SystemJunk::recentPlacesCount(std::int32_t scriptResult) {
    return scriptResult != 0 ? static_cast<std::int64_t>(scriptResult) - 2 : 0;
}

} // namespace tpc::system
