#pragma once
// The connection to the tpc-helper daemon over its Unix socket. Requests are sent one at a time,
// in order, by a thread of the connection's own; each reply goes to its handler on that thread.
// The socket is opened at the first request and opened again after the daemon went away.

#include "erase/HelperConnection.h"

#include "core/ThreadGroup.h"

#include <chrono>
#include <deque>
#include <mutex>
#include <string>
#include <utility>

namespace tpc::erase {

inline constexpr const char* kDefaultHelperSocketPath = "/run/tpc-helper.sock";

class UnixHelperConnection final : public HelperConnection {
public:
    // `replyTimeout` bounds every send and every wait for a reply.
    explicit UnixHelperConnection(
        std::string socketPath, std::chrono::milliseconds replyTimeout = std::chrono::seconds(30));
    // Requests still queued are answered with no reply; waits for the connection's thread.
    ~UnixHelperConnection() override;

    void setEventHandler(EventHandler handler) override;
    void resume() override;
    void sendMessageWithReply(const wire::Message& request, ReplyHandler handler) override;

    // A factory for the client: none when the socket path cannot be used.
    static HelperConnectionFactory
    factory(std::string socketPath = kDefaultHelperSocketPath,
            std::chrono::milliseconds replyTimeout = std::chrono::seconds(30));

private:
    using Pending = std::pair<wire::Message, ReplyHandler>;

    void startDrainLocked();
    void drain();
    // Sends one request and reads its reply; none on any failure (after reporting the event).
    std::optional<std::string> exchange(const wire::Message& request);
    bool connectSocket();
    void closeSocket();
    void report(Event event);

    const std::string socketPath_;
    const std::chrono::milliseconds replyTimeout_;
    EventHandler events_;

    std::mutex mutex_;
    std::deque<Pending> queue_;
    bool resumed_ = false;
    bool draining_ = false;
    bool closing_ = false;
    // Read and written only by the thread that drains the queue; closed under mutex_ so that the
    // destructor can shut it down without racing a close.
    int fd_ = -1;
    bool invalid_ = false;

    core::ThreadGroup drainer_;
};

} // namespace tpc::erase
