// The two Firefox cache items: the web cache folder of the cache profile, and everything else in
// that profile. Walks never follow a link; removal goes through the deletion engine.

#include "browsers/firefox/FirefoxCleaner.h"
#include "browsers/firefox/FirefoxStores.h"
#include "erase/Deleter.h"
#include "platform/Platform.h"

#include <algorithm>
#include <sys/stat.h>

namespace tpc::browsers {

namespace fs = std::filesystem;

namespace {

std::int64_t entrySize(const fs::path& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0 ? static_cast<std::int64_t>(st.st_size) : 0;
}

// Every entry below `folder` (not the folder itself) adds 1 and its size; a top-level entry
// named `skip` is left out together with everything beneath it.
CountPair walk(const fs::path& folder, const std::string& skip = {}) {
    CountPair pair;
    std::error_code ec;
    fs::recursive_directory_iterator it(folder, fs::directory_options::skip_permission_denied, ec);
    for (fs::recursive_directory_iterator end; !ec && it != end; it.increment(ec)) {
        if (!skip.empty() && it.depth() == 0 && it->path().filename() == skip) {
            it.disable_recursion_pending();
            continue;
        }
        pair.count += 1;
        pair.size += entrySize(it->path());
    }
    return pair;
}

} // namespace

std::string FirefoxCleaner::webCacheName() const {
    return env_.platform.firefoxWebCacheName();
}

std::optional<fs::path> FirefoxCleaner::cacheProfile() const {
    auto folder = env_.platform.firefoxCacheProfile();
    if (!folder || !firefox::isFolder(*folder))
        return std::nullopt;
    return folder;
}

CountPair FirefoxCleaner::countFirefoxInternetCaches() {
    auto folder = cacheProfile();
    if (!folder || !firefox::isFolder(*folder / webCacheName()))
        return {};
    return walk(*folder / webCacheName());
}

void FirefoxCleaner::deleteFirefoxInternetCaches() {
    auto folder = cacheProfile();
    if (!folder || !firefox::existsAsEntry(*folder / webCacheName()))
        return;
    env_.deleter.deleteFiles({(*folder / webCacheName()).string()});
}

CountPair FirefoxCleaner::countFirefoxAppCaches() {
    auto folder = cacheProfile();
    if (!folder)
        return {};
    return walk(*folder, webCacheName());
}

void FirefoxCleaner::deleteFirefoxAppCaches() {
    auto folder = cacheProfile();
    if (!folder)
        return;
    std::vector<std::string> paths;
    std::error_code ec;
    for (fs::directory_iterator it(*folder, ec), end; !ec && it != end; it.increment(ec))
        if (it->path().filename() != webCacheName())
            paths.push_back(it->path().string());
    std::sort(paths.begin(), paths.end());
    env_.deleter.deleteFiles(paths);
}

} // namespace tpc::browsers
