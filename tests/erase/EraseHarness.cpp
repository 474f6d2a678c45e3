#include "erase/EraseHarness.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <stdexcept>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tpc::erase::test {

std::string blockName(const PatternBlocks& blocks, const void* block) {
    if (block == blocks.buff00())
        return "00";
    if (block == blocks.buff55())
        return "55";
    if (block == blocks.buff56())
        return "56";
    if (block == blocks.buffAA())
        return "AA";
    if (block == blocks.buffFF())
        return "FF";
    if (block == blocks.buffRND())
        return "RND";
    return "?";
}

namespace {

std::string fdPath(int fd) {
    char target[PATH_MAX] = {};
    const auto link = "/proc/self/fd/" + std::to_string(fd);
    const ssize_t n = readlink(link.c_str(), target, sizeof target - 1);
    return n > 0 ? std::string(target, static_cast<std::size_t>(n)) : std::string();
}

} // namespace

ssize_t RecordingWriter::pwrite(int fd, const void* buf, std::size_t count, off_t offset) {
    WriterCall call{WriterCall::Write, offset, count, blockName(PatternBlocks::shared(), buf),
                    fdPath(fd)};
    const bool fail = writesSeen_++ == failWrite;
    calls.push_back(call);
    const ssize_t result = fail ? -1 : ::pwrite(fd, buf, count, offset);
    if (after)
        after(call);
    return result;
}

int RecordingWriter::fsync(int fd) {
    WriterCall call{WriterCall::Sync, 0, 0, "", fdPath(fd)};
    calls.push_back(call);
    const int result = ::fsync(fd);
    if (after)
        after(call);
    return result;
}

std::vector<WriterCall> RecordingWriter::writes() const {
    std::vector<WriterCall> out;
    for (const auto& call : calls)
        if (call.kind == WriterCall::Write)
            out.push_back(call);
    return out;
}

void FakeHelper::deleteViaHelperTool(const std::string& path) {
    if (running_)
        overlapped = true;
    requests.push_back(path);
    running_ = true;
    pollsLeft_ = busyPolls;
    if (onRequest)
        onRequest(path);
}

bool FakeHelper::helperOpsRunning() const {
    if (!running_)
        return false;
    if (pollsLeft_.fetch_sub(1) > 0)
        return true;
    running_ = false;
    return false;
}

bool RefusingChecker::canRemoveEntry(const std::string& path) const {
    if (notRemovable.count(path))
        return false;
    struct stat st {};
    if (allowMissing && lstat(path.c_str(), &st) != 0)
        return true;
    return real_.canRemoveEntry(path);
}

bool RefusingChecker::canWrite(const std::string& path) const {
    return !notWritable.count(path) && real_.canWrite(path);
}

Deleter EraseHarness::deleter(bool withHelper) {
    return Deleter(DeleterEnv{.abortCleaning = abort,
                              .deletionOption = [this] { return option; },
                              .clock = clock,
                              .log = log,
                              .helper = withHelper ? &helper : nullptr,
                              .blocks = nullptr,
                              .writer = &writer,
                              .access = &checker});
}

std::string EraseHarness::makeFile(const std::string& rel, std::size_t size) {
    std::string content(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        content[i] = static_cast<char>('a' + i % 23);
    tpc::test::writeFile(dir / rel, content);
    return content;
}

std::vector<std::string> passPatterns(std::int64_t method) {
    switch (method) {
    case 0:
        return {"00"};
    case 1:
        return {"RND"};
    case 2:
        return {"55", "AA", "RND"};
    case 3:
        return {"00", "FF", "RND"};
    case 4:
        return {"00", "FF", "00", "FF", "00", "FF", "RND"};
    case 5:
        return {"00", "FF", "00", "FF", "00", "FF", "AA"};
    case 6:
        return {"56", "AA", "56", "AA", "56", "AA", "RND"};
    case 7:
    case 8: {
        std::vector<std::string> p = {"RND", "RND", "RND", "RND"};
        for (int pass = 4; pass <= 30; ++pass)
            p.push_back(pass % 2 == 0 ? "00" : "FF");
        for (const char* name : {"RND", "00", "RND", "RND"})
            p.push_back(name);
        if (method == 8)
            for (const char* name : {"55", "AA", "RND"})
                p.push_back(name);
        return p;
    }
    default:
        return {};
    }
}

WriteOpenWatch::WriteOpenWatch(const std::filesystem::path& folder) {
    fd_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (fd_ < 0 || inotify_add_watch(fd_, folder.c_str(), IN_OPEN | IN_CLOSE_WRITE) < 0)
        throw std::runtime_error("inotify unavailable");
}

WriteOpenWatch::~WriteOpenWatch() {
    if (fd_ >= 0)
        close(fd_);
}

void WriteOpenWatch::drain() {
    alignas(inotify_event) char buf[4096];
    for (;;) {
        const ssize_t n = read(fd_, buf, sizeof buf);
        if (n <= 0)
            return;
        for (ssize_t at = 0; at < n;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buf + at);
            const std::string name = event->len ? event->name : "";
            if (event->mask & IN_OPEN)
                opened_.push_back(name);
            if (event->mask & IN_CLOSE_WRITE)
                written_.push_back(name);
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
    }
}

std::vector<std::string> WriteOpenWatch::opened() {
    drain();
    return opened_;
}

std::vector<std::string> WriteOpenWatch::closedAfterWrite() {
    drain();
    return written_;
}

} // namespace tpc::erase::test
