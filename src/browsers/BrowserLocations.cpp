#include "browsers/BrowserLocations.h"

#include "browsers/FirefoxProfiles.h"
#include "fs/Entries.h"
#include "fs/Folders.h"
#include "platform/Platform.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace tpc::browsers {

namespace fs = std::filesystem;
using platform::Layout;

namespace {

const char* macAppName(Browser browser) {
    switch (browser) {
    case Browser::Safari:
        return "Safari";
    case Browser::Firefox:
        return "Firefox";
    case Browser::GoogleChrome:
        return "Google Chrome";
    case Browser::Chromium:
        return "Chromium";
    case Browser::Brave:
        return "Brave Browser";
    case Browser::Vivaldi:
        return "Vivaldi";
    case Browser::MicrosoftEdge:
        return "Microsoft Edge";
    case Browser::Opera:
        return "Opera";
    }
    return "";
}

// Where a browser is installed and keeps its data on a Linux system.
struct LinuxPlaces {
    std::vector<std::string> executables; // names looked up in the usual bin folders
    std::vector<fs::path> extra;          // other absolute paths (/opt/...)
    std::string flatpakId;                // "" when it has no Flatpak
    // Chrome family: the data folder under ~/.config and the cache folder under ~/.cache.
    fs::path folder;
    // Chrome family: the snap's name and where it keeps its data inside ~/snap/<name> ("" when
    // it has no snap with its own data).
    std::string snap;
    fs::path snapData;
};

LinuxPlaces linuxPlaces(Browser browser) {
    switch (browser) {
    case Browser::Safari:
        return {};
    case Browser::Firefox:
        return {{"firefox", "firefox-esr"},
                {"/opt/firefox/firefox"},
                "org.mozilla.firefox",
                {},
                {},
                {}};
    case Browser::GoogleChrome:
        return {{"google-chrome", "google-chrome-stable"},
                {"/opt/google/chrome/chrome", "/opt/google/chrome/google-chrome"},
                "com.google.Chrome",
                "google-chrome",
                {},
                {}};
    case Browser::Chromium:
        return {{"chromium", "chromium-browser"},
                {"/opt/chromium/chromium"},
                "org.chromium.Chromium",
                "chromium",
                "chromium",
                "common/chromium"};
    case Browser::Brave:
        return {{"brave-browser", "brave", "brave-browser-stable"},
                {"/opt/brave.com/brave/brave-browser", "/opt/brave.com/brave/brave"},
                "com.brave.Browser",
                "BraveSoftware/Brave-Browser",
                "brave",
                "current/.config/BraveSoftware/Brave-Browser"};
    case Browser::Vivaldi:
        return {{"vivaldi", "vivaldi-stable"},
                {"/opt/vivaldi/vivaldi"},
                "com.vivaldi.Vivaldi",
                "vivaldi",
                "vivaldi",
                "current/.config/vivaldi"};
    case Browser::MicrosoftEdge:
        return {{"microsoft-edge", "microsoft-edge-stable"},
                {"/opt/microsoft/msedge/microsoft-edge", "/opt/microsoft/msedge/msedge"},
                "com.microsoft.Edge",
                "microsoft-edge",
                {},
                {}};
    case Browser::Opera:
        return {{"opera"}, {"/opt/opera/opera"}, {}, {}, {}, {}};
    }
    return {};
}

// Absolute paths of a browser's executable on a Linux system (looked up under the root); the
// snap's launcher is in /snap/bin.
std::vector<fs::path> linuxExecutables(Browser browser) {
    const auto places = linuxPlaces(browser);
    std::vector<fs::path> paths;
    for (const char* dir : {"/usr/bin", "/usr/local/bin", "/snap/bin"})
        for (const auto& name : places.executables)
            paths.push_back(fs::path(dir) / name);
    paths.insert(paths.end(), places.extra.begin(), places.extra.end());
    return paths;
}

// An executable file, or a link (not followed: under a test root its target may be an absolute
// path of the real system; the snap and alternatives links are what a real system has).
bool isExecutable(const fs::path& path) {
    std::error_code ec;
    auto status = fs::symlink_status(path, ec);
    if (fs::is_symlink(status))
        return true;
    using fs::perms;
    return fs::is_regular_file(status) &&
           (status.permissions() & (perms::owner_exec | perms::group_exec | perms::others_exec)) !=
               perms::none;
}

// The Chrome family's folder: under Application Support and Caches (macos), under ~/.config and
// ~/.cache (linux).
fs::path chromeFolder(Layout layout, Browser browser) {
    if (!isChromeFamily(browser))
        throw std::invalid_argument("not a Chrome-family browser");
    if (layout == Layout::Linux)
        return linuxPlaces(browser).folder;
    switch (browser) {
    case Browser::GoogleChrome:
        return fs::path("Google") / "Chrome";
    case Browser::Brave:
        return fs::path("BraveSoftware") / "Brave-Browser";
    default:
        return macAppName(browser);
    }
}

// "Default" or "Profile <N>": the names Chrome-family browsers give their profiles.
bool isChromeProfileName(const std::string& name) {
    if (name == "Default")
        return true;
    const std::string prefix = "Profile ";
    return name.size() > prefix.size() && name.starts_with(prefix) &&
           std::all_of(name.begin() + static_cast<std::ptrdiff_t>(prefix.size()), name.end(),
                       [](unsigned char c) { return std::isdigit(c); });
}

// "Default" first, then the numbered profiles by number.
bool chromeProfileOrder(const std::string& a, const std::string& b) {
    if (a == "Default" || b == "Default")
        return a == "Default" && b != "Default";
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}

} // namespace

bool isChromeFamily(Browser browser) {
    switch (browser) {
    case Browser::GoogleChrome:
    case Browser::Chromium:
    case Browser::Brave:
    case Browser::Vivaldi:
    case Browser::MicrosoftEdge:
        return true;
    case Browser::Safari:
    case Browser::Firefox:
    case Browser::Opera:
        return false;
    }
    return false;
}

bool BrowserLocations::browserInstalled(Browser browser) const {
    const fs::path path = browserPath(browser);
    if (path.empty())
        return false;
    if (platform_.layout() == Layout::MacOS)
        return tpc::fs::existsFollowingLinks(path);
    return isExecutable(path);
}

fs::path BrowserLocations::browserPath(Browser browser) const {
    if (platform_.layout() == Layout::MacOS)
        return platform_.underRoot(fs::path("/Applications") /
                                   (std::string(macAppName(browser)) + ".app"));
    const auto candidates = linuxExecutables(browser);
    for (const auto& path : candidates)
        if (isExecutable(platform_.underRoot(path)))
            return platform_.underRoot(path);
    if (auto flatpak = flatpakLauncher(browser))
        return *flatpak;
    return candidates.empty() ? fs::path() : platform_.underRoot(candidates.front());
}

std::optional<fs::path> BrowserLocations::flatpakLauncher(Browser browser) const {
    const auto id = linuxPlaces(browser).flatpakId;
    // The app's own folder says the user ran it; the exported launcher that it is still installed.
    if (id.empty() || !tpc::fs::isFolderFollowingLinks(flatpakApp(id)))
        return std::nullopt;
    for (const auto& exports : {platform_.underRoot("/var/lib/flatpak/exports/bin"),
                                platform_.xdgDataHome() / "flatpak/exports/bin"})
        if (isExecutable(exports / id))
            return exports / id;
    return std::nullopt;
}

fs::path BrowserLocations::flatpakApp(const std::string& id) const {
    return platform_.home() / ".var/app" / id;
}

fs::path BrowserLocations::snapFolder(const std::string& name) const {
    return platform_.home() / "snap" / name;
}

fs::path BrowserLocations::firefoxProfilesFolder() const {
    if (platform_.layout() == Layout::MacOS)
        return platform_.applicationSupport() / "Firefox" / "Profiles";
    if (!tpc::fs::entryExists(platform_.home() / ".mozilla"))
        return platform_.xdgConfigHome() / "mozilla" / "firefox";
    return platform_.home() / ".mozilla" / "firefox";
}

std::optional<fs::path> BrowserLocations::firefoxProfile() const {
    if (platform_.layout() == Layout::MacOS)
        return firefox::firstDefaultProfile(firefoxProfilesFolder());
    return firefox::findFirefoxProfile(firefoxProfilesFolder());
}

std::optional<fs::path> BrowserLocations::firefoxCacheProfile() const {
    auto profile = firefoxProfile();
    if (!profile)
        return std::nullopt;
    if (platform_.layout() == Layout::MacOS)
        return platform_.caches() / "Firefox" / "Profiles" / profile->filename();
    return platform_.xdgCacheHome() / "mozilla" / "firefox" / profile->filename();
}

std::vector<FirefoxProfile> BrowserLocations::firefoxProfiles() const {
    std::vector<FirefoxProfile> list;
    if (platform_.layout() == Layout::MacOS) {
        if (auto profile = firefoxProfile())
            list.push_back({*profile, *firefoxCacheProfile()});
        return list;
    }
    const auto flatpak = flatpakApp("org.mozilla.firefox");
    const auto snap = snapFolder("firefox") / "common";
    const std::pair<fs::path, fs::path> roots[] = {
        {firefoxProfilesFolder(), platform_.xdgCacheHome() / "mozilla/firefox"},
        {flatpak / ".mozilla/firefox", flatpak / "cache/mozilla/firefox"},
        {snap / ".mozilla/firefox", snap / ".cache/mozilla/firefox"}};
    for (const auto& [folder, caches] : roots)
        for (const auto& profile : firefox::allFirefoxProfiles(folder))
            if (std::none_of(list.begin(), list.end(),
                             [&](const FirefoxProfile& p) { return p.folder == profile; }))
                list.push_back({profile, caches / profile.filename()});
    return list;
}

std::string BrowserLocations::firefoxWebCacheName() const {
    return platform_.layout() == Layout::MacOS ? "Cache" : "cache2";
}

fs::path BrowserLocations::chromeProfile(Browser browser) const {
    const auto layout = platform_.layout();
    auto base =
        layout == Layout::MacOS ? platform_.applicationSupport() : platform_.xdgConfigHome();
    return base / chromeFolder(layout, browser) / "Default";
}

fs::path BrowserLocations::chromeCache(Browser browser) const {
    return platform_.caches() / chromeFolder(platform_.layout(), browser);
}

std::vector<fs::path> BrowserLocations::chromeProfiles(Browser browser) const {
    std::vector<fs::path> list;
    if (platform_.layout() == Layout::MacOS) {
        if (auto profile = chromeProfile(browser); tpc::fs::isFolderFollowingLinks(profile))
            list.push_back(profile);
        return list;
    }
    const auto places = linuxPlaces(browser);
    const auto folder = chromeFolder(Layout::Linux, browser);
    std::vector<fs::path> roots{platform_.xdgConfigHome() / folder,
                                flatpakApp(places.flatpakId) / "config" / folder};
    if (!places.snap.empty())
        roots.push_back(snapFolder(places.snap) / places.snapData);
    for (const auto& root : roots) {
        auto names = tpc::fs::folderNamesFollowingLinks(root);
        std::erase_if(names, [](const std::string& n) { return !isChromeProfileName(n); });
        std::sort(names.begin(), names.end(), chromeProfileOrder);
        for (const auto& name : names)
            // "Default" may be reached through a link, as it always could; the numbered
            // profiles only as real folders, so no walk leaves the data folder through them.
            if (name == "Default" ? tpc::fs::isFolderFollowingLinks(root / name)
                                  : tpc::fs::isFolderNoFollow(root / name))
                list.push_back(root / name);
    }
    return list;
}

std::vector<fs::path> BrowserLocations::chromeCaches(Browser browser) const {
    if (platform_.layout() == Layout::MacOS)
        return {chromeCache(browser)};
    const auto places = linuxPlaces(browser);
    const auto folder = chromeFolder(Layout::Linux, browser);
    std::vector<fs::path> list{chromeCache(browser),
                               flatpakApp(places.flatpakId) / "cache" / folder};
    if (!places.snap.empty())
        list.push_back(snapFolder(places.snap) / "common/.cache" / folder);
    return list;
}

fs::path BrowserLocations::operaData() const {
    if (platform_.layout() == Layout::MacOS)
        return platform_.applicationSupport() / "com.operasoftware.Opera";
    auto data = platform_.xdgConfigHome() / "opera";
    return tpc::fs::isFolderNoFollow(data / "Default") ? data / "Default" : data;
}

fs::path BrowserLocations::operaWebCache() const {
    if (platform_.layout() == Layout::MacOS)
        return platform_.caches() / "com.operasoftware.Opera" / "Cache";
    return platform_.xdgCacheHome() / "opera" / "Cache";
}

fs::path BrowserLocations::safariFolder() const {
    return platform_.home() / "Library" / "Safari";
}

fs::path BrowserLocations::safariCaches() const {
    return platform_.home() / "Library" / "Caches" / "com.apple.Safari";
}

std::vector<fs::path> BrowserLocations::safariCookieFiles() const {
    const auto home = platform_.home();
    return {home / "Library" / "Cookies" / "Cookies.binarycookies",
            home / "Library" / "Containers" / "com.apple.Safari" / "Data" / "Library" / "Cookies" /
                "Cookies.binarycookies"};
}

} // namespace tpc::browsers
