#pragma once
// "Site Storage": what web sites keep in a browser profile besides cookies and the cache
// (IndexedDB databases, Local Storage, Session Storage, service worker caches, file systems).
// A folder that belongs to one origin stays when the origin's host is kept by the browser's
// cookie keep list, as its cookies would, and so do its records in the browser's own bookkeeping
// tables. Local Storage is split by host inside its database. The other stores every site shares
// cannot be split by host, so they go only while the keep list is empty; otherwise they stay and
// the clean logs one line naming them. When the keep list could not be read nothing is removed
// at all.

#include "browsers/CleanerEnv.h"
#include "browsers/CookieLists.h"
#include "browsers/sqlite/SQLite.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tpc::browsers {

// The host of a Chromium origin identifier ("https_example.com_0" gives "example.com"); nullopt
// for anything but an http or https origin (extension and file storage is not site data).
std::optional<std::string> chromiumOriginHost(const std::string& origin);
// The host of a Firefox origin folder name ("https+++example.com", "http+++example.com+8080",
// "https+++example.com^userContextId=1"; an IPv6 host keeps its brackets with ':' restored);
// nullopt for anything but an http or https origin.
std::optional<std::string> firefoxOriginHost(const std::string& folderName);

// What one clean of a browser's site storage removes, gathered over its profiles.
class SiteStorage {
public:
    SiteStorage(const CookieLists& cookies, CookieBrowser list);

    // The cookie keep list's rule: the host, without leading dots, is on the list.
    bool hostKept(const std::string& host) const;
    // An origin's own folder (or file): removed unless its host is kept.
    void addOrigin(const std::filesystem::path& entry, const std::string& host);
    // A store every site shares: removed only while nothing is kept.
    void addShared(const std::filesystem::path& store);
    // A Local Storage database every site shares: the whole store goes while nothing is kept,
    // otherwise the keys of the hosts not kept (LevelDbKeys.h).
    void addLocalStorage(const std::filesystem::path& db);
    // A table of the browser's own records of each site's storage: the rows whose `column` (a
    // host, or an origin when `origins`) names a host not kept go with that storage.
    void addSiteRows(const std::filesystem::path& store, std::string table, std::string column,
                     bool origins);

    const std::vector<std::filesystem::path>& removed() const { return removed_; }
    const std::vector<std::filesystem::path>& sharedKept() const { return sharedKept_; }

    // One item per entry removed, with everything under it, measured without following links.
    CountPair measure() const;
    // Hands what goes to the deleter in one call, then logs the shared stores kept and why (or,
    // when the keep list could not be read, that nothing was deleted).
    void remove(const CleanerEnv& env, const std::string& browserName) const;

private:
    const CookieLists& cookies_;
    CookieBrowser list_;
    bool readable_;
    bool keepsAny_;
    std::vector<std::filesystem::path> removed_;
    std::vector<std::filesystem::path> sharedKept_;
    struct SiteRows {
        std::filesystem::path store;
        std::string table;
        std::string column;
        bool origins;
    };
    std::vector<SiteRows> siteRows_;
    std::vector<std::filesystem::path> localStorage_;
};

} // namespace tpc::browsers
