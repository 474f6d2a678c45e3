#include "erase/AccessChecker.h"

#include "fs/Folders.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tpc::erase {

bool PosixAccessChecker::canRemoveEntry(const std::string& path) const {
    std::string folder, name;
    if (!fs::splitItemPath(path, folder, name))
        return false;
    struct stat item {};
    struct stat parent {};
    if (lstat(path.c_str(), &item) != 0)
        return false;
    if (stat(folder.c_str(), &parent) != 0 || !S_ISDIR(parent.st_mode))
        return false;
    if (faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        return false;
    if (parent.st_mode & S_ISVTX) {
        const uid_t me = geteuid();
        if (me != 0 && item.st_uid != me && parent.st_uid != me)
            return false;
    }
    return true;
}

bool PosixAccessChecker::canWrite(const std::string& path) const {
    struct stat item {};
    if (lstat(path.c_str(), &item) != 0 || S_ISLNK(item.st_mode))
        return false;
    const int mode = S_ISDIR(item.st_mode) ? (W_OK | X_OK) : W_OK;
    return faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0;
}

} // namespace tpc::erase
