#include "browsers/chrome/ChromiumFiles.h"

#include "erase/FolderEntries.h"
#include "erase/TreeMeasure.h"

#include <algorithm>
#include <sys/stat.h>

namespace tpc::browsers::chromium {

namespace {

bool contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

bool itemExists(const fs::path& path) {
    std::error_code ec;
    return fs::exists(fs::symlink_status(path, ec));
}

bool isFolder(const fs::path& path) {
    std::error_code ec;
    return fs::is_directory(fs::status(path, ec));
}

bool isStoreFile(const fs::path& path) {
    std::error_code ec;
    return fs::is_regular_file(fs::symlink_status(path, ec));
}

std::uint64_t itemSize(const fs::path& path) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0)
        return 0;
    return static_cast<std::uint64_t>(st.st_size);
}

void addPair(CountPair& total, const CountPair& part) {
    total.count += part.count;
    auto size = static_cast<std::uint32_t>(total.size) + static_cast<std::uint32_t>(part.size);
    total.size = static_cast<std::int32_t>(size);
}

CountPair countFolderEntries(const fs::path& folder, const std::vector<std::string>& skipped) {
    const auto totals = erase::measureFolder(folder.string(), skipped);
    CountPair pair;
    // Sizes are summed in 64 bits and kept modulo 2^32, as adding them one by one in 32 would.
    addPair(pair, CountPair{static_cast<std::int64_t>(totals.count),
                            static_cast<std::int64_t>(static_cast<std::uint32_t>(totals.bytes))});
    return pair;
}

std::vector<std::string> entryNames(const fs::path& folder,
                                    const std::function<bool(const std::string&)>& accept) {
    std::vector<std::string> names;
    if (!isFolder(folder))
        return names;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec); !ec && it != fs::directory_iterator();
         it.increment(ec)) {
        auto name = it->path().filename().string();
        if (accept(name))
            names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> topLevelEntries(const fs::path& folder,
                                         const std::vector<std::string>& skipped) {
    auto paths = erase::topLevelEntries(folder);
    std::erase_if(paths, [&](const std::string& path) {
        return contains(skipped, fs::path(path).filename().string());
    });
    return paths;
}

} // namespace tpc::browsers::chromium
