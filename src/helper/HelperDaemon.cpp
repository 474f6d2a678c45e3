#include "helper/HelperDaemon.h"

#include "core/SystemLog.h"
#include "erase/HelperWire.h"
#include "helper/FrameReader.h"
#include "helper/PeerAuth.h"
#include "helper/RequestHandler.h"

#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace tpc::helper {

namespace wire = erase::wire;

namespace {

constexpr double kAcceptRetrySeconds = 0.1;
// Refused connections are logged at most this often per user, so a flood does not fill the log.
constexpr double kCrowdLogSeconds = 60;

std::string peerName(const PeerCredentials& peer) {
    return "uid " + std::to_string(peer.uid) + " (pid " + std::to_string(peer.pid) + ")";
}

// A peer that does not take its replies makes the write fail instead of hanging.
void setSendTimeout(int fd, core::Clock::Duration timeout) {
    timeval tv{};
    tv.tv_sec = static_cast<time_t>(timeout.count() / 1000000);
    tv.tv_usec = static_cast<suseconds_t>(timeout.count() % 1000000);
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &tv, sizeof tv);
}

} // namespace

HelperDaemon::HelperDaemon(HelperDaemonEnv env) : env_(env) {}

HelperDaemon::~HelperDaemon() {
    env_.stopping.store(true);
    closeAllConnections();
    connections_.joinAll();
}

void HelperDaemon::run(int listenFd, int stopFd) {
    for (;;) {
        pollfd fds[2] = {{listenFd, POLLIN, 0}, {stopFd, POLLIN, 0}};
        if (::poll(fds, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            env_.log.log("Helper stops: poll failed");
            break;
        }
        if (fds[1].revents != 0)
            break;
        if (fds[0].revents & (POLLERR | POLLNVAL)) {
            env_.log.log("Helper stops: the listening socket failed");
            break;
        }
        if (!(fds[0].revents & POLLIN))
            continue;
        const int fd = ::accept4(listenFd, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) {
            // Out of descriptors or memory: give the open connections a moment to end.
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM)
                env_.clock.sleepFor(core::Clock::seconds(kAcceptRetrySeconds));
            continue;
        }
        // The credentials were taken when the peer connected; reading them never waits.
        const auto peer = peerCredentials(fd);
        if (!peer) {
            ::close(fd);
            env_.log.log("Closed a connection without peer credentials");
            continue;
        }
        if (!admit(fd, peer->uid)) {
            ::close(fd);
            continue;
        }
        setSendTimeout(fd, env_.frameTimeout);
        connections_.start([this, fd, peer = *peer] { serve(fd, peer); });
    }
    env_.stopping.store(true);
    closeAllConnections();
    connections_.joinAll();
}

std::size_t HelperDaemon::openConnections() {
    std::lock_guard lock(mutex_);
    return open_.size();
}

bool HelperDaemon::timeToLog(std::optional<core::Clock::TimePoint>& last) {
    const auto now = env_.clock.now();
    if (last && now - *last < core::Clock::seconds(kCrowdLogSeconds))
        return false;
    last = now;
    return true;
}

bool HelperDaemon::admit(int fd, uid_t uid) {
    std::lock_guard lock(mutex_);
    const auto held = perUid_.find(uid);
    if (held != perUid_.end() && held->second >= env_.maxConnectionsPerUid) {
        if (timeToLog(crowdLogged_[uid]))
            env_.log.log("Too many connections from uid " + std::to_string(uid) +
                         "; further ones are closed at once");
        return false;
    }
    if (uid != 0 && othersOpen_ >= env_.maxConnections) {
        if (timeToLog(fullLogged_))
            env_.log.log("Too many connections; further ones (except root's) are closed at once");
        return false;
    }
    open_.emplace(fd, uid);
    ++perUid_[uid];
    if (uid != 0)
        ++othersOpen_;
    return true;
}

void HelperDaemon::release(int fd, uid_t uid) {
    // Closed under the lock, so that closeAllConnections never shuts down a reused number.
    std::lock_guard lock(mutex_);
    open_.erase(fd);
    if (auto held = perUid_.find(uid); held != perUid_.end() && --held->second == 0)
        perUid_.erase(held);
    if (uid != 0)
        --othersOpen_;
    ::close(fd);
}

void HelperDaemon::closeAllConnections() {
    // Shutting a socket down wakes its thread from any wait; the thread closes it.
    std::lock_guard lock(mutex_);
    for (const auto& [fd, uid] : open_)
        ::shutdown(fd, SHUT_RDWR);
}

void HelperDaemon::refuse(int fd) {
    // One request is read (briefly) so that the peer gets its reply rather than a reset.
    readFrame(fd, env_.clock,
              FrameLimits{env_.refusedReadTimeout, env_.refusedReadTimeout, env_.waitSlice});
    wire::writeMessage(fd, wire::replyMessage(wire::kRefused));
}

void HelperDaemon::serve(int fd, const PeerCredentials& peer) {
    std::string why = "not allowed";
    if (!env_.authoriser.authorise(peer, why)) {
        env_.log.log("Refused connection from " + peerName(peer) + ": " + why);
        refuse(fd);
    } else {
        const std::string name = peerName(peer);
        const FrameLimits limits{env_.idleTimeout, env_.frameTimeout, env_.waitSlice};
        while (!env_.stopping.load()) {
            FrameResult in = readFrame(fd, env_.clock, limits);
            wire::Message reply;
            if (in.status == FrameStatus::Ok) {
                reply = env_.handler.handle(in.message, name);
            } else if (in.status == FrameStatus::Garbage) {
                env_.log.log("Refused an unreadable message from " + name);
                reply = wire::replyMessage(wire::kRefused);
            } else {
                // A client that went away or stayed idle is nothing to report.
                if (in.status != FrameStatus::Closed && in.status != FrameStatus::Idle)
                    env_.log.log("Connection from " + name +
                                 " closed: " + frameStatusName(in.status));
                break;
            }
            if (!wire::writeMessage(fd, reply))
                break;
        }
    }
    release(fd, peer.uid);
}

} // namespace tpc::helper
