#include "erase/FileWalk.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

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
    fs::UniqueFd folder = fs::openSubfolderNoFollow(dirFd, name);
    if (!folder) {
        noteFailure(failure, errno, "Could not open folder " + path);
        return false;
    }
    std::vector<std::string> names;
    int error = 0;
    if (!fs::listOpenFolder(folder.get(), names, error)) {
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

bool removeEntry(int dirFd, const std::string& name, const std::string& path,
                 RemovalFailure& failure) {
    return removeEntryAt(dirFd, name, path, false, failure);
}

std::string errorText(int error) {
    return std::generic_category().message(error);
}

} // namespace tpc::erase
