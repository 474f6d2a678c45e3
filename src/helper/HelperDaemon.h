#pragma once
// The helper's server: accepts connections on its listening socket, checks each peer, and serves
// each authorised connection on a thread of its own, one request and one reply at a time. No peer
// can keep the others waiting: each user may hold only a few connections at once, a connection
// that stays silent or stalls inside a request is closed, and a reply the peer does not take
// ends its connection.

#include "core/Clock.h"
#include "core/ThreadGroup.h"

#include <atomic>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <sys/types.h>

namespace tpc::core {
class SystemLog;
}

namespace tpc::helper {

class PeerAuthoriser;
class RequestHandler;
struct PeerCredentials;

struct HelperDaemonEnv {
    core::Clock& clock;
    core::SystemLog& log;
    const PeerAuthoriser& authoriser;
    RequestHandler& handler;
    // Set when the daemon stops (also ends a polkit check under way).
    std::atomic<bool>& stopping;
    // Connections one user (root included) may hold open; further ones are closed at once.
    std::size_t maxConnectionsPerUid = 8;
    // Connections all users but root may hold together, so that root is always served.
    std::size_t maxConnections = 64;
    // How long an authorised connection may stay silent between requests.
    core::Clock::Duration idleTimeout = core::Clock::seconds(30);
    // How long a request may take to arrive once it has begun (and a reply to be taken).
    core::Clock::Duration frameTimeout = core::Clock::seconds(5);
    // How long a refused peer has to send the request that is answered "refused".
    core::Clock::Duration refusedReadTimeout = core::Clock::seconds(2);
    // The longest wait on a socket before a connection looks at the clock again.
    core::Clock::Duration waitSlice = core::Clock::seconds(1);
};

class HelperDaemon {
public:
    explicit HelperDaemon(HelperDaemonEnv env);
    // Closes every connection and waits for its thread.
    ~HelperDaemon();
    HelperDaemon(const HelperDaemon&) = delete;
    HelperDaemon& operator=(const HelperDaemon&) = delete;

    // Serves `listenFd` until `stopFd` becomes readable (or fails); then sets `stopping`, closes
    // every connection and waits for their threads.
    void run(int listenFd, int stopFd);

    // Connections open now (tests).
    std::size_t openConnections();

private:
    // Counts the connection in if its user and everyone together are within their bounds.
    bool admit(int fd, uid_t uid);
    void release(int fd, uid_t uid);
    void serve(int fd, const PeerCredentials& peer);
    void refuse(int fd);
    void closeAllConnections();
    // True (and noted) when a log line about a crowd was not written in the last minute.
    bool timeToLog(std::optional<core::Clock::TimePoint>& last);

    HelperDaemonEnv env_;
    std::mutex mutex_;
    std::map<int, uid_t> open_;
    std::map<uid_t, std::size_t> perUid_;
    std::size_t othersOpen_ = 0; // connections of users other than root
    std::map<uid_t, std::optional<core::Clock::TimePoint>> crowdLogged_;
    std::optional<core::Clock::TimePoint> fullLogged_;
    core::ThreadGroup connections_;
};

} // namespace tpc::helper
