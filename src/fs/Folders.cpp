#include "fs/Folders.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tpc::fs {

namespace {

constexpr int kFolderBaseFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

// The kernel's own resolution without links (Linux 5.6 and later); -1 with errno ENOSYS where it
// is missing.
int openat2NoLinks(const std::string& folder) {
#ifdef SYS_openat2
    open_how how{};
    how.flags = kFolderBaseFlags;
    how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    return static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, folder.c_str(), &how, sizeof how));
#else
    (void)folder;
    errno = ENOSYS;
    return -1;
#endif
}

void fail(FolderOpenFailure& failure, int error, std::string reason) {
    failure.error = error;
    failure.reason = std::move(reason);
}

bool hasDotComponent(const std::string& path) {
    for (std::size_t start = 0; start <= path.size();) {
        std::size_t end = path.find('/', start);
        if (end == std::string::npos)
            end = path.size();
        const std::string_view name(path.data() + start, end - start);
        if (name == "." || name == "..")
            return true;
        start = end + 1;
    }
    return false;
}

bool isAbsoluteText(const std::string& folder, FolderOpenFailure& failure) {
    if (!folder.empty() && folder.front() == '/' && folder.find('\0') == std::string::npos)
        return true;
    fail(failure, EINVAL, "Not an absolute folder path: " + folder);
    return false;
}

} // namespace

void UniqueFd::reset() {
    if (fd_ >= 0)
        close(fd_);
    fd_ = -1;
}

bool splitItemPath(const std::string& path, std::string& folder, std::string& name) {
    if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos)
        return false;
    const auto end = path.find_last_not_of('/');
    if (end == std::string::npos)
        return false; // only slashes
    const auto slash = path.rfind('/', end);
    name = path.substr(slash + 1, end - slash);
    if (name == "." || name == "..")
        return false;
    const auto folderEnd = path.find_last_not_of('/', slash);
    folder = folderEnd == std::string::npos ? "/" : path.substr(0, folderEnd + 1);
    return true;
}

UniqueFd openFolderFollowingLinks(const std::string& folder) {
    return UniqueFd(open(folder.c_str(), kFolderBaseFlags));
}

UniqueFd walkFolderWithoutLinks(const std::string& folder, FolderOpenFailure& failure) {
    failure = {};
    if (!isAbsoluteText(folder, failure))
        return {};
    UniqueFd current(::open("/", kFolderBaseFlags));
    if (!current) {
        fail(failure, errno, "Could not open the root folder");
        return {};
    }
    std::size_t start = 0;
    while (start < folder.size()) {
        const std::size_t slash = folder.find('/', start);
        const std::size_t end = slash == std::string::npos ? folder.size() : slash;
        const std::string name = folder.substr(start, end - start);
        start = end + 1;
        if (name.empty())
            continue;
        const std::string shown = folder.substr(0, end);
        if (name == "." || name == "..") {
            fail(failure, EINVAL, "Folder path " + folder + " has a \".\" or \"..\" component");
            return {};
        }
        // O_PATH with O_NOFOLLOW would open a link itself, so the kind is checked on what was
        // opened rather than trusted to the flags.
        UniqueFd next(::openat(current.get(), name.c_str(), kFolderBaseFlags | O_NOFOLLOW));
        const int openError = errno;
        struct stat st {};
        if (!next) {
            if (fstatat(current.get(), name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0 &&
                S_ISLNK(st.st_mode)) {
                fail(failure, ELOOP, "Folder " + shown + " is a symbolic link");
            } else {
                fail(failure, openError, "Could not open folder " + shown);
            }
            return {};
        }
        if (fstat(next.get(), &st) != 0 || !S_ISDIR(st.st_mode)) {
            fail(failure, S_ISLNK(st.st_mode) ? ELOOP : ENOTDIR,
                 S_ISLNK(st.st_mode) ? "Folder " + shown + " is a symbolic link"
                                     : shown + " is not a folder");
            return {};
        }
        current = std::move(next);
    }
    return current;
}

UniqueFd openFolderWithoutLinks(const std::string& folder, FolderOpenFailure& failure) {
    failure = {};
    if (!isAbsoluteText(folder, failure))
        return {};
    // The kernel refuses links but would let ".." climb: such paths take the walk, which refuses
    // them.
    if (!hasDotComponent(folder)) {
        UniqueFd fd(openat2NoLinks(folder));
        if (fd)
            return fd;
    }
    // Without openat2, or to name the component at fault: the walk is just as safe, so whatever
    // it finds now is the answer.
    return walkFolderWithoutLinks(folder, failure);
}

UniqueFd openSubfolderNoFollow(int dirFd, const std::string& name) {
    return UniqueFd(openat(dirFd, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool listOpenFolder(int dirFd, std::vector<std::string>& names, int& error) {
    names.clear();
    const int own = fcntl(dirFd, F_DUPFD_CLOEXEC, 0);
    if (own < 0) {
        error = errno;
        return false;
    }
    DIR* dir = fdopendir(own);
    if (!dir) {
        error = errno;
        close(own);
        return false;
    }
    rewinddir(dir);
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(dir);
        if (!entry)
            break;
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    error = errno;
    closedir(dir);
    return error == 0;
}

std::vector<std::string> listFolderNoFollow(const std::filesystem::path& folder) {
    std::vector<std::string> out;
    std::string parent, name;
    if (!splitItemPath(folder.string(), parent, name))
        return out;
    // Opened without following a link, so what is listed is the folder that was checked.
    auto parentFd = openFolderFollowingLinks(parent);
    if (!parentFd)
        return out;
    auto folderFd = openSubfolderNoFollow(parentFd.get(), name);
    if (!folderFd)
        return out;
    std::vector<std::string> names;
    int error = 0;
    if (!listOpenFolder(folderFd.get(), names, error))
        return out;
    std::sort(names.begin(), names.end());
    const auto base = std::filesystem::path(parent) / name;
    for (const auto& entry : names)
        out.push_back((base / entry).string());
    return out;
}

std::vector<std::string> folderNamesFollowingLinks(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    UniqueFd fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    int error = 0;
    if (fd)
        listOpenFolder(fd.get(), names, error);
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace tpc::fs
