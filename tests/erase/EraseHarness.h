#pragma once
// Test doubles for the deletion engine: a block writer that records (and may fail) every call, a
// helper that records requests and stays "running" for a set number of polls, and an access
// checker that can refuse chosen paths (permission bits cannot refuse root).

#include "core/Clock.h"
#include "core/SystemLog.h"
#include "erase/AccessChecker.h"
#include "erase/Deleter.h"
#include "erase/HelperGateway.h"
#include "support/FakeClock.h"
#include "support/TempDir.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace tpc::erase::test {

// Which of the six blocks a pointer is ("00", "55", "56", "AA", "FF", "RND"), or "?" for none.
std::string blockName(const PatternBlocks& blocks, const void* block);

struct WriterCall {
    enum Kind { Write, Sync } kind;
    off_t offset = 0;
    std::size_t length = 0;
    std::string pattern; // blockName of the buffer written
    std::string file;    // the path the descriptor names
};

class RecordingWriter final : public BlockWriter {
public:
    ssize_t pwrite(int fd, const void* buf, std::size_t count, off_t offset) override;
    int fsync(int fd) override;

    std::vector<WriterCall> calls;
    std::vector<WriterCall> writes() const;
    // Index (0-based, counting writes only) of the one write that fails with -1 unwritten.
    int failWrite = -1;
    // Runs after every recorded call (the test may flip the abort flag there).
    std::function<void(const WriterCall&)> after;

private:
    int writesSeen_ = 0;
};

class FakeHelper final : public HelperGateway {
public:
    void deleteViaHelperTool(const std::string& path) override;
    bool helperOpsRunning() const override;
    void clearHelperOpsRunning() override { running_ = false; }

    // After each request, how many helperOpsRunning() queries still answer true.
    int busyPolls = 0;
    std::vector<std::string> requests;
    // A request made while another was still outstanding.
    bool overlapped = false;
    // Runs inside every request (the test may flip the abort flag there).
    std::function<void(const std::string&)> onRequest;
    // Marks a request outstanding for `polls` more queries.
    void setRunning(bool on, int polls = 0) {
        running_ = on;
        pollsLeft_ = polls;
    }

private:
    mutable std::atomic<bool> running_{false};
    mutable std::atomic<int> pollsLeft_{0};
};

class RefusingChecker final : public AccessChecker {
public:
    bool canRemoveEntry(const std::string& path) const override;
    bool canWrite(const std::string& path) const override;

    std::set<std::string> notRemovable; // e.g. items whose folder is not writable
    std::set<std::string> notWritable;
    bool allowMissing = false; // say "removable" even for items that do not exist

private:
    PosixAccessChecker real_;
};

// One engine wired to the doubles, in a fresh temporary folder.
struct EraseHarness {
    std::atomic<bool> abort{false};
    std::int64_t option = 0;
    tpc::test::FakeClock clock;
    core::SystemLog log{false};
    RecordingWriter writer;
    FakeHelper helper;
    RefusingChecker checker;
    tpc::test::TempDir dir;

    Deleter deleter(bool withHelper = true);
    std::string path(const std::string& rel) const { return (dir / rel).string(); }
    // A file of `size` bytes of a repeating non-pattern content.
    std::string makeFile(const std::string& rel, std::size_t size);
};

// The pattern each pass writes, as blockName gives it.
std::vector<std::string> passPatterns(std::int64_t method);

// Files closed after being opened for writing in a folder, seen through inotify.
class WriteOpenWatch {
public:
    explicit WriteOpenWatch(const std::filesystem::path& folder);
    ~WriteOpenWatch();
    // Names of entries opened at all / closed after writing, since the watch began.
    std::vector<std::string> opened();
    std::vector<std::string> closedAfterWrite();

private:
    void drain();
    int fd_ = -1;
    std::vector<std::string> opened_, written_;
};

} // namespace tpc::erase::test
