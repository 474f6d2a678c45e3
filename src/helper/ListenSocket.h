#pragma once
// The helper's listening socket: the one systemd passes when it starts the helper for its socket
// unit, or else one bound at a path given on the command line.

#include <optional>
#include <string>

namespace tpc::helper {

class ListenSocket {
public:
    // The socket systemd passed, if any. Fails (with `error`) when systemd passed something else.
    static std::optional<ListenSocket> fromSystemd(std::string& error);
    // A new socket at `path`, readable and writable by everyone (every connection is checked by
    // its peer's credentials). A stale socket file there is replaced; anything else is left alone.
    static std::optional<ListenSocket> bind(const std::string& path, std::string& error);

    ListenSocket(ListenSocket&& other) noexcept;
    ListenSocket& operator=(ListenSocket&&) = delete;
    // Closes it, and removes the socket file if this process made it.
    ~ListenSocket();

    int fd() const { return fd_; }
    bool activated() const { return boundPath_.empty(); }

private:
    ListenSocket(int fd, std::string boundPath) : fd_(fd), boundPath_(std::move(boundPath)) {}
    int fd_;
    std::string boundPath_;
};

} // namespace tpc::helper
