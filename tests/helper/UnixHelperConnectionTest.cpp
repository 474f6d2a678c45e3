// What the application's connection puts on the wire, seen by a bare socket in place of the
// daemon.

#include "erase/UnixHelperConnection.h"
#include "support/TempDir.h"

#include <cstring>
#include <future>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace tpc::test {
namespace {

namespace wire = erase::wire;

TEST(UnixHelperConnection, AMessageThatCannotBeEncodedIsNotSentAsAnEmptyBody) {
    TempDir tmp;
    const std::string socketPath = (tmp / "s").string();
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(listener, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, socketPath.c_str(), socketPath.size() + 1);
    ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener, 4), 0);

    // Reads frames until a "test" request, which it answers; notes the size of every body.
    std::vector<std::uint32_t> bodySizes;
    std::thread server([&] {
        const int fd = ::accept(listener, nullptr, nullptr);
        if (fd < 0)
            return;
        timeval tv{5, 0};
        ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
        for (;;) {
            std::uint8_t header[4];
            if (::recv(fd, header, 4, MSG_WAITALL) != 4)
                break;
            const std::uint32_t size = (std::uint32_t{header[0]} << 24) |
                                       (std::uint32_t{header[1]} << 16) |
                                       (std::uint32_t{header[2]} << 8) | header[3];
            bodySizes.push_back(size);
            std::vector<std::uint8_t> body(size);
            if (size > 0 && ::recv(fd, body.data(), size, MSG_WAITALL) != ssize_t(size))
                break;
            auto message = wire::decodeBody(body);
            if (message && message->request == wire::kTest) {
                wire::writeMessage(fd, wire::replyMessage("ok"));
                break;
            }
            wire::writeMessage(fd, wire::replyMessage(wire::kRefused));
        }
        ::close(fd);
    });

    {
        erase::UnixHelperConnection connection(socketPath, std::chrono::seconds(5));
        connection.setEventHandler([](erase::HelperConnection::Event) {});
        connection.resume();
        // A text the property list may refuse to hold.
        wire::Message odd = wire::requestMessage(wire::kOpsRunning);
        odd.uuid = std::string("A\xFF", 2);
        connection.sendMessageWithReply(odd, [](std::optional<std::string>) {});
        std::promise<std::optional<std::string>> reply;
        connection.sendMessageWithReply(
            wire::requestMessage(wire::kTest),
            [&](std::optional<std::string> r) { reply.set_value(std::move(r)); });
        auto future = reply.get_future();
        ASSERT_EQ(future.wait_for(std::chrono::seconds(5)), std::future_status::ready);
        // The stream stayed in step: the next request got its own reply.
        EXPECT_EQ(future.get(), "ok");
    }
    server.join();
    ::close(listener);
    for (std::uint32_t size : bodySizes)
        EXPECT_GT(size, 0u);
}

} // namespace
} // namespace tpc::test
