#include "erase/FolderEntries.h"

#include "erase/FileWalk.h"

#include <algorithm>
#include <sys/stat.h>

namespace tpc::erase {

namespace fs = std::filesystem;

bool entryExists(const fs::path& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0;
}

bool isRealFolder(const fs::path& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::vector<std::string> topLevelEntries(const fs::path& folder) {
    std::vector<std::string> out;
    std::string parent, name;
    if (!splitItemPath(folder.string(), parent, name))
        return out;
    // Opened without following a link, so what is listed is the folder that was checked.
    auto parentFd = openLookupFolder(parent);
    if (!parentFd)
        return out;
    auto folderFd = openSubfolder(parentFd.get(), name);
    if (!folderFd)
        return out;
    std::vector<std::string> names;
    int error = 0;
    if (!listFolder(folderFd.get(), names, error))
        return out;
    std::sort(names.begin(), names.end());
    const auto base = fs::path(parent) / name;
    for (const auto& entry : names)
        out.push_back((base / entry).string());
    return out;
}

} // namespace tpc::erase
