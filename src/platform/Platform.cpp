#include "platform/Platform.h"

#include "fs/Entries.h"
#include "fs/Folders.h"
#include "platform/TextFile.h"
#include "platform/UserDirs.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <pwd.h>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

extern char** environ;

namespace tpc::platform {

namespace {

using Environment = std::map<std::string, std::string>;

Environment processEnvironment() {
    Environment env;
    for (char** entry = environ; entry && *entry; ++entry) {
        std::string text(*entry);
        auto eq = text.find('=');
        if (eq != std::string::npos)
            env.emplace(text.substr(0, eq), text.substr(eq + 1));
    }
    return env;
}

// An absolute value of the variable, or nullopt when it is unset, empty or relative.
std::optional<fs::path> absoluteVariable(const Environment& env, const std::string& name) {
    auto it = env.find(name);
    if (it == env.end() || it->second.empty() || !fs::path(it->second).is_absolute())
        return std::nullopt;
    return fs::path(it->second).lexically_normal();
}

fs::path passwordHome() {
    if (const passwd* entry = getpwuid(getuid());
        entry && entry->pw_dir && fs::path(entry->pw_dir).is_absolute())
        return entry->pw_dir;
    throw std::runtime_error("cannot find the home folder: $HOME is not set");
}

} // namespace

Platform::Platform(PlatformOptions options)
    : layout_(options.layout), root_(fs::absolute(options.root).lexically_normal()),
      procRoot_(options.procRoot) {
    // Use the environment only without an explicit home: a given home means "this user only".
    Environment env;
    if (options.home) {
        home_ = fs::absolute(*options.home).lexically_normal();
    } else {
        env = options.environment ? *options.environment : processEnvironment();
        if (auto home = absoluteVariable(env, "HOME"))
            home_ = *home;
        else if (!options.environment)
            home_ = passwordHome();
        else
            throw std::runtime_error("cannot find the home folder: $HOME is not set");
    }
    // The macos layout has no XDG variables; its XDG folders are the defaults under the home.
    if (layout_ == Layout::MacOS)
        env.clear();

    auto xdg = [&](const char* name, const char* fallback) {
        return absoluteVariable(env, name).value_or(home_ / fallback);
    };
    dataHome_ = xdg("XDG_DATA_HOME", ".local/share");
    configHome_ = xdg("XDG_CONFIG_HOME", ".config");
    stateHome_ = xdg("XDG_STATE_HOME", ".local/state");
    cacheHome_ = xdg("XDG_CACHE_HOME", ".cache");

    if (auto it = env.find("XDG_CONFIG_DIRS"); it != env.end()) {
        std::istringstream list(it->second);
        std::string entry;
        while (std::getline(list, entry, ':'))
            if (fs::path(entry).is_absolute())
                configDirs_.push_back(underRoot(entry));
    }
    if (configDirs_.empty())
        configDirs_.push_back(underRoot("/etc/xdg"));

    runningApps_ =
        options.runningApps ? options.runningApps : std::make_shared<ProcRunningApps>(procRoot_);
    if (options.loginItems)
        loginItems_ = options.loginItems;
    else if (layout_ == Layout::Linux)
        loginItems_ = std::make_shared<XdgAutostart>(configHome_, configDirs_);
    else
        loginItems_ = std::make_shared<UnavailableLoginItems>();
    scriptRunner_ =
        options.scriptRunner ? options.scriptRunner : std::make_shared<UnavailableScriptRunner>();
    systemVersion_ = options.systemVersion;
}

Platform::~Platform() = default;

fs::path Platform::underRoot(const fs::path& absolute) const {
    return (root_ / absolute.relative_path()).lexically_normal();
}

fs::path Platform::settingsFolder() const {
    auto base = layout_ == Layout::MacOS ? applicationSupport() : configHome_;
    return base / "Tavrin Software" / "Tavrin Privacy Cleaner";
}

fs::path Platform::applicationSupport() const {
    return layout_ == Layout::MacOS ? home_ / "Library" / "Application Support" : dataHome_;
}

fs::path Platform::caches() const {
    return layout_ == Layout::MacOS ? home_ / "Library" / "Caches" : cacheHome_;
}

fs::path Platform::preferences() const {
    return layout_ == Layout::MacOS ? home_ / "Library" / "Preferences" : configHome_;
}

fs::path Platform::downloads() const {
    if (layout_ == Layout::Linux)
        if (auto dir = userDir("XDG_DOWNLOAD_DIR"))
            return *dir;
    return home_ / "Downloads";
}

fs::path Platform::pictures() const {
    if (layout_ == Layout::Linux)
        if (auto dir = userDir("XDG_PICTURES_DIR"))
            return *dir;
    return home_ / "Pictures";
}

fs::path Platform::trash() const {
    return layout_ == Layout::MacOS ? home_ / ".Trash" : dataHome_ / "Trash";
}

std::vector<fs::path> Platform::logs() const {
    std::vector<fs::path> found;
    if (layout_ == Layout::MacOS) {
        if (tpc::fs::entryExists(home_ / "Library" / "Logs"))
            found.push_back(home_ / "Library" / "Logs");
        return found;
    }
    for (const auto& name : tpc::fs::folderNamesFollowingLinks(home_))
        if (name.starts_with(".xsession-errors"))
            found.push_back(home_ / name);
    const auto xorg = dataHome_ / "xorg";
    for (const auto& name : tpc::fs::folderNamesFollowingLinks(xorg))
        if (fs::path(name).extension() == ".log")
            found.push_back(xorg / name);
    std::sort(found.begin(), found.end());
    return found;
}

fs::path Platform::recentlyUsedFile() const {
    return dataHome_ / "recently-used.xbel";
}

fs::path Platform::applicationPath() const {
    if (layout_ == Layout::MacOS)
        return underRoot("/Applications/Tavrin Privacy Cleaner.app");
    std::error_code ec;
    auto exe = fs::read_symlink(procRoot_ / "self" / "exe", ec);
    if (ec || !exe.is_absolute())
        return underRoot("/usr/bin/tavrin-privacy-cleaner");
    return exe.parent_path() / "tavrin-privacy-cleaner";
}

std::optional<fs::path> Platform::userDir(const std::string& name) const {
    auto variable = name;
    if (!variable.starts_with("XDG_")) {
        std::transform(variable.begin(), variable.end(), variable.begin(),
                       [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
        variable = "XDG_" + variable + "_DIR";
    }
    auto text = readTextFile(configHome_ / "user-dirs.dirs");
    if (!text)
        return std::nullopt;
    return parseUserDir(*text, variable, home_);
}

} // namespace tpc::platform
