#pragma once
// Where everything is: the folder roles every path the engine touches is built from, never a
// literal in a cleaner (the subsystems build their own places, such as a browser's data folders,
// on these roles). Two layouts: macos (the folder rules of the desktop platform the program was
// designed for) and linux (what a Linux desktop user has: XDG folders, freedesktop trash and recent
// files). The home folder and the file-system root are parameters, so tests run on fake trees.

#include "platform/Services.h"

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tpc::platform {

namespace fs = std::filesystem;

enum class Layout { MacOS, Linux };
// "macos" / "linux"; nullopt for anything else.
std::optional<Layout> parseLayout(const std::string& text);
const char* layoutName(Layout layout);
Layout hostLayout();

struct PlatformOptions {
    Layout layout = hostLayout();
    // The user's home. When set explicitly, XDG variables are ignored and their defaults under
    // it are used.
    std::optional<fs::path> home;
    fs::path root = "/";
    // Environment to read ($HOME, XDG variables); empty means the process environment.
    std::optional<std::map<std::string, std::string>> environment;
    // Services to use instead of the layout's own (tests).
    std::shared_ptr<RunningApps> runningApps;
    std::shared_ptr<LoginItems> loginItems;
    std::shared_ptr<ScriptRunner> scriptRunner;
    std::optional<SystemVersion> systemVersion;
    fs::path procRoot = "/proc";
};

class Platform {
public:
    // Throws std::runtime_error when there is no home folder: no `home` option and no absolute
    // $HOME (for the process environment, the user's entry in the password database also serves).
    explicit Platform(PlatformOptions options);
    virtual ~Platform();

    Layout layout() const { return layout_; }
    const fs::path& home() const { return home_; }
    const fs::path& root() const { return root_; }
    const fs::path& procRoot() const { return procRoot_; }
    // A system-wide absolute path looked up under the root ("/Applications" → <root>/Applications).
    fs::path underRoot(const fs::path& absolute) const;

    // XDG base directories (linux layout; also answered in the macos layout, as the defaults under
    // the home). The config dirs are already looked up under the root.
    fs::path xdgDataHome() const { return dataHome_; }
    fs::path xdgConfigHome() const { return configHome_; }
    fs::path xdgCacheHome() const { return cacheHome_; }
    fs::path xdgStateHome() const { return stateHome_; }
    std::vector<fs::path> xdgConfigDirs() const { return configDirs_; }

    // Roles of the layout table.
    fs::path settingsFolder() const;
    fs::path applicationSupport() const;
    fs::path caches() const;
    // The property-list preferences folder (macos ~/Library/Preferences; linux $XDG_CONFIG_HOME).
    fs::path preferences() const;
    fs::path downloads() const;
    fs::path pictures() const;
    fs::path trash() const;
    // The log files and folders the system-junk clean removes (existing ones only; linux:
    // ~/.xsession-errors* and $XDG_DATA_HOME/xorg/*.log; macos: ~/Library/Logs).
    std::vector<fs::path> logs() const;
    // linux: $XDG_DATA_HOME/recently-used.xbel.
    fs::path recentlyUsedFile() const;

    // Services.
    RunningApps& runningApps() { return *runningApps_; }
    LoginItems& loginItems() { return *loginItems_; }
    ScriptRunner& scriptRunner() { return *scriptRunner_; }
    // The system version when the host has one to give (only the macos host does).
    std::optional<SystemVersion> systemVersion() const { return systemVersion_; }
    // The path the application is installed at, for the login item.
    fs::path applicationPath() const;

    // Reads "$XDG_CONFIG_HOME/user-dirs.dirs" (XDG_DOWNLOAD_DIR="$HOME/Downloads", ...). `name`
    // is the variable ("XDG_DOWNLOAD_DIR") or its short form ("DOWNLOAD"); nullopt when the file,
    // the line or an absolute folder is missing.
    std::optional<fs::path> userDir(const std::string& name) const;

private:
    Layout layout_;
    fs::path home_;
    fs::path root_;
    fs::path procRoot_;
    fs::path dataHome_, configHome_, cacheHome_, stateHome_;
    std::vector<fs::path> configDirs_;
    std::shared_ptr<RunningApps> runningApps_;
    std::shared_ptr<LoginItems> loginItems_;
    std::shared_ptr<ScriptRunner> scriptRunner_;
    std::optional<SystemVersion> systemVersion_;
};

} // namespace tpc::platform
