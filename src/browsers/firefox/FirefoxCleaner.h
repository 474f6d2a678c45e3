#pragma once
// Firefox's traces in the user's Firefox profile: visit history (keeping the hosts of bookmarked
// pages), the web cache and the other cache files, cookies (except kept ones), finished
// downloads, saved form entries, saved logins, site preferences and the saved session.
// Every count answers [count, size], [0, 0] when anything it needs is missing; every delete
// leaves everything alone when its store is missing. The cookie, download, form, password and
// site-preference deletes end by rebuilding the Firefox cookie delete list, also when they found
// nothing to do. The linux layout reaches the stores as today's releases keep them.

#include "browsers/CleanerEnv.h"
#include "browsers/sqlite/SQLite.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tpc::browsers {

class SiteStorage;

class FirefoxCleaner {
public:
    static constexpr const char* kBundleIdentifier = "org.mozilla.firefox";

    explicit FirefoxCleaner(CleanerEnv env);

    // "Internet History" (places.sqlite).
    CountPair countFirefoxInternetHistory();
    void deleteFirefoxInternetHistory();
    // "Internet Cache": the web cache folder of the cache profile.
    CountPair countFirefoxInternetCaches();
    void deleteFirefoxInternetCaches();
    // "Cookies" (cookies.sqlite).
    CountPair countFirefoxCookies();
    void deleteFirefoxCookies();
    // "Download History" (downloads.sqlite): every row counts, only finished ones go.
    CountPair countFirefoxDownloadHistory();
    void deleteFirefoxDownloadHistory();
    // "Saved Form Information" (formhistory.sqlite).
    CountPair countFirefoxFormHistory();
    void deleteFirefoxFormHistory();
    // "Saved Passwords" (signons.sqlite).
    CountPair countFirefoxSignOns();
    void deleteFirefoxSignons();
    // "Sessions" (sessionstore.js, sessionstore.bak).
    CountPair countFirefoxSessions();
    void deleteFirefoxSessions();
    // "Site Preferences" (content-prefs.sqlite).
    CountPair countFirefoxSitePrefs();
    void deleteFirefoxSitePrefs();
    // "Application Cache": everything in the cache profile except the web cache.
    CountPair countFirefoxAppCaches();
    void deleteFirefoxAppCaches();
    // "Site Storage" (linux layout): the folders of "storage/default" whose host is not kept
    // (FirefoxSiteStorage.cpp).
    CountPair countFirefoxSiteStorage();
    void deleteFirefoxSiteStorage();
    // "Auto Quit Firefox": asks every running Firefox to quit; neither waits nor forces.
    void quitFirefox();

    // Rebuilds the Firefox delete list from the hosts of every profile's cookies.
    void refreshFirefoxCookiesList();

    // Runs `op` once for each Firefox profile with that profile in use: on the linux layout every
    // profile BrowserLocations::firefoxProfiles() finds; on macos, and when none is found, once
    // on the default profile. The operations above work on the profile in use.
    void forEachProfile(const std::function<void()>& op);

private:
    // The linux layout's stores as today's releases keep them (FirefoxCurrentItems.cpp): history
    // with origins, annotations and page icons, downloads as annotations of places, logins in
    // "logins.json", sessions compressed and in "sessionstore-backups". Stores the running
    // browser holds locked are reported (BusyStores.h).
    bool currentLayout() const;
    // Whether places.sqlite has today's layout (moz_origins instead of moz_hosts).
    bool placesHaveOrigins() const;
    CountPair countCurrentHistory();
    void deleteCurrentHistory();
    CountPair countCurrentDownloads();
    void deleteCurrentDownloads();
    CountPair countCurrentFormHistory();
    void deleteCurrentFormHistory();
    CountPair countCurrentLogins();
    void deleteCurrentLogins();
    CountPair countCurrentSessions();
    void deleteCurrentSessions();

    // The profile in use (the default profile outside forEachProfile) when it is a real folder.
    std::optional<std::filesystem::path> profileFolder() const;
    // The profile's store `name` when it is a regular file.
    std::optional<std::filesystem::path> store(const char* name) const;
    // Folders of the cache profile: the folder and its web cache, when they exist.
    std::optional<std::filesystem::path> cacheProfile() const;
    std::string webCacheName() const;
    // What "Site Storage" removes from the profile in use.
    SiteStorage siteStorage() const;

    // The count pair of `sqls` run on `store`, added; [0, 0] when all fail or it is missing.
    CountPair countTables(const char* store, const std::vector<const char*>& sqls) const;
    void logFailedQuery(const std::string& sql, const std::string& code);

    CleanerEnv env_;
    std::optional<FirefoxProfile> inUse_;
};

} // namespace tpc::browsers
