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

// Brave, Vivaldi and Microsoft Edge belong to the Chrome family (same profile layout and stores)
// and are offered on the linux layout only.
enum class Browser {
    Safari,
    Firefox,
    GoogleChrome,
    Chromium,
    Brave,
    Vivaldi,
    MicrosoftEdge,
    Opera
};

// Whether the browser is one of the Chrome family (served by the Chrome cleaner).
bool isChromeFamily(Browser browser);

// A Firefox profile with the folder its caches go to.
struct FirefoxProfile {
    std::filesystem::path folder;
    std::filesystem::path cache;
};

class BrowserLocations {
public:
    explicit BrowserLocations(const platform::Platform& platform) : platform_(platform) {}

    // macos: the application bundle under <root>/Applications (links followed). linux: one of the
    // browser's usual executables under the root (a link counts without being followed, see
    // BrowserLocations.cpp), or its Flatpak (the app's folder under ~/.var/app with its exported
    // launcher in the system or user installation) or its Snap (<root>/snap/bin/<name>). Safari is
    // never installed in the linux layout.
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
    // Every Firefox profile: macos the one firefoxProfile() finds; linux every profile that a
    // profiles.ini lists (else the first ".default" folder) in the native, Flatpak and Snap
    // profiles folders, each with the cache folder of its installation.
    std::vector<FirefoxProfile> firefoxProfiles() const;
    // "Cache" (macos) or "cache2" (linux): the web cache inside the cache profile.
    std::string firefoxWebCacheName() const;

    // Chrome-family "Default" profile and cache folder of the native install (any browser outside
    // the family throws std::invalid_argument, as do the lists below).
    std::filesystem::path chromeProfile(Browser browser) const;
    std::filesystem::path chromeCache(Browser browser) const;
    // Every profile folder of the browser: macos the "Default" profile when it is a folder; linux
    // "Default" and every "Profile <N>" (real folders) of the native, Flatpak and Snap data
    // folders, "Default" first, then by number.
    std::vector<std::filesystem::path> chromeProfiles(Browser browser) const;
    // The cache folders: macos chromeCache(); linux the native, Flatpak and Snap ones.
    std::vector<std::filesystem::path> chromeCaches(Browser browser) const;

    std::filesystem::path operaData() const;
    std::filesystem::path operaWebCache() const;

    // Safari (offered in the macos layout only; the linux layout answers the same folders under
    // the home, and browserInstalled(Safari) is always false there).
    std::filesystem::path safariFolder() const;
    std::filesystem::path safariCaches() const;
    // The Cookies.binarycookies candidates, in the order they are looked at.
    std::vector<std::filesystem::path> safariCookieFiles() const;

private:
    // linux: the exported launcher of the browser's Flatpak when the app's folder exists.
    std::optional<std::filesystem::path> flatpakLauncher(Browser browser) const;
    // ~/.var/app/<id> and ~/snap/<name>.
    std::filesystem::path flatpakApp(const std::string& id) const;
    std::filesystem::path snapFolder(const std::string& name) const;

    const platform::Platform& platform_;
};

} // namespace tpc::browsers
