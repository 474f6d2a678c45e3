#include "fs/Entries.h"

#include <sys/stat.h>

namespace tpc::fs {

namespace {

// The entry's own attributes; false when they cannot be read.
bool lookNoFollow(const std::filesystem::path& path, struct stat& st) {
    return ::lstat(path.c_str(), &st) == 0;
}

bool lookFollowingLinks(const std::filesystem::path& path, struct stat& st) {
    return ::stat(path.c_str(), &st) == 0;
}

} // namespace

bool entryExists(const std::filesystem::path& path) {
    struct stat st {};
    return lookNoFollow(path, st);
}

bool existsFollowingLinks(const std::filesystem::path& path) {
    struct stat st {};
    return lookFollowingLinks(path, st);
}

bool isLink(const std::filesystem::path& path) {
    struct stat st {};
    return lookNoFollow(path, st) && S_ISLNK(st.st_mode);
}

bool isFolderNoFollow(const std::filesystem::path& path) {
    struct stat st {};
    return lookNoFollow(path, st) && S_ISDIR(st.st_mode);
}

bool isFolderFollowingLinks(const std::filesystem::path& path) {
    struct stat st {};
    return lookFollowingLinks(path, st) && S_ISDIR(st.st_mode);
}

bool isRegularFileNoFollow(const std::filesystem::path& path) {
    struct stat st {};
    return lookNoFollow(path, st) && S_ISREG(st.st_mode);
}

bool isRegularFileFollowingLinks(const std::filesystem::path& path) {
    struct stat st {};
    return lookFollowingLinks(path, st) && S_ISREG(st.st_mode);
}

std::uint64_t entrySizeNoFollow(const std::filesystem::path& path) {
    struct stat st {};
    if (!lookNoFollow(path, st))
        return 0;
    return static_cast<std::uint64_t>(st.st_size);
}

} // namespace tpc::fs
