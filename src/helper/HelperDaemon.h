#pragma once
// The helper's server: accepts connections on its listening socket, checks each peer, and serves
// each authorised connection on a thread of its own, one request and one reply at a time.

#include "core/Clock.h"
#include "core/ThreadGroup.h"

#include <atomic>
#include <cstddef>
#include <mutex>
#include <set>

namespace tpc::core {
class SystemLog;
}

namespace tpc::helper {

class PeerAuthoriser;
class RequestHandler;

struct HelperDaemonEnv {
    core::Clock& clock;
    core::SystemLog& log;
    const PeerAuthoriser& authoriser;
    RequestHandler& handler;
    // Set when the daemon stops (also ends a polkit check under way).
    std::atomic<bool>& stopping;
    std::size_t maxConnections = 32;
    // How long a refused peer has to send the request that is answered "refused".
    core::Clock::Duration refusedReadTimeout = core::Clock::seconds(2);
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

private:
    void serve(int fd);
    void refuse(int fd);
    void closeAllConnections();

    HelperDaemonEnv env_;
    std::mutex mutex_;
    std::set<int> open_;
    core::ThreadGroup connections_;
};

} // namespace tpc::helper
