// The two Firefox cache items: the web cache folder of the cache profile, and everything else in
// that profile. Walks never follow a link; removal goes through the deletion engine.

#include "browsers/firefox/FirefoxCleaner.h"
#include "browsers/firefox/FirefoxStores.h"
#include "erase/Deleter.h"
#include "fs/Entries.h"
#include "fs/Folders.h"
#include "fs/TreeMeasure.h"
#include "platform/Platform.h"

namespace tpc::browsers {

namespace fs = std::filesystem;

namespace {

CountPair pairOf(const tpc::fs::TreeTotals& totals) {
    return CountPair{static_cast<std::int64_t>(totals.count),
                     static_cast<std::int64_t>(totals.bytes)};
}

} // namespace

std::string FirefoxCleaner::webCacheName() const {
    return env_.locations().firefoxWebCacheName();
}

std::optional<fs::path> FirefoxCleaner::cacheProfile() const {
    auto folder = inUse_ ? std::optional(inUse_->cache) : env_.locations().firefoxCacheProfile();
    if (!folder || !tpc::fs::isFolderNoFollow(*folder))
        return std::nullopt;
    return folder;
}

CountPair FirefoxCleaner::countFirefoxInternetCaches() {
    auto folder = cacheProfile();
    if (!folder)
        return {};
    return pairOf(tpc::fs::measureFolderNoFollow((*folder / webCacheName()).string()));
}

void FirefoxCleaner::deleteFirefoxInternetCaches() {
    auto folder = cacheProfile();
    if (!folder || !tpc::fs::entryExists(*folder / webCacheName()))
        return;
    env_.deleter.deleteFiles({(*folder / webCacheName()).string()});
}

CountPair FirefoxCleaner::countFirefoxAppCaches() {
    auto folder = cacheProfile();
    if (!folder)
        return {};
    return pairOf(tpc::fs::measureFolderNoFollow(folder->string(), {webCacheName()}));
}

void FirefoxCleaner::deleteFirefoxAppCaches() {
    auto folder = cacheProfile();
    if (!folder)
        return;
    auto paths = tpc::fs::listFolderNoFollow(*folder);
    const std::string webCache = webCacheName();
    std::erase_if(paths,
                  [&](const std::string& path) { return fs::path(path).filename() == webCache; });
    if (!paths.empty())
        env_.deleter.deleteFiles(paths);
}

} // namespace tpc::browsers
