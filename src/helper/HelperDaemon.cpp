#include "helper/HelperDaemon.h"

#include "core/SystemLog.h"
#include "erase/HelperWire.h"
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

std::string peerName(const PeerCredentials& peer) {
    return "uid " + std::to_string(peer.uid) + " (pid " + std::to_string(peer.pid) + ")";
}

void setReceiveTimeout(int fd, core::Clock::Duration timeout) {
    timeval tv{};
    tv.tv_sec = static_cast<time_t>(timeout.count() / 1000000);
    tv.tv_usec = static_cast<suseconds_t>(timeout.count() % 1000000);
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
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
        {
            std::lock_guard lock(mutex_);
            if (open_.size() >= env_.maxConnections) {
                ::close(fd);
                env_.log.log("Too many connections; one was closed at once");
                continue;
            }
            open_.insert(fd);
        }
        connections_.start([this, fd] { serve(fd); });
    }
    env_.stopping.store(true);
    closeAllConnections();
    connections_.joinAll();
}

void HelperDaemon::closeAllConnections() {
    // Shutting a socket down wakes its thread from any read; the thread closes it.
    std::lock_guard lock(mutex_);
    for (int fd : open_)
        ::shutdown(fd, SHUT_RDWR);
}

void HelperDaemon::refuse(int fd) {
    // One request is read (briefly) so that the peer gets its reply rather than a reset.
    setReceiveTimeout(fd, env_.refusedReadTimeout);
    wire::readMessage(fd);
    wire::writeMessage(fd, wire::replyMessage(wire::kRefused));
}

void HelperDaemon::serve(int fd) {
    const auto peer = peerCredentials(fd);
    std::string why = "no peer credentials";
    if (!peer || !env_.authoriser.authorise(*peer, why)) {
        env_.log.log("Refused connection from " + (peer ? peerName(*peer) : "an unknown peer") +
                     ": " + why);
        refuse(fd);
    } else {
        const std::string name = peerName(*peer);
        while (!env_.stopping.load()) {
            wire::ReadResult in = wire::readMessage(fd);
            wire::Message reply;
            if (in.status == wire::ReadStatus::Ok) {
                reply = env_.handler.handle(in.message, name);
            } else if (in.status == wire::ReadStatus::Garbage) {
                env_.log.log("Refused an unreadable message from " + name);
                reply = wire::replyMessage(wire::kRefused);
            } else {
                if (in.status != wire::ReadStatus::Eof)
                    env_.log.log("Connection from " + name +
                                 " closed: " + wire::readStatusName(in.status));
                break;
            }
            if (!wire::writeMessage(fd, reply))
                break;
        }
    }
    std::lock_guard lock(mutex_);
    open_.erase(fd);
    ::close(fd);
}

} // namespace tpc::helper
