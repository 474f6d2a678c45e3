#pragma once
// The one way the cleaners remove files: plainly, or overwritten in place by one of nine
// multi-pass methods and then removed. Items the user may not change go to the privileged helper,
// one request at a time. Symbolic links are never followed: a link is removed as a link. A file
// with other names (hard links) loses this name without being overwritten.

#include "erase/AccessChecker.h"
#include "erase/FileWalk.h"
#include "erase/PatternBlocks.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

namespace tpc::core {
class Clock;
class SystemLog;
} // namespace tpc::core

namespace tpc::erase {

class HelperGateway;

// The system calls an overwrite makes, so tests can record or fail them.
class BlockWriter {
public:
    virtual ~BlockWriter() = default;
    virtual ssize_t pwrite(int fd, const void* buf, std::size_t count, off_t offset) = 0;
    virtual int fsync(int fd) = 0;
};

class PosixBlockWriter final : public BlockWriter {
public:
    ssize_t pwrite(int fd, const void* buf, std::size_t count, off_t offset) override;
    int fsync(int fd) override;
};

struct DeleterEnv {
    // The clean-abort flag: checked before every path, block and final-block pass.
    const std::atomic<bool>& abortCleaning;
    // "File Deletion Option": -1 plain deletion, 0..8 an erase method.
    std::function<std::int64_t()> deletionOption;
    core::Clock& clock;
    core::SystemLog& log;
    // Where items the user may not change go; none in the helper itself (they are logged).
    HelperGateway* helper = nullptr;
    // The blocks and the writer; the shared blocks and plain POSIX calls when none are given.
    const PatternBlocks* blocks = nullptr;
    BlockWriter* writer = nullptr;
    // Who may remove or write what; the kernel's rules for this user when none is given.
    const AccessChecker* access = nullptr;
    // The privileged helper's rule: the folder of a listed item is reached without following any
    // symbolic link, and an item whose folder path has one is refused (logged, nothing removed).
    // Otherwise links along that folder path are the caller's and are followed.
    bool refuseFolderLinks = false;
};

class Deleter {
public:
    explicit Deleter(DeleterEnv env);

    // The entry point of every cleaner: plain or erase by the setting, then waits until no helper
    // request is outstanding.
    void deleteFiles(const std::vector<std::string>& paths);
    // Plain removal (items that must never be overwritten).
    void simpleDeleteFiles(const std::vector<std::string>& paths);
    // Overwrite then remove, depth first through folders.
    void eraseFiles(const std::vector<std::string>& paths);
    // Overwrites one regular file of `size` bytes in place with the current method. Never opens
    // a link, anything but a regular file, or a file with other names (hard links); never writes
    // past `size` or past the file's current end.
    void fillFilePath(const std::string& path, std::uint64_t size);

    // The item exists and this user may remove it from its folder.
    bool isDeletablePath(const std::string& path) const;
    // ... and may also write the item (a folder: write and search it).
    bool isWriteDeletablePath(const std::string& path) const;

private:
    bool aborted() const { return env_.abortCleaning.load(); }
    std::int64_t deletionOption() const;
    const PatternBlocks& blocks() const;
    BlockWriter& writer();
    const AccessChecker& access() const;

    // The folder that holds listed item `path`, by the rule for links along its path; none when
    // it cannot be opened (`logMissing`: a folder that is simply not there is logged too).
    fs::UniqueFd openListedFolder(const std::string& folder, const std::string& path,
                                  bool logMissing);
    // Removes one listed item plainly, logging a failure.
    void removeListed(const std::string& path);
    // Erases entry `name` of folder `dirFd` (known to the user as `path`); false once the abort
    // flag stopped the work.
    bool eraseEntry(int dirFd, const std::string& name, const std::string& path);
    bool eraseFolder(int dirFd, const std::string& name, const std::string& path);
    // Overwrites entry `name` if it is still the regular file `measured` (same device and inode).
    void overwriteEntry(int dirFd, const std::string& name, const struct stat& measured,
                        std::uint64_t size);
    void overwriteOpenFile(int fd, std::uint64_t size, std::int64_t method);
    // Hands one item to the helper, strictly one request at a time; logs it without a helper.
    void handToHelper(const std::string& path);
    void logRemovalError(const std::string& path, int error, const std::string& reason);

    DeleterEnv env_;
    PosixBlockWriter posixWriter_;
    PosixAccessChecker posixAccess_;
};

// A fresh random UUID in canonical upper-case text form.
std::string UUIDString();

} // namespace tpc::erase
