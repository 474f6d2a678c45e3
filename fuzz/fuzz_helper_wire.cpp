// The helper's wire frames, as the daemon reads requests and the client reads replies: any bytes
// as a message body, and as a stream of frames through a pipe. Every message read must encode to
// a frame that reads back as the same message.

#include "FuzzSupport.h"

#include "erase/HelperWire.h"

#include <fcntl.h>
#include <unistd.h>

namespace wire = tpc::erase::wire;
using namespace tpc::fuzz;

namespace {

void checkRoundTrip(const wire::Message& message) {
    const auto frame = wire::encode(message);
    check(frame.size() > 4, "a message encoded to an empty frame");
    const std::size_t length = std::size_t{frame[0]} << 24 | std::size_t{frame[1]} << 16 |
                               std::size_t{frame[2]} << 8 | std::size_t{frame[3]};
    check(length == frame.size() - 4, "a frame's length prefix is not its body's length");
    const auto back = wire::decodeBody(Bytes(frame.begin() + 4, frame.end()));
    check(back.has_value(), "an encoded message does not decode");
    check(*back == message, "a message changed on its way through the wire format");
    if (message.path)
        if (auto path = wire::pathFromData(*message.path))
            check(wire::pathData(*path) == *message.path, "a path changed through pathData");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes input(data, data + size);
    if (auto message = wire::decodeBody(input))
        checkRoundTrip(*message);

    // The same bytes as a stream of frames. A pipe holds 64 KiB, so longer input is cut.
    int fds[2];
    check(::pipe2(fds, O_CLOEXEC) == 0, "pipe");
    const std::size_t n = std::min<std::size_t>(size, 60000);
    check(n == 0 || ::write(fds[1], data, n) == static_cast<ssize_t>(n), "pipe write");
    ::close(fds[1]);
    for (int frames = 0;; ++frames) {
        check(frames <= static_cast<int>(n / 4) + 1, "more frames read than bytes allow");
        const auto result = wire::readMessage(fds[0]);
        if (result.status == wire::ReadStatus::Ok)
            checkRoundTrip(result.message);
        else if (result.status != wire::ReadStatus::Garbage)
            break;
        check(wire::readStatusName(result.status) != nullptr, "a status without a name");
    }
    ::close(fds[0]);
    return 0;
}
