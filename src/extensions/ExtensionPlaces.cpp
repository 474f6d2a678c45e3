#include "extensions/ExtensionPlaces.h"

#include "browsers/BrowserLocations.h"
#include "platform/Platform.h"

namespace tpc::extensions {

namespace fs = std::filesystem;

fs::path ExtensionPlaces::userLibrary() const {
    return platform_.home() / "Library";
}

fs::path ExtensionPlaces::systemLibrary() const {
    return platform_.underRoot("/Library");
}

fs::path ExtensionPlaces::application(const std::string& name) const {
    return platform_.underRoot("/Applications") / (name + ".app");
}

std::vector<fs::path> ExtensionPlaces::loginItemFileFolders() const {
    return {systemLibrary() / "StartupItems", userLibrary() / "LaunchAgents",
            systemLibrary() / "LaunchAgents", systemLibrary() / "LaunchDaemons"};
}

fs::path ExtensionPlaces::userPlugins() const {
    return platform_.home() / ".mozilla" / "plugins";
}

fs::path ExtensionPlaces::systemPlugins() const {
    return platform_.underRoot("/usr/lib/mozilla/plugins");
}

std::optional<fs::path> ExtensionPlaces::firefoxExtensions() const {
    const auto profile = browsers::BrowserLocations(platform_).firefoxProfile();
    if (!profile)
        return std::nullopt;
    return *profile / "extensions";
}

fs::path ExtensionPlaces::shellExtensions() const {
    return platform_.xdgDataHome() / "gnome-shell" / "extensions";
}

fs::path ExtensionPlaces::userAutostart() const {
    return platform_.xdgConfigHome() / "autostart";
}

std::vector<fs::path> ExtensionPlaces::systemAutostart() const {
    std::vector<fs::path> folders;
    for (const auto& dir : platform_.xdgConfigDirs())
        folders.push_back(dir / "autostart");
    return folders;
}

} // namespace tpc::extensions
