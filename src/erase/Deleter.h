#pragma once
// The one way the cleaners remove files: plainly, or overwritten in place by one of nine
// multi-pass methods and then removed. Items the user may not change go to the privileged helper,
// one request at a time. Symbolic links are never followed: a link is removed as a link.

#include "erase/PatternBlocks.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
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
    // Overwrites one regular file of `size` bytes in place with the current method.
    void fillFilePath(const std::string& path, std::uint64_t size);

    // The item and its parent folder may be removed by this user.
    bool isDeletablePath(const std::string& path) const;
    // ... and the item may also be written.
    bool isWriteDeletablePath(const std::string& path) const;

private:
    DeleterEnv env_;
    PosixBlockWriter posixWriter_;
};

// A fresh random UUID in canonical upper-case text form.
std::string UUIDString();

} // namespace tpc::erase
