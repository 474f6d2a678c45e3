#pragma once
// The Chrome family (Google Chrome, Chromium, Brave, Vivaldi, Microsoft Edge): history (with the
// archived history and the full-text index files), cookies not kept, the web and session-storage
// caches, the session and tab files, saved form data, saved logins, site icons and top-site
// thumbnails of every profile (macos: the "Default" profile). One class serves the whole family;
// only the folders, the bundle identifier and the name differ. The linux
// layout reaches the stores as today's releases keep them (see ChromeCurrentItems.cpp) and
// reports a store the running browser holds locked.

#include "browsers/CleanerEnv.h"
#include "browsers/StoreTables.h"
#include "browsers/sqlite/SQLite.h"
#include "platform/Platform.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tpc::browsers {

class SiteStorage;

class ChromeCleaner {
public:
    // `which` is a Chrome-family browser (anything else throws std::invalid_argument).
    ChromeCleaner(CleanerEnv env, Browser which);

    Browser browser() const { return which_; }
    // "Google Chrome", "Chromium", "Brave", "Vivaldi" or "Microsoft Edge".
    const char* browserName() const;
    // "com.google.Chrome", "org.chromium.Chromium", "com.brave.Browser", "com.vivaldi.Vivaldi"
    // or "com.microsoft.edgemac".
    const char* bundleIdentifier() const;

    // Counts: [count, size]; [0, 0] when the profile or the store is missing.
    CountPair countChromeCookies();
    CountPair countChromeHistory();
    CountPair countChromeCaches();
    CountPair countChromeCurrentSession();
    CountPair countChromeCurrentTabs();
    CountPair countChromeSavedFormInformation();
    CountPair countChromeSavedPasswords();
    CountPair countChromeLastSession();
    CountPair countChromeLastTabs();
    CountPair countChromeSiteIcons();
    CountPair countChromeTopSites();
    // "Site Storage" (linux layout): IndexedDB of the hosts not kept, and the shared web storage
    // while the keep list is empty (ChromeSiteStorage.cpp).
    CountPair countChromeSiteStorage();

    // Deletes: nothing when the profile or the store is missing.
    void deleteChromeCookies();
    void deleteChromeHistory();
    void deleteChromeCaches();
    void deleteChromeCurrentSession();
    void deleteChromeCurrentTabs();
    void deleteChromeSavedFormInformation();
    void deleteChromeSavedPasswords();
    void deleteChromeLastSession();
    void deleteChromeLastTabs();
    void deleteChromeSiteIcons();
    void deleteChromeTopSites();
    void deleteChromeSiteStorage();

    // Asks every running instance of the browser to quit.
    void quitChrome();
    // Rebuilds the Chrome cookie delete list (Chromium shares it) from the store's hosts.
    void refreshChromeCookiesList();

    // The item operations by the row's "Description" ("Internet History", ..., "Auto Quit
    // Chrome"; also "Auto Quit <Name>" for each browser of the family). countItem answers nullopt
    // for an unknown name and for the auto-quit item; deleteItem answers false for an unknown name.
    std::optional<CountPair> countItem(const std::string& description);
    bool deleteItem(const std::string& description);
    // The item Descriptions in catalogue order, "Auto Quit Chrome" last.
    static const std::vector<std::string>& itemDescriptions();

    // Store tables, in the order they are counted and emptied.
    static const std::vector<std::string>& archivedHistoryTables();
    static const std::vector<std::string>& historyTables();
    static const std::vector<std::string>& historyIndexTables();
    static const std::vector<std::string>& webDataTables();
    static const std::vector<std::string>& faviconsTables();

private:
    // The data kinds of the linux layout's stores as today's releases keep them
    // (ChromeCurrentItems.cpp).
    enum class Current { History, FormData, Passwords, SiteIcons, TopSites };
    enum class SessionFile { CurrentSession, CurrentTabs, LastSession, LastTabs };
    bool currentLayout() const;
    std::vector<std::pair<std::filesystem::path, std::vector<stores::TableRows>>>
    currentStores(Current kind, const std::filesystem::path& profile) const;
    CountPair countCurrent(Current kind);
    void emptyCurrent(Current kind);
    // The session files of one kind: the legacy file in the profile and, in "Sessions" and
    // "Sessions_Encrypted", the newest "Session_*" or "Tabs_*" (current) or the older ones (last).
    std::vector<std::filesystem::path> sessionFiles(SessionFile which) const;
    void addSessionFiles(SessionFile which, const std::filesystem::path& profile,
                         std::vector<std::filesystem::path>& files) const;
    CountPair countSessionFiles(SessionFile which);
    void deleteSessionFiles(SessionFile which);

    // Every profile folder that exists (BrowserLocations::chromeProfiles): each item runs over
    // all of them and sums their counts.
    std::vector<std::filesystem::path> profiles() const;
    // The cookie stores of every profile.
    std::vector<std::filesystem::path> allCookieStores() const;
    // "Archived History", "History" and every "History Index ..." database, in that order.
    std::vector<std::pair<std::filesystem::path, const std::vector<std::string>*>>
    historyStores(const std::filesystem::path& profile) const;
    CountPair countTablesIn(const char* store, const std::vector<std::string>& tables) const;
    void emptyTablesIn(const char* store, const std::vector<std::string>& tables);
    CountPair countFile(const char* name) const;
    // What "Site Storage" removes from every profile.
    SiteStorage siteStorage() const;
    void deleteFile(const char* name);

    CleanerEnv env_;
    Browser which_;
};

} // namespace tpc::browsers
