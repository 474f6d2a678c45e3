// Firefox's "Site Storage" item (linux layout): the per-origin folders of "storage/default" in
// the profile in use ("https+++example.com", "https+++example.com^userContextId=1", ...), each
// kept with its host. "storage/permanent" (the browser's own data) and "storage/temporary" are
// left alone.

#include "browsers/SiteStorage.h"
#include "browsers/firefox/FirefoxCleaner.h"
#include "browsers/firefox/FirefoxStores.h"
#include "fs/Entries.h"
#include "fs/Folders.h"

namespace tpc::browsers {

namespace fs = std::filesystem;

SiteStorage FirefoxCleaner::siteStorage() const {
    SiteStorage storage(env_.cookies, CookieBrowser::Firefox);
    auto profile = profileFolder();
    if (!profile || !tpc::fs::isFolderNoFollow(*profile / "storage"))
        return storage;
    for (const auto& path : tpc::fs::listFolderNoFollow(*profile / "storage" / "default"))
        if (auto host = firefoxOriginHost(fs::path(path).filename().string()))
            storage.addOrigin(path, *host);
    return storage;
}

CountPair FirefoxCleaner::countFirefoxSiteStorage() {
    return firefox::add32({}, siteStorage().measure());
}

void FirefoxCleaner::deleteFirefoxSiteStorage() {
    siteStorage().remove(env_, "Firefox");
}

} // namespace tpc::browsers
