#include "helper/FrameReader.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/socket.h>
#include <vector>

namespace tpc::helper {

namespace wire = erase::wire;

namespace {

constexpr std::size_t kHeaderSize = 4;

enum class Wait { Ready, TimedOut, Failed };

// Waits until `fd` has something to read (or has closed) or `deadline` has passed.
Wait waitReadable(int fd, core::Clock& clock, core::Clock::TimePoint deadline,
                  core::Clock::Duration slice) {
    for (;;) {
        const core::Clock::Duration left = deadline - clock.now();
        if (left <= core::Clock::Duration::zero())
            return Wait::TimedOut;
        const core::Clock::Duration step = std::min(left, slice);
        // Rounded up: a wait of less than a millisecond must not become a busy loop.
        const int ms = static_cast<int>((step.count() + 999) / 1000);
        pollfd p{fd, POLLIN, 0};
        const int n = ::poll(&p, 1, std::max(ms, 1));
        if (n < 0 && errno != EINTR)
            return Wait::Failed;
        if (n > 0)
            return Wait::Ready; // data, end of stream or an error: the read tells which
    }
}

} // namespace

FrameResult readFrame(int fd, core::Clock& clock, const FrameLimits& limits) {
    FrameResult result;
    std::uint8_t header[kHeaderSize];
    std::vector<std::uint8_t> body;
    bool begun = false;
    bool haveHeader = false;
    std::size_t got = 0;
    std::size_t need = kHeaderSize;
    core::Clock::TimePoint deadline = clock.now() + limits.idle;

    while (got < need) {
        switch (waitReadable(fd, clock, deadline, limits.slice)) {
        case Wait::Ready:
            break;
        case Wait::TimedOut:
            result.status = begun ? FrameStatus::Stalled : FrameStatus::Idle;
            return result;
        case Wait::Failed:
            result.status = FrameStatus::Error;
            return result;
        }
        std::uint8_t* into = haveHeader ? body.data() + got : header + got;
        const ssize_t n = ::recv(fd, into, need - got, MSG_DONTWAIT);
        if (n < 0) {
            if (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)
                continue;
            result.status = FrameStatus::Error;
            return result;
        }
        if (n == 0) {
            result.status = begun ? FrameStatus::Truncated : FrameStatus::Closed;
            return result;
        }
        if (!begun) {
            // From its first byte the whole frame has its own, shorter, limit.
            begun = true;
            deadline = clock.now() + limits.whole;
        }
        got += static_cast<std::size_t>(n);
        if (got == need && !haveHeader) {
            const std::size_t size = (std::size_t{header[0]} << 24) |
                                     (std::size_t{header[1]} << 16) |
                                     (std::size_t{header[2]} << 8) | std::size_t{header[3]};
            if (size > wire::kMaxMessageSize) {
                result.status = FrameStatus::TooLarge;
                return result;
            }
            haveHeader = true;
            body.resize(size);
            got = 0;
            need = size;
        }
    }
    auto message = wire::decodeBody(body);
    if (!message) {
        result.status = FrameStatus::Garbage;
        return result;
    }
    result.status = FrameStatus::Ok;
    result.message = std::move(*message);
    return result;
}

const char* frameStatusName(FrameStatus status) {
    switch (status) {
    case FrameStatus::Ok:
        return "ok";
    case FrameStatus::Garbage:
        return "unreadable message";
    case FrameStatus::Closed:
        return "end of stream";
    case FrameStatus::Idle:
        return "idle for too long";
    case FrameStatus::Stalled:
        return "stalled in the middle of a message";
    case FrameStatus::Truncated:
        return "truncated message";
    case FrameStatus::TooLarge:
        return "message too large";
    case FrameStatus::Error:
        break;
    }
    return "read error";
}

} // namespace tpc::helper
