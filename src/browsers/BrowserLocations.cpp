#include "browsers/BrowserLocations.h"

#include "browsers/firefox/FirefoxProfiles.h"
#include "fs/Entries.h"
#include "platform/Platform.h"

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
    case Browser::Opera:
        return "Opera";
    }
    return "";
}

// Absolute paths of a browser's executable on a Linux system (looked up under the root).
std::vector<fs::path> linuxExecutables(Browser browser) {
    std::vector<std::string> names;
    std::vector<fs::path> extra;
    switch (browser) {
    case Browser::Safari:
        return {};
    case Browser::Firefox:
        names = {"firefox", "firefox-esr"};
        extra = {"/opt/firefox/firefox"};
        break;
    case Browser::GoogleChrome:
        names = {"google-chrome", "google-chrome-stable"};
        extra = {"/opt/google/chrome/chrome", "/opt/google/chrome/google-chrome"};
        break;
    case Browser::Chromium:
        names = {"chromium", "chromium-browser"};
        extra = {"/opt/chromium/chromium"};
        break;
    case Browser::Opera:
        names = {"opera"};
        extra = {"/opt/opera/opera"};
        break;
    }
    std::vector<fs::path> paths;
    for (const char* dir : {"/usr/bin", "/usr/local/bin", "/snap/bin"})
        for (const auto& name : names)
            paths.push_back(fs::path(dir) / name);
    paths.insert(paths.end(), extra.begin(), extra.end());
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

// The Chrome family's folder: "Google/Chrome" or "Chromium" (macos), "google-chrome" or
// "chromium" (linux).
fs::path chromeFolder(Layout layout, Browser browser) {
    if (browser != Browser::GoogleChrome && browser != Browser::Chromium)
        throw std::invalid_argument("not a Chrome-family browser");
    if (layout == Layout::MacOS)
        return browser == Browser::Chromium ? fs::path("Chromium") : fs::path("Google") / "Chrome";
    return browser == Browser::Chromium ? "chromium" : "google-chrome";
}

} // namespace

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
    return candidates.empty() ? fs::path() : platform_.underRoot(candidates.front());
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
