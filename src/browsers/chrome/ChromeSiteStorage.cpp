// The Chrome family's "Site Storage" item (linux layout): per-origin IndexedDB folders
// ("<origin>.indexeddb.leveldb" and ".indexeddb.blob") of every profile, each kept with its
// host; and the stores every site shares (Local Storage, Session Storage, the service worker
// caches, whose per-origin folders are hashed, and File System).

#include "browsers/SiteStorage.h"
#include "browsers/chrome/ChromeCleaner.h"
#include "browsers/chrome/ChromiumFiles.h"
#include "fs/Entries.h"
#include "fs/Folders.h"

#include <initializer_list>

namespace tpc::browsers {

namespace fs = std::filesystem;

namespace {

const char* const kChromeIndexedDbSuffixes[] = {".indexeddb.leveldb", ".indexeddb.blob"};

// The shared stores, each as its path below the profile.
const std::initializer_list<const char*> kChromeSharedStores[] = {
    {"Local Storage", "leveldb"},
    {"Session Storage"},
    {"Service Worker", "CacheStorage"},
    {"Service Worker", "ScriptCache"},
    {"File System"}};

// `profile`/`names...` when every folder on the way below the profile is a real folder (never a
// link) and the last entry exists.
std::optional<fs::path> chromeStoreBelow(const fs::path& profile,
                                         std::initializer_list<const char*> names) {
    auto path = profile;
    std::size_t left = names.size();
    for (const char* name : names) {
        path /= name;
        if (--left > 0 && !tpc::fs::isFolderNoFollow(path))
            return std::nullopt;
    }
    return tpc::fs::entryExists(path) ? std::optional(path) : std::nullopt;
}

} // namespace

SiteStorage ChromeCleaner::siteStorage() const {
    SiteStorage storage(env_.cookies, CookieBrowser::Chrome);
    for (const auto& profile : profiles()) {
        for (const auto& path : tpc::fs::listFolderNoFollow(profile / "IndexedDB")) {
            const auto name = fs::path(path).filename().string();
            for (const std::string suffix : kChromeIndexedDbSuffixes) {
                if (name.size() <= suffix.size() ||
                    name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0)
                    continue;
                if (auto host = chromiumOriginHost(name.substr(0, name.size() - suffix.size())))
                    storage.addOrigin(path, *host);
            }
        }
        for (const auto& names : kChromeSharedStores)
            if (auto store = chromeStoreBelow(profile, names))
                storage.addShared(*store);
    }
    return storage;
}

CountPair ChromeCleaner::countChromeSiteStorage() {
    CountPair total;
    chromium::addPair(total, siteStorage().measure());
    return total;
}

void ChromeCleaner::deleteChromeSiteStorage() {
    siteStorage().remove(env_, browserName());
}

} // namespace tpc::browsers
