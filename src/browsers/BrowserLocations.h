#pragma once
// Where each browser is installed and keeps its data, in the platform's layout: the browser part
// of the folder roles. Every browser path a cleaner touches comes from here, never from a literal
// in a cleaner. Built on the platform's folder roles (home, root, Application Support, Caches,
// XDG folders), so tests run on fake trees as the platform does. Cheap to make: it holds only a
// reference to the platform, which must outlive it.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tpc::platform {
class Platform;
}

namespace tpc::browsers {

enum class Browser { Safari, Firefox, GoogleChrome, Chromium, Opera };

class BrowserLocations {
public:
    explicit BrowserLocations(const platform::Platform& platform) : platform_(platform) {}

    // macos: the application bundle under <root>/Applications (links followed). linux: one of the
    // browser's usual executables under the root (a link counts without being followed, see
    // BrowserLocations.cpp). Safari is never installed in the linux layout.
    bool browserInstalled(Browser browser) const;
    // Where the browser is installed, as a browser row's "Path" records it: macos
    // <root>/Applications/<Name>.app; linux the first of its usual executables present under the
    // root, else the first of them (absent). Empty for Safari in the linux layout.
    std::filesystem::path browserPath(Browser browser) const;

    // The folder holding the Firefox profiles (macos <AppSupport>/Firefox/Profiles; linux
    // ~/.mozilla/firefox, or $XDG_CONFIG_HOME/mozilla/firefox when ~/.mozilla is absent).
    std::filesystem::path firefoxProfilesFolder() const;
    // Firefox profile folder and its cache folder; nullopt when no profile is found.
    std::optional<std::filesystem::path> firefoxProfile() const;
    std::optional<std::filesystem::path> firefoxCacheProfile() const;
    // "Cache" (macos) or "cache2" (linux): the web cache inside the cache profile.
    std::string firefoxWebCacheName() const;

    // Chrome-family "Default" profile and cache folder (Google Chrome or Chromium; any other
    // browser throws std::invalid_argument).
    std::filesystem::path chromeProfile(Browser browser) const;
    std::filesystem::path chromeCache(Browser browser) const;

    std::filesystem::path operaData() const;
    std::filesystem::path operaWebCache() const;

    // Safari (offered in the macos layout only; the linux layout answers the same folders under
    // the home, and browserInstalled(Safari) is always false there).
    std::filesystem::path safariFolder() const;
    std::filesystem::path safariCaches() const;
    // The Cookies.binarycookies candidates, in the order they are looked at.
    std::vector<std::filesystem::path> safariCookieFiles() const;

private:
    const platform::Platform& platform_;
};

} // namespace tpc::browsers
