#include "erase/UnixHelperConnection.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace tpc::erase {

namespace {

bool fitsSocketAddress(const std::string& path) {
    sockaddr_un address{};
    return !path.empty() && path.size() < sizeof address.sun_path &&
           path.find('\0') == std::string::npos;
}

void setTimeouts(int fd, std::chrono::milliseconds timeout) {
    timeval tv{};
    tv.tv_sec = static_cast<time_t>(timeout.count() / 1000);
    tv.tv_usec = static_cast<suseconds_t>((timeout.count() % 1000) * 1000);
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &tv, sizeof tv);
}

// Length prefix of a frame.
constexpr std::size_t kHeaderSize = 4;

} // namespace

UnixHelperConnection::UnixHelperConnection(std::string socketPath,
                                           std::chrono::milliseconds replyTimeout)
    : socketPath_(std::move(socketPath)), replyTimeout_(replyTimeout) {}

UnixHelperConnection::~UnixHelperConnection() {
    {
        std::lock_guard lock(mutex_);
        closing_ = true;
        // Wakes a drainer waiting for a reply; it closes the socket itself.
        if (fd_ >= 0)
            ::shutdown(fd_, SHUT_RDWR);
    }
    drainer_.joinAll();
    std::deque<Pending> left;
    {
        std::lock_guard lock(mutex_);
        left.swap(queue_);
    }
    for (auto& pending : left)
        pending.second(std::nullopt);
    closeSocket();
}

HelperConnectionFactory UnixHelperConnection::factory(std::string socketPath,
                                                      std::chrono::milliseconds replyTimeout) {
    return
        [socketPath = std::move(socketPath), replyTimeout]() -> std::shared_ptr<HelperConnection> {
            if (!fitsSocketAddress(socketPath))
                return nullptr;
            return std::make_shared<UnixHelperConnection>(socketPath, replyTimeout);
        };
}

void UnixHelperConnection::setEventHandler(EventHandler handler) {
    events_ = std::move(handler);
}

void UnixHelperConnection::resume() {
    std::lock_guard lock(mutex_);
    resumed_ = true;
    if (!queue_.empty())
        startDrainLocked();
}

void UnixHelperConnection::sendMessageWithReply(const wire::Message& request,
                                                ReplyHandler handler) {
    std::lock_guard lock(mutex_);
    queue_.emplace_back(request, std::move(handler));
    if (resumed_)
        startDrainLocked();
}

void UnixHelperConnection::startDrainLocked() {
    if (draining_ || closing_)
        return;
    draining_ = true;
    drainer_.start([this] { drain(); });
}

void UnixHelperConnection::drain() {
    for (;;) {
        Pending pending;
        bool closing = false;
        {
            std::lock_guard lock(mutex_);
            if (queue_.empty()) {
                draining_ = false;
                return;
            }
            pending = std::move(queue_.front());
            queue_.pop_front();
            closing = closing_;
        }
        std::optional<std::string> reply;
        if (!closing)
            reply = exchange(pending.first);
        pending.second(std::move(reply));
    }
}

std::optional<std::string> UnixHelperConnection::exchange(const wire::Message& request) {
    if (invalid_)
        return std::nullopt;
    // A message the property list cannot hold (text that is not UTF-8) encodes to no body at
    // all; sent, it would reach the helper as an empty message. It goes nowhere instead.
    const std::vector<std::uint8_t> frame = wire::encode(request);
    if (frame.size() <= kHeaderSize) {
        report(Event::OtherError);
        return std::nullopt;
    }
    if (fd_ < 0 && !connectSocket()) {
        invalid_ = true;
        report(Event::Invalid);
        return std::nullopt;
    }
    if (!wire::writeFrame(fd_, frame)) {
        closeSocket();
        report(Event::Interrupted);
        return std::nullopt;
    }
    wire::ReadResult result = wire::readMessage(fd_);
    switch (result.status) {
    case wire::ReadStatus::Ok:
        return result.message.reply;
    case wire::ReadStatus::Garbage:
        // The frame was whole, so the stream is still in step.
        report(Event::OtherError);
        return std::nullopt;
    case wire::ReadStatus::Eof:
    case wire::ReadStatus::Truncated:
        closeSocket();
        report(Event::Interrupted);
        return std::nullopt;
    case wire::ReadStatus::TooLarge:
    case wire::ReadStatus::TimedOut:
    case wire::ReadStatus::Error:
        break;
    }
    closeSocket();
    report(Event::OtherError);
    return std::nullopt;
}

bool UnixHelperConnection::connectSocket() {
    if (!fitsSocketAddress(socketPath_))
        return false;
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    setTimeouts(fd, replyTimeout_);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, socketPath_.c_str(), socketPath_.size() + 1);
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        ::close(fd);
        return false;
    }
    std::lock_guard lock(mutex_);
    if (closing_) {
        ::close(fd);
        return false;
    }
    fd_ = fd;
    return true;
}

void UnixHelperConnection::closeSocket() {
    std::lock_guard lock(mutex_);
    if (fd_ >= 0)
        ::close(fd_);
    fd_ = -1;
}

void UnixHelperConnection::report(Event event) {
    if (events_)
        events_(event);
}

} // namespace tpc::erase
