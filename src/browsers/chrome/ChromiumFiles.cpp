#include "browsers/chrome/ChromiumFiles.h"

#include "fs/Folders.h"
#include "fs/TreeMeasure.h"

#include <algorithm>

namespace tpc::browsers::chromium {

namespace {

bool contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

void addPair(CountPair& total, const CountPair& part) {
    total.count += part.count;
    auto size = static_cast<std::uint32_t>(total.size) + static_cast<std::uint32_t>(part.size);
    total.size = static_cast<std::int32_t>(size);
}

CountPair countFolderEntries(const fs::path& folder, const std::vector<std::string>& skipped) {
    const auto totals = tpc::fs::measureFolderNoFollow(folder.string(), skipped);
    CountPair pair;
    // Sizes are summed in 64 bits and kept modulo 2^32, as adding them one by one in 32 would.
    addPair(pair, CountPair{static_cast<std::int64_t>(totals.count),
                            static_cast<std::int64_t>(static_cast<std::uint32_t>(totals.bytes))});
    return pair;
}

std::vector<std::string> entryNames(const fs::path& folder,
                                    const std::function<bool(const std::string&)>& accept) {
    auto names = tpc::fs::folderNamesFollowingLinks(folder);
    std::erase_if(names, [&](const std::string& name) { return !accept(name); });
    return names;
}

std::vector<std::string> topLevelEntries(const fs::path& folder,
                                         const std::vector<std::string>& skipped) {
    auto paths = tpc::fs::listFolderNoFollow(folder);
    std::erase_if(paths, [&](const std::string& path) {
        return contains(skipped, fs::path(path).filename().string());
    });
    return paths;
}

} // namespace tpc::browsers::chromium
