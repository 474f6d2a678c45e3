#pragma once
// Opera: history, downloads, the web and GPU caches, cookies not kept, saved form data, saved
// logins, the session database, the stash and the thumbnails database, all in the one data folder
// (no profile level). The stores are those of the Chrome family, counted on fewer tables than are
// emptied.

#include "browsers/CleanerEnv.h"
#include "browsers/sqlite/SQLite.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tpc::browsers {

class OperaCleaner {
public:
    explicit OperaCleaner(CleanerEnv env);

    // Counts: [count, size]; [0, 0] when the data folder or the store is missing.
    CountPair countOperaCookies();
    // The "History" pair when that store exists, otherwise the "Archived History" pair.
    CountPair countOperaInternetHistory();
    CountPair countOperaDownloadHistory();
    CountPair countOperaFormHistory();
    CountPair countOperaSignOns();
    // Both session tables must answer; the count is the windows, the size both tables' cells.
    CountPair countOperaSessions();
    CountPair countOperaInternetCaches();
    CountPair countOperaAppCaches();
    CountPair countOperaStash();
    CountPair countOperaThumbs();
    // Firefox's site preferences ("content-prefs.sqlite" of the Firefox profile), reached by no
    // Opera row.
    CountPair countOperaSitePrefs();

    void deleteOperaCookies();
    void deleteOperaInternetHistory();
    void deleteOperaDownloadHistory();
    void deleteOperaFormHistory();
    void deleteOperaSignons();
    // Empties "session.db" and removes "session.dbak", the latter even without "session.db".
    void deleteOperaSessions();
    void deleteOperaInternetCaches();
    void deleteOperaAppCaches();
    void deleteOperaStash();
    void deleteOperaThumbs();
    // Empties Firefox's site preferences and refreshes the Firefox cookie lists.
    void deleteOperaSitePrefs();

    void quitOpera();
    void refreshOperaCookiesList();

    // The item operations by the row's "Description" ("Internet History", ..., "Auto Quit
    // Opera"; "Site Preferences" too, although no Opera row has it). countItem answers nullopt
    // for an unknown name and for the auto-quit item; deleteItem answers false for an unknown
    // name.
    std::optional<CountPair> countItem(const std::string& description);
    bool deleteItem(const std::string& description);
    // The Descriptions of the Opera rows in catalogue order, "Auto Quit Opera" last.
    static const std::vector<std::string>& itemDescriptions();

private:
    // The data folder when it exists.
    std::optional<std::filesystem::path> dataFolder() const;
    CountPair countStore(const char* store, const std::vector<std::string>& selects) const;
    // Runs each statement alone; a failure logs "SQLite failed query: <statement> errorCode: ..".
    void deleteOneAtATime(const std::filesystem::path& store, const std::vector<std::string>& sqls);
    // One batch without a log line, then the Opera cookie lists are refreshed.
    void deleteBatch(const char* store, const std::vector<std::string>& sqls);
    std::vector<std::filesystem::path> cookieStores() const;
    void refreshFirefoxCookiesList();

    CleanerEnv env_;
};

} // namespace tpc::browsers
