#pragma once
// The applications of a Linux desktop, as their desktop entries describe them: the .desktop files
// of "$XDG_DATA_HOME/applications" and "<root>/usr/share/applications" (files in sub-folders get
// ids with '-' for '/'). The user's file wins over a system file of the same id.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tpc::platform {

class Platform;

struct DesktopApp {
    // The desktop file id: "org.gnome.gedit" for ".../applications/org.gnome.gedit.desktop".
    std::string id;
    // The entry's Name (the id when it has none).
    std::string name;
    std::filesystem::path file;
    // The base name of the Exec program ("gedit"); empty when there is none.
    std::string executable;
};

// The applications folders in the order they are searched (the user's first).
std::vector<std::filesystem::path> applicationFolders(const Platform& platform);

// Reads one desktop file. nullopt when it cannot be read, has no [Desktop Entry] group or its
// Type is not Application. `id` is used as given; when empty it is derived from the file's place
// under an applications folder, or else from its file name without ".desktop".
std::optional<DesktopApp> readDesktopApp(const Platform& platform,
                                         const std::filesystem::path& file,
                                         const std::string& id = {});

// Whether the entry is shown in menus (neither NoDisplay=true nor Hidden=true).
bool desktopAppVisible(const std::filesystem::path& file);

// Every visible application, ordered by id.
std::vector<DesktopApp> listDesktopApps(const Platform& platform);

} // namespace tpc::platform
