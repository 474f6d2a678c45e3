#include "erase/Deleter.h"

#include "core/Clock.h"
#include "core/SystemLog.h"
#include "erase/HelperGateway.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace tpc::erase {

namespace {

constexpr auto kPollInterval = core::Clock::seconds(0.5);

} // namespace

ssize_t PosixBlockWriter::pwrite(int fd, const void* buf, std::size_t count, off_t offset) {
    return ::pwrite(fd, buf, count, offset);
}

int PosixBlockWriter::fsync(int fd) {
    return ::fsync(fd);
}

Deleter::Deleter(DeleterEnv env) : env_(std::move(env)) {}

std::int64_t Deleter::deletionOption() const {
    return env_.deletionOption ? env_.deletionOption() : -1;
}

const PatternBlocks& Deleter::blocks() const {
    return env_.blocks ? *env_.blocks : PatternBlocks::shared();
}

BlockWriter& Deleter::writer() {
    return env_.writer ? *env_.writer : posixWriter_;
}

const AccessChecker& Deleter::access() const {
    return env_.access ? *env_.access : posixAccess_;
}

void Deleter::deleteFiles(const std::vector<std::string>& paths) {
    if (aborted())
        return;
    if (env_.helper)
        env_.helper->clearHelperOpsRunning();
    if (deletionOption() == -1)
        simpleDeleteFiles(paths);
    else
        eraseFiles(paths);
    if (env_.helper)
        while (env_.helper->helperOpsRunning())
            env_.clock.sleepFor(kPollInterval);
}

void Deleter::simpleDeleteFiles(const std::vector<std::string>& paths) {
    for (const auto& path : paths) {
        if (aborted())
            return;
        std::string folder, name;
        if (!fs::splitItemPath(path, folder, name))
            logRemovalError(path, EINVAL, "Not an absolute path to an item");
        else if (isDeletablePath(path))
            removeListed(path);
        else
            handToHelper(path);
    }
}

fs::UniqueFd Deleter::openListedFolder(const std::string& folder, const std::string& path,
                                       bool logMissing) {
    if (!env_.refuseFolderLinks) {
        fs::UniqueFd dir = fs::openFolderFollowingLinks(folder);
        if (!dir && logMissing)
            logRemovalError(path, errno, "Could not open folder " + folder);
        return dir;
    }
    fs::FolderOpenFailure failure;
    fs::UniqueFd dir = fs::openFolderWithoutLinks(folder, failure);
    if (!dir && (logMissing || failure.error != ENOENT))
        logRemovalError(path, failure.error, failure.reason);
    return dir;
}

void Deleter::removeListed(const std::string& path) {
    std::string folder, name;
    fs::splitItemPath(path, folder, name);
    const fs::UniqueFd dir = openListedFolder(folder, path, true);
    if (!dir)
        return;
    RemovalFailure failure;
    if (!removeEntry(dir.get(), name, path, failure))
        logRemovalError(path, failure.error, failure.reason);
}

void Deleter::eraseFiles(const std::vector<std::string>& paths) {
    for (const auto& path : paths) {
        if (aborted())
            return;
        std::string folder, name;
        if (!fs::splitItemPath(path, folder, name)) {
            logRemovalError(path, EINVAL, "Not an absolute path to an item");
            continue;
        }
        // A folder that is not there is skipped without a word.
        const fs::UniqueFd dir = openListedFolder(folder, path, false);
        if (!dir)
            continue;
        if (!eraseEntry(dir.get(), name, folder == "/" ? "/" + name : folder + "/" + name))
            return;
    }
}

bool Deleter::eraseEntry(int dirFd, const std::string& name, const std::string& path) {
    struct stat st {};
    if (fstatat(dirFd, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0)
        return true; // not there: skipped without a word

    if (!S_ISREG(st.st_mode) && !S_ISDIR(st.st_mode)) {
        // A link, fifo, socket or device: only the entry goes, it is never opened.
        if (!isDeletablePath(path)) {
            handToHelper(path);
        } else if (unlinkat(dirFd, name.c_str(), 0) != 0) {
            logRemovalError(path, errno, "Could not remove " + path);
        }
        return true;
    }
    if (!isWriteDeletablePath(path)) {
        handToHelper(path);
        return true;
    }
    if (S_ISDIR(st.st_mode))
        return eraseFolder(dirFd, name, path);

    if (st.st_nlink > 1) {
        // Overwriting would destroy the data under its other names too.
        env_.log.log("Item has other names, removed without overwriting:" + path);
    } else if (st.st_size > 0) {
        overwriteEntry(dirFd, name, st, static_cast<std::uint64_t>(st.st_size));
        if (aborted())
            return false; // the overwritten file stays
    }
    if (unlinkat(dirFd, name.c_str(), 0) != 0)
        logRemovalError(path, errno, "Could not remove " + path);
    return true;
}

bool Deleter::eraseFolder(int dirFd, const std::string& name, const std::string& path) {
    {
        const fs::UniqueFd folder = fs::openSubfolderNoFollow(dirFd, name);
        std::vector<std::string> children;
        int error = 0;
        if (folder && fs::listOpenFolder(folder.get(), children, error)) {
            for (const auto& child : children) {
                if (aborted())
                    return false;
                if (!eraseEntry(folder.get(), child, path + "/" + child))
                    return false;
            }
        }
    }
    if (aborted())
        return false; // the folder stays
    RemovalFailure failure;
    if (!removeEntry(dirFd, name, path, failure))
        logRemovalError(path, failure.error, failure.reason);
    return true;
}

void Deleter::fillFilePath(const std::string& path, std::uint64_t size) {
    if (size == 0 || aborted())
        return;
    std::string folder, name;
    if (!fs::splitItemPath(path, folder, name))
        return;
    const fs::UniqueFd dir = openListedFolder(folder, path, false);
    struct stat st {};
    if (!dir || fstatat(dir.get(), name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0)
        return;
    overwriteEntry(dir.get(), name, st, size);
}

void Deleter::overwriteEntry(int dirFd, const std::string& name, const struct stat& measured,
                             std::uint64_t size) {
    if (size == 0 || aborted() || !S_ISREG(measured.st_mode))
        return;
    const std::int64_t method = deletionOption();
    if (!blocks().fillBuffer(method, 0))
        return; // no pattern for this method: nothing could be written
    // Non-blocking and no controlling terminal: should the entry be swapped for a fifo or a
    // device after it was measured, opening it must neither hang nor have side effects.
    const fs::UniqueFd fd(
        openat(dirFd, name.c_str(), O_WRONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!fd)
        return;
    struct stat opened {};
    if (fstat(fd.get(), &opened) != 0 || !S_ISREG(opened.st_mode) ||
        opened.st_dev != measured.st_dev || opened.st_ino != measured.st_ino || opened.st_nlink > 1)
        return;
    // Never past the current end: a file that shrank since it was measured is not extended.
    size = std::min(size, static_cast<std::uint64_t>(std::max<off_t>(opened.st_size, 0)));
    if (size > 0)
        overwriteOpenFile(fd.get(), size, method);
}

void Deleter::overwriteOpenFile(int fd, std::uint64_t size, std::int64_t method) {
    const PatternBlocks& patterns = blocks();
    BlockWriter& out = writer();
    const int passes = passesForMethod(method);
    const std::uint64_t rem = size % kBlockSize;
    // The whole-block count is taken as a 32-bit signed number.
    const std::int64_t count =
        static_cast<std::int32_t>(size / kBlockSize) + static_cast<std::int64_t>(rem ? 1 : 0);
    const std::int64_t last = count - 1;
    bool failed = false;

    std::int64_t i = 0;
    for (; i < last; ++i) {
        if (failed || aborted())
            break;
        const auto offset = static_cast<off_t>(i * static_cast<std::int64_t>(kBlockSize));
        for (int pass = 0; pass < passes; ++pass) {
            const std::uint8_t* block = patterns.fillBuffer(method, pass);
            if (!block || out.pwrite(fd, block, kBlockSize, offset) == -1)
                failed = true;
            out.fsync(fd);
        }
    }

    const auto offset = static_cast<off_t>(i * static_cast<std::int64_t>(kBlockSize));
    const std::size_t length = rem ? static_cast<std::size_t>(rem) : kBlockSize;
    for (int pass = 0; pass < passes; ++pass) {
        if (aborted())
            break;
        if (const std::uint8_t* block = patterns.fillBuffer(method, pass))
            out.pwrite(fd, block, length, offset);
        out.fsync(fd);
    }
}

void Deleter::handToHelper(const std::string& path) {
    HelperGateway* helper = env_.helper;
    if (!helper) {
        struct stat st {};
        const bool exists = lstat(path.c_str(), &st) == 0;
        logRemovalError(path, exists ? EACCES : errno,
                        exists ? "The item or its folder may not be changed"
                               : "The item could not be found");
        return;
    }
    while (helper->helperOpsRunning())
        env_.clock.sleepFor(kPollInterval);
    helper->deleteViaHelperTool(path);
    env_.clock.sleepFor(kPollInterval);
    while (helper->helperOpsRunning())
        env_.clock.sleepFor(kPollInterval);
}

void Deleter::logRemovalError(const std::string& path, int error, const std::string& reason) {
    env_.log.log("Error removing item:" + path + ", error:" + errorText(error) +
                 ", reason:" + reason);
}

bool Deleter::isDeletablePath(const std::string& path) const {
    std::string folder, name;
    return fs::splitItemPath(path, folder, name) && access().canRemoveEntry(path);
}

bool Deleter::isWriteDeletablePath(const std::string& path) const {
    return isDeletablePath(path) && access().canWrite(path);
}

} // namespace tpc::erase
