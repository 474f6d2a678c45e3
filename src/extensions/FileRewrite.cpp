#include "extensions/FileRewrite.h"

#include "core/WriteAll.h"
#include "fs/Folders.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace tpc::extensions {

namespace fs = std::filesystem;

namespace {

void setRewriteError(std::string* error, const std::string& what, int err) {
    if (error)
        *error = what + ": " + std::strerror(err);
}

// A temporary file beside `file`, open for writing; its path in `temp`.
tpc::fs::UniqueFd makeTemporary(const fs::path& file, fs::path& temp) {
    const std::string pattern =
        (file.parent_path() / ("." + file.filename().string() + ".tpc-XXXXXX")).string();
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    const int fd = ::mkostemp(buffer.data(), O_CLOEXEC);
    if (fd >= 0)
        temp = fs::path(std::string(buffer.data()));
    return tpc::fs::UniqueFd(fd);
}

void syncFolder(const fs::path& folder) {
    const int dirFd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd >= 0) {
        ::fsync(dirFd);
        ::close(dirFd);
    }
}

// Writes a complete temporary file beside `file`; empty on failure (nothing left behind).
fs::path writeTemporary(const fs::path& file, const std::string& bytes, mode_t mode,
                        const OwnerAndMode* owner, std::string* error) {
    fs::path temp;
    auto fd = makeTemporary(file, temp);
    if (!fd) {
        setRewriteError(error, "cannot create a temporary file beside " + file.string(), errno);
        return {};
    }
    // The owner first: changing it may clear the set-id bits, which the mode then restores. An
    // owner this user may not give is left as it comes.
    if (owner) {
        const int chowned = ::fchown(fd.get(), owner->owner, owner->group);
        (void)chowned;
    }
    const bool written = ::fchmod(fd.get(), mode & 07777) == 0 &&
                         core::writeAll(fd.get(), bytes.data(), bytes.size()) &&
                         ::fsync(fd.get()) == 0;
    const int err = errno;
    fd.reset();
    if (!written) {
        ::unlink(temp.c_str());
        setRewriteError(error, "cannot write " + temp.string(), err);
        return {};
    }
    return temp;
}

} // namespace

bool replaceKeepingOwner(const fs::path& file, const std::string& bytes, std::string* error) {
    struct stat st {};
    if (::lstat(file.c_str(), &st) != 0) {
        setRewriteError(error, "cannot look at " + file.string(), errno);
        return false;
    }
    if (!S_ISREG(st.st_mode)) {
        setRewriteError(error, file.string() + " is not a regular file", EINVAL);
        return false;
    }
    const OwnerAndMode kept{st.st_uid, st.st_gid, static_cast<mode_t>(st.st_mode & 07777)};
    const fs::path temp = writeTemporary(file, bytes, kept.mode, &kept, error);
    if (temp.empty())
        return false;
    if (::rename(temp.c_str(), file.c_str()) != 0) {
        const int err = errno;
        ::unlink(temp.c_str());
        setRewriteError(error, "cannot replace " + file.string(), err);
        return false;
    }
    syncFolder(file.parent_path());
    return true;
}

bool createNewFile(const fs::path& file, const std::string& bytes, mode_t mode,
                   std::string* error) {
    const fs::path temp = writeTemporary(file, bytes, mode, nullptr, error);
    if (temp.empty())
        return false;
    // link() never replaces what is at the name, a dangling link included.
    const bool linked = ::link(temp.c_str(), file.c_str()) == 0;
    const int err = errno;
    ::unlink(temp.c_str());
    if (!linked) {
        setRewriteError(error, "cannot create " + file.string(), err);
        return false;
    }
    syncFolder(file.parent_path());
    return true;
}

} // namespace tpc::extensions
