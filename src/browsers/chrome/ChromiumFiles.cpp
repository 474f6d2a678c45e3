#include "browsers/chrome/ChromiumFiles.h"

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
    CountPair pair;
    if (!isFolder(folder))
        return pair;
    std::error_code ec;
    fs::recursive_directory_iterator it(folder, fs::directory_options::skip_permission_denied, ec);
    for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        const auto& path = it->path();
        if (contains(skipped, path.lexically_relative(folder).string()))
            continue;
        addPair(pair, CountPair{1, static_cast<std::int64_t>(itemSize(path))});
    }
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
    std::vector<std::string> paths;
    for (const auto& name :
         entryNames(folder, [&](const std::string& n) { return !contains(skipped, n); }))
        paths.push_back((folder / name).string());
    return paths;
}

} // namespace tpc::browsers::chromium
