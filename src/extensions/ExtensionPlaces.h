#pragma once
// Where add-ons live in the platform's layout: the folders the Extensions manager lists and the
// ones whose entries it may remove, built on the platform's roles (home, root, XDG folders), so
// tests run on fake trees.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tpc::platform {
class Platform;
}

namespace tpc::extensions {

class ExtensionPlaces {
public:
    // The platform must outlive this object.
    explicit ExtensionPlaces(const platform::Platform& platform) : platform_(platform) {}

    // macos: the user's Library folder (~/Library), "/Library" under the root, and an
    // application bundle "/Applications/<name>.app" under the root.
    std::filesystem::path userLibrary() const;
    std::filesystem::path systemLibrary() const;
    std::filesystem::path application(const std::string& name) const;
    // macos: the folders whose entries a "Login Items" clean deletes as files (startup items,
    // the user's and the system's launch agents, launch daemons).
    std::vector<std::filesystem::path> loginItemFileFolders() const;

    // linux: Firefox's plug-in folders (the user's "~/.mozilla/plugins", then the system's).
    std::filesystem::path userPlugins() const;
    std::filesystem::path systemPlugins() const;
    // linux: the extensions folder of the Firefox profile in use; nullopt without a profile.
    std::optional<std::filesystem::path> firefoxExtensions() const;
    // linux: "$XDG_DATA_HOME/gnome-shell/extensions".
    std::filesystem::path shellExtensions() const;
    // linux: "$XDG_CONFIG_HOME/autostart" and "<config dir>/autostart" of each system config
    // folder, the most important first.
    std::filesystem::path userAutostart() const;
    std::vector<std::filesystem::path> systemAutostart() const;

private:
    const platform::Platform& platform_;
};

} // namespace tpc::extensions
