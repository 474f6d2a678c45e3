#pragma once
// The categories the Extensions manager scans, in scan order, for the platform's layout: each
// one's title, picture, progress text, whether it is offered, the folders it lists and the rule
// that takes a folder entry and names it.
//
// macos: "Contacts Plugins" (while Contacts is installed), "Dictionaries" (while Dictionary is),
// "Internet Plugins", "Quick Look Plugins", "Spotlight Plugins", "Safari Extensions" (while
// Safari is), "Widgets", "Login Items" (startup items, then the session's login items).
// linux: "Internet Plugins" (Firefox's plug-in folders), "Firefox Extensions" (the profile's
// add-ons), "Shell Extensions", "Login Items" (autostart entries). Categories without a meaning
// there are not offered.

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tpc::platform {
class Platform;
}

namespace tpc::extensions {

struct CategorySource {
    std::string title;
    // "Scanning ...", shown before the category is scanned.
    std::string progressText;
    // "Path" (an application whose icon stands for the category) or "Icon" (a picture of the
    // program's artwork), and its value.
    std::string pictureKey;
    std::string picture;
    // Whether the category is scanned at all.
    bool offered = true;
    // The category is listed even when its folders hold nothing.
    bool alwaysListed = false;
    // Listed in order; one root collects the entries of all of them.
    std::vector<std::filesystem::path> folders;
    // The name entry `name` of `folder` is listed under; nothing leaves it out.
    std::function<std::optional<std::string>(const std::filesystem::path& folder,
                                             const std::string& name)>
        itemName;
    // The session's login items follow the folders' entries.
    bool sessionLoginItems = false;
};

// The categories of the platform's layout. Built afresh for every scan: whether an application
// is installed, which Firefox profile is in use and the add-ons' names are read now.
std::vector<CategorySource> extensionCategories(const platform::Platform& platform);

} // namespace tpc::extensions
