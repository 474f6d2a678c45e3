#include "helper/ListenSocket.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

namespace tpc::helper {

namespace {

constexpr int kBacklog = 64;

bool makeAddress(const std::string& path, sockaddr_un& address) {
    if (path.empty() || path.size() >= sizeof address.sun_path ||
        path.find('\0') != std::string::npos)
        return false;
    address = sockaddr_un{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

// True when a process accepts connections at `address`.
bool someoneListens(const sockaddr_un& address) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    const bool ok = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return ok;
}

} // namespace

std::optional<ListenSocket> ListenSocket::fromSystemd(std::string& error) {
    // The variables are left alone unless they were meant for this process (so that nothing
    // changes the environment while other threads may read it).
    const int count = sd_listen_fds(0);
    if (count <= 0)
        return std::nullopt;
    ::unsetenv("LISTEN_PID");
    ::unsetenv("LISTEN_FDS");
    ::unsetenv("LISTEN_FDNAMES");
    if (count != 1 || sd_is_socket_unix(SD_LISTEN_FDS_START, SOCK_STREAM, 1, nullptr, 0) <= 0) {
        error = "systemd passed something other than one listening Unix stream socket";
        for (int i = 0; i < count; ++i)
            ::close(SD_LISTEN_FDS_START + i);
        return std::nullopt;
    }
    ::fcntl(SD_LISTEN_FDS_START, F_SETFD, FD_CLOEXEC);
    return ListenSocket(SD_LISTEN_FDS_START, {});
}

std::optional<ListenSocket> ListenSocket::bind(const std::string& path, std::string& error) {
    sockaddr_un address{};
    if (!makeAddress(path, address)) {
        error = "unusable socket path \"" + path + "\"";
        return std::nullopt;
    }
    struct stat st {};
    if (::lstat(path.c_str(), &st) == 0) {
        if (!S_ISSOCK(st.st_mode)) {
            error = path + " exists and is not a socket";
            return std::nullopt;
        }
        if (someoneListens(address)) {
            error = "another helper listens at " + path;
            return std::nullopt;
        }
        ::unlink(path.c_str());
    }
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        error = std::string("socket: ") + std::strerror(errno);
        return std::nullopt;
    }
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::chmod(path.c_str(), 0666) != 0 || ::listen(fd, kBacklog) != 0) {
        error = path + ": " + std::strerror(errno);
        ::close(fd);
        return std::nullopt;
    }
    return ListenSocket(fd, path);
}

ListenSocket::ListenSocket(ListenSocket&& other) noexcept
    : fd_(other.fd_), boundPath_(std::move(other.boundPath_)) {
    other.fd_ = -1;
    other.boundPath_.clear();
}

ListenSocket::~ListenSocket() {
    if (fd_ < 0)
        return;
    ::close(fd_);
    if (!boundPath_.empty())
        ::unlink(boundPath_.c_str());
}

} // namespace tpc::helper
