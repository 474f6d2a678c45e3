#include "DaemonProcess.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace tpc::test {

namespace wire = erase::wire;

int connectTo(const std::string& socketPath) {
    sockaddr_un address{};
    if (socketPath.size() >= sizeof address.sun_path)
        return -1;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, socketPath.c_str(), socketPath.size() + 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return -1;
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    timeval tv{5, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
    return fd;
}

bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

DaemonProcess::DaemonProcess(const std::string& program, const std::vector<std::string>& args,
                             const std::filesystem::path& logFile) {
    std::vector<std::string> argv = {program};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> raw;
    for (auto& a : argv)
        raw.push_back(a.data());
    raw.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, logFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    if (::posix_spawn(&pid_, program.c_str(), &actions, nullptr, raw.data(), environ) != 0)
        pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
}

DaemonProcess::~DaemonProcess() {
    stop();
}

bool DaemonProcess::waitForSocket(const std::string& socketPath) {
    return waitUntil([&] {
        const int fd = connectTo(socketPath);
        if (fd < 0)
            return false;
        ::close(fd);
        return true;
    });
}

int DaemonProcess::stop() {
    if (pid_ <= 0)
        return -1;
    ::kill(pid_, SIGTERM);
    int status = 0;
    pid_t done = 0;
    waitUntil([&] { return (done = ::waitpid(pid_, &status, WNOHANG)) != 0; });
    if (done == 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, &status, 0);
        status = -1;
    }
    pid_ = -1;
    return status >= 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int DaemonProcess::waitForExit() {
    if (pid_ <= 0)
        return -1;
    int status = 0;
    if (!waitUntil([&] { return ::waitpid(pid_, &status, WNOHANG) == pid_; }))
        return stop();
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::optional<std::string> askOnce(const std::string& socketPath, const wire::Message& m) {
    const int fd = connectTo(socketPath);
    if (fd < 0)
        return std::nullopt;
    std::optional<std::string> reply;
    if (wire::writeMessage(fd, m)) {
        auto in = wire::readMessage(fd);
        if (in.status == wire::ReadStatus::Ok)
            reply = in.message.reply;
    }
    ::close(fd);
    return reply;
}

std::optional<std::string> askOnceAs(uid_t uid, const std::string& socketPath,
                                     const wire::Message& m) {
    if (::geteuid() != 0)
        return std::nullopt;
    int pipeFds[2];
    if (::pipe(pipeFds) != 0)
        return std::nullopt;
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(pipeFds[0]);
        if (::setgroups(0, nullptr) != 0 || ::setresgid(uid, uid, uid) != 0 ||
            ::setresuid(uid, uid, uid) != 0)
            ::_exit(2);
        auto reply = askOnce(socketPath, m);
        const std::string text = reply ? "+" + *reply : "-";
        const ssize_t written = ::write(pipeFds[1], text.data(), text.size());
        ::_exit(written == static_cast<ssize_t>(text.size()) ? 0 : 3);
    }
    ::close(pipeFds[1]);
    if (child < 0) {
        ::close(pipeFds[0]);
        return std::nullopt;
    }
    std::string text;
    char buffer[256];
    ssize_t n;
    while ((n = ::read(pipeFds[0], buffer, sizeof buffer)) > 0)
        text.append(buffer, static_cast<std::size_t>(n));
    ::close(pipeFds[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || text.empty() || text[0] != '+')
        return std::nullopt;
    return text.substr(1);
}

bool sendHalfAFrame(int fd) {
    const std::uint8_t part[14] = {0, 0, 0, 100, 'b', 'p', 'l', 'i', 's', 't', '0', '0', 0, 0};
    return ::send(fd, part, sizeof part, MSG_NOSIGNAL) == static_cast<ssize_t>(sizeof part);
}

HeldConnections::HeldConnections(uid_t uid, const std::string& socketPath, int idle,
                                 int halfFrames) {
    if (uid == ::getuid()) {
        for (int i = 0; i < idle + halfFrames; ++i) {
            const int fd = connectTo(socketPath);
            if (fd < 0)
                continue;
            // The daemon may already have closed a connection beyond the user's limit, so the
            // half frame goes as far as it goes; a connection counts once it was made.
            if (i >= idle)
                sendHalfAFrame(fd);
            ++connected_;
            fds_.push_back(fd);
        }
        return;
    }
    int ready[2], release[2];
    if (::pipe(ready) != 0)
        return;
    if (::pipe(release) != 0) {
        ::close(ready[0]);
        ::close(ready[1]);
        return;
    }
    child_ = ::fork();
    if (child_ == 0) {
        ::close(ready[0]);
        ::close(release[1]);
        if (::setgroups(0, nullptr) != 0 || ::setresgid(uid, uid, uid) != 0 ||
            ::setresuid(uid, uid, uid) != 0)
            ::_exit(2);
        unsigned char count = 0;
        for (int i = 0; i < idle + halfFrames; ++i) {
            const int fd = connectTo(socketPath);
            if (fd < 0)
                continue;
            if (i >= idle)
                sendHalfAFrame(fd);
            count = static_cast<unsigned char>(std::min(count + 1, 255));
        }
        if (::write(ready[1], &count, 1) != 1)
            ::_exit(3);
        // Holds them until the parent closes its end.
        char c;
        while (::read(release[0], &c, 1) > 0) {
        }
        ::_exit(0);
    }
    ::close(ready[1]);
    ::close(release[0]);
    release_ = release[1];
    unsigned char count = 0;
    if (child_ > 0 && ::read(ready[0], &count, 1) == 1)
        connected_ = count;
    ::close(ready[0]);
}

HeldConnections::~HeldConnections() {
    for (int fd : fds_)
        ::close(fd);
    if (release_ >= 0)
        ::close(release_);
    if (child_ > 0)
        ::waitpid(child_, nullptr, 0);
}

void HeldConnections::closeOne() {
    if (fds_.empty())
        return;
    ::close(fds_.back());
    fds_.pop_back();
}

} // namespace tpc::test
