#pragma once
// Safari's traces in the user's Library: visit history (History.db, or the older History.plist
// with its full-text index HistoryIndex.sk), the web cache folder, cookies not kept, the download
// list (Downloads.plist), and quitting Safari. Every count answers [count, size], [0, 0] when
// anything it needs is missing; every delete leaves everything alone when its store is missing.
//
// The cookie store is the Cookies.binarycookies files themselves (the one in ~/Library/Cookies
// and the one in Safari's container, whichever exist). A file that cannot be read whole is
// damaged: it counts nothing and is never rewritten. A clean rewrites a file atomically, without
// the cookies whose domain is not kept, and leaves every other cookie exactly as it was.

#include "browsers/CleanerEnv.h"
#include "browsers/sqlite/SQLite.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tpc::browsers {

class SafariCleaner {
public:
    static constexpr const char* kBundleIdentifier = "com.apple.Safari";

    explicit SafariCleaner(CleanerEnv env);

    // "Internet History": the rows of history_items in History.db with the database's size (both
    // in 32 bits; size 0 without rows), else the entries of "WebHistoryDates" in History.plist
    // with the sizes of History.plist and HistoryIndex.sk.
    CountPair countSafariHistory();
    // Empties the four History.db tables (the file stays), and removes History.plist and
    // HistoryIndex.sk.
    void deleteSafariHistory();
    // "Internet Cache": every entry below the cache folder, at any depth, adds 1 and its size;
    // the folder's own size counts too.
    CountPair countSafariCaches();
    void deleteSafariCaches();
    // "Cookies": per cookie file, the cookies and the file's size (0 cookies: [0, 0]).
    CountPair countSafariCookies();
    void deleteSafariCookies();
    // "Download History": the entries of "DownloadHistory" in Downloads.plist, and its size.
    CountPair countSafariDownloadsHistory();
    void deleteSafariDownloadHistory();
    // "Auto Quit Safari": asks every running Safari to quit; neither waits nor forces.
    void quitSafari();

    // Rebuilds the Safari cookie delete list from the domains of the cookie files.
    void refreshSafariCookiesList();

    // The item operations by the row's "Description" ("Internet History", ..., "Auto Quit
    // Safari"). countItem answers nullopt for an unknown name and for the auto-quit item;
    // deleteItem answers false for an unknown name.
    std::optional<CountPair> countItem(const std::string& description);
    bool deleteItem(const std::string& description);
    // The item Descriptions in catalogue order, "Auto Quit Safari" last.
    static const std::vector<std::string>& itemDescriptions();

private:
    // The Safari folder when it exists.
    std::optional<std::filesystem::path> safariFolder() const;
    // Entry `name` of the Safari folder when it is a regular file (a link counts as missing).
    std::optional<std::filesystem::path> store(const char* name) const;
    // Rewrites one cookie file without the cookies that are not kept.
    void deleteCookiesIn(const std::filesystem::path& file);

    CleanerEnv env_;
};

} // namespace tpc::browsers
