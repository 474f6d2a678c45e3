// The browser roles of the platform: where each browser is installed and keeps its data.

#include "platform/FirefoxProfiles.h"
#include "platform/Platform.h"

#include <stdexcept>

namespace tpc::platform {

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

bool isFolder(const fs::path& path) {
    std::error_code ec;
    return fs::is_directory(fs::symlink_status(path, ec));
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

bool Platform::browserInstalled(Browser browser) const {
    if (layout_ == Layout::MacOS) {
        std::error_code ec;
        auto app =
            underRoot(fs::path("/Applications") / (std::string(macAppName(browser)) + ".app"));
        return fs::exists(app, ec);
    }
    for (const auto& path : linuxExecutables(browser))
        if (isExecutable(underRoot(path)))
            return true;
    return false;
}

fs::path Platform::firefoxProfilesFolder() const {
    if (layout_ == Layout::MacOS)
        return applicationSupport() / "Firefox" / "Profiles";
    std::error_code ec;
    if (!fs::exists(fs::symlink_status(home_ / ".mozilla", ec)))
        return configHome_ / "mozilla" / "firefox";
    return home_ / ".mozilla" / "firefox";
}

std::optional<fs::path> Platform::firefoxProfile() const {
    if (layout_ == Layout::MacOS)
        return firstDefaultProfile(firefoxProfilesFolder());
    return findFirefoxProfile(firefoxProfilesFolder());
}

std::optional<fs::path> Platform::firefoxCacheProfile() const {
    auto profile = firefoxProfile();
    if (!profile)
        return std::nullopt;
    if (layout_ == Layout::MacOS)
        return caches() / "Firefox" / "Profiles" / profile->filename();
    return cacheHome_ / "mozilla" / "firefox" / profile->filename();
}

std::string Platform::firefoxWebCacheName() const {
    return layout_ == Layout::MacOS ? "Cache" : "cache2";
}

fs::path Platform::chromeProfile(Browser browser) const {
    auto base = layout_ == Layout::MacOS ? applicationSupport() : configHome_;
    return base / chromeFolder(layout_, browser) / "Default";
}

fs::path Platform::chromeCache(Browser browser) const {
    return caches() / chromeFolder(layout_, browser);
}

fs::path Platform::operaData() const {
    if (layout_ == Layout::MacOS)
        return applicationSupport() / "com.operasoftware.Opera";
    auto data = configHome_ / "opera";
    return isFolder(data / "Default") ? data / "Default" : data;
}

fs::path Platform::operaWebCache() const {
    if (layout_ == Layout::MacOS)
        return caches() / "com.operasoftware.Opera" / "Cache";
    return cacheHome_ / "opera" / "Cache";
}

fs::path Platform::safariFolder() const {
    return home_ / "Library" / "Safari";
}

fs::path Platform::safariCaches() const {
    return home_ / "Library" / "Caches" / "com.apple.Safari";
}

std::vector<fs::path> Platform::safariCookieFiles() const {
    return {home_ / "Library" / "Cookies" / "Cookies.binarycookies",
            home_ / "Library" / "Containers" / "com.apple.Safari" / "Data" / "Library" / "Cookies" /
                "Cookies.binarycookies"};
}

} // namespace tpc::platform
