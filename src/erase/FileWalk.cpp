#include "erase/FileWalk.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>

namespace tpc::erase {

namespace {

void noteFailure(RemovalFailure& failure, int error, std::string reason) {
    if (failure.error != 0)
        return;
    failure.error = error;
    failure.reason = std::move(reason);
}

// `nested`: an entry found while emptying a folder; one that is already gone is not a failure.
bool removeEntryAt(int dirFd, const std::string& name, const std::string& path, bool nested,
                   RemovalFailure& failure) {
    struct stat st {};
    if (fstatat(dirFd, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
        if (nested && errno == ENOENT)
            return true;
        noteFailure(failure, errno, "Could not read the attributes of " + path);
        return false;
    }
    if (!S_ISDIR(st.st_mode)) {
        if (unlinkat(dirFd, name.c_str(), 0) == 0 || (nested && errno == ENOENT))
            return true;
        noteFailure(failure, errno, "Could not remove " + path);
        return false;
    }
    // Try the empty folder first; only a folder with something left in it is opened.
    if (unlinkat(dirFd, name.c_str(), AT_REMOVEDIR) == 0)
        return true;
    if (errno != ENOTEMPTY && errno != EEXIST) {
        if (nested && errno == ENOENT)
            return true;
        noteFailure(failure, errno, "Could not remove " + path);
        return false;
    }
    UniqueFd folder = openSubfolder(dirFd, name);
    if (!folder) {
        noteFailure(failure, errno, "Could not open folder " + path);
        return false;
    }
    std::vector<std::string> names;
    int error = 0;
    if (!listFolder(folder.get(), names, error)) {
        noteFailure(failure, error, "Could not list folder " + path);
        return false;
    }
    bool ok = true;
    for (const auto& child : names)
        ok = removeEntryAt(folder.get(), child, path + "/" + child, true, failure) && ok;
    folder.reset();
    if (unlinkat(dirFd, name.c_str(), AT_REMOVEDIR) == 0)
        return ok;
    noteFailure(failure, errno, "Could not remove " + path);
    return false;
}

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

UniqueFd openLookupFolder(const std::string& folder) {
    return UniqueFd(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

UniqueFd openSubfolder(int dirFd, const std::string& name) {
    return UniqueFd(openat(dirFd, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool listFolder(int dirFd, std::vector<std::string>& names, int& error) {
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

bool removeEntry(int dirFd, const std::string& name, const std::string& path,
                 RemovalFailure& failure) {
    return removeEntryAt(dirFd, name, path, false, failure);
}

std::string errorText(int error) {
    return std::generic_category().message(error);
}

} // namespace tpc::erase
