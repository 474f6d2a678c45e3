#include "erase/FileWalk.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
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
