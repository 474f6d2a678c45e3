#include "extensions/DiskSize.h"

#include "core/SystemLog.h"
#include "core/Utf8.h"
#include "fs/Entries.h"
#include "fs/Folders.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <vector>

namespace tpc::extensions {

namespace {

constexpr std::uint64_t kFallbackBlockSize = 4096;
// Paths as long as this, or longer, are not asked about (the block size above is used instead).
constexpr std::size_t kLongestAskedPath = 512;

// The rounded sizes of everything below the open folder `dirFd`.
std::uint64_t blocksBelow(int dirFd, std::uint64_t block) {
    std::vector<std::string> names;
    int error = 0;
    tpc::fs::listOpenFolder(dirFd, names, error);
    std::uint64_t total = 0;
    for (const auto& name : names) {
        struct stat st {};
        if (::fstatat(dirFd, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0)
            continue;
        if (S_ISDIR(st.st_mode)) {
            // A folder that cannot be opened (no permission, swapped for a link) adds nothing.
            if (auto sub = tpc::fs::openSubfolderNoFollow(dirFd, name))
                total += blocksBelow(sub.get(), block);
            continue;
        }
        total += roundUpToBlocks(static_cast<std::uint64_t>(st.st_size), block);
    }
    return total;
}

std::uint64_t folderBlocks(const std::filesystem::path& folder, std::uint64_t block) {
    std::string parent, name;
    if (!tpc::fs::splitItemPath(folder.string(), parent, name))
        return 0;
    auto parentFd = tpc::fs::openFolderFollowingLinks(parent);
    if (!parentFd)
        return 0;
    auto fd = tpc::fs::openSubfolderNoFollow(parentFd.get(), name);
    return fd ? blocksBelow(fd.get(), block) : 0;
}

} // namespace

std::uint64_t roundUpToBlocks(std::uint64_t size, std::uint64_t block) {
    if (block == 0 || size % block == 0)
        return size;
    return (size / block + 1) * block;
}

std::uint64_t blockSizeForPath(const std::filesystem::path& path, core::SystemLog* log) {
    const std::string& text = path.native();
    if (text.size() >= kLongestAskedPath || !core::isValidUtf8(text) ||
        text.find('\0') != std::string::npos)
        return kFallbackBlockSize;
    struct statfs st {};
    if (::statfs(text.c_str(), &st) != 0) {
        if (log)
            log->log("statfs failed: " + core::displayText(text) + ": " + std::strerror(errno));
        return 0;
    }
    return st.f_bsize > 0 ? static_cast<std::uint64_t>(st.f_bsize) : 0;
}

std::uint64_t onDiskSizeForPath(const std::filesystem::path& path, core::SystemLog* log) {
    // Asked as the desktop's file manager asks: a link that leads nowhere is not there.
    if (!tpc::fs::existsFollowingLinks(path))
        return 0;
    const std::uint64_t block = blockSizeForPath(path, log);
    if (tpc::fs::isFolderNoFollow(path))
        return folderBlocks(path, block);
    return roundUpToBlocks(tpc::fs::entrySizeNoFollow(path), block);
}

} // namespace tpc::extensions
