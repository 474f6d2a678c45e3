// The daemon under peers that connect and then stay silent, stall inside a request, or trickle
// it: they are bounded per user and timed out, and meanwhile everyone else is served at once.
// The daemon runs in this process on a clock the tests move; the sockets are real.

#include "DaemonProcess.h"
#include "core/Clock.h"
#include "core/SystemLog.h"
#include "helper/HelperDaemon.h"
#include "helper/ListenSocket.h"
#include "helper/OperationTable.h"
#include "helper/PeerAuth.h"
#include "helper/RequestHandler.h"
#include "support/TempDir.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace tpc::test {
namespace {

namespace wire = erase::wire;
using Duration = core::Clock::Duration;

constexpr uid_t kAllowedUid = 12345;
constexpr uid_t kOtherAllowedUid = 12347;
constexpr uid_t kStrangerUid = 12346;

// Time that only moves when the test says so; counts its readings, so that a test can tell
// when a connection's thread has taken its deadline and gone back to waiting.
class SteppedClock final : public core::Clock {
public:
    TimePoint now() const override {
        reads_.fetch_add(1);
        return TimePoint(Duration(elapsed_.load()));
    }
    WallTime wallNow() const override { return WallTime(Duration(elapsed_.load())); }
    void sleepFor(Duration d) override { advance(d); }
    void advance(Duration d) { elapsed_.fetch_add(d.count()); }
    std::uint64_t reads() const { return reads_.load(); }

private:
    std::atomic<std::int64_t> elapsed_{0};
    mutable std::atomic<std::uint64_t> reads_{0};
};

std::optional<std::string> ask(int fd, const wire::Message& m) {
    if (!wire::writeMessage(fd, m))
        return std::nullopt;
    auto in = wire::readMessage(fd);
    if (in.status != wire::ReadStatus::Ok)
        return std::nullopt;
    return in.message.reply;
}

// True once the daemon has closed `fd` (waits at most 5 s).
bool closedByDaemon(int fd) {
    pollfd p{fd, POLLIN, 0};
    if (::poll(&p, 1, 5000) != 1)
        return false;
    char c;
    const ssize_t n = ::recv(fd, &c, 1, MSG_DONTWAIT);
    return n == 0 || (n < 0 && errno == ECONNRESET);
}

// Bytes sent on `fd` that the daemon has not read yet.
int unread(int fd) {
    int n = -1;
    ::ioctl(fd, SIOCOUTQ, &n);
    return n;
}

class DaemonLimitsTest : public ::testing::Test {
protected:
    TempDir tmp;
    std::string socketPath = (tmp / "s").string();
    SteppedClock clock;
    core::SystemLog log{false};
    std::atomic<bool> stopping{false};
    helper::OperationTable operations{clock};
    helper::RequestHandler handler{helper::RequestHandlerEnv{
        .operations = operations,
        .log = log,
        .remove = [](const std::string&, std::optional<std::uint64_t>, const std::atomic<bool>&) {},
    }};
    // This process's user and kAllowedUid, kOtherAllowedUid may use it (and root always).
    helper::PeerAuthoriser authoriser{
        helper::AuthPolicy{{::getuid(), kAllowedUid, kOtherAllowedUid}, {}},
        [](const helper::PeerCredentials&) {
            return false;
        }};
    std::optional<helper::ListenSocket> socket;
    std::unique_ptr<helper::HelperDaemon> daemon;
    int stop[2] = {-1, -1};
    std::thread thread;

    // Starts the daemon with a 5 s limit for one request and connects a peer that has sent half
    // a frame; -1 when that could not be set up.
    int peerStalledMidRequest() {
        start([](helper::HelperDaemonEnv& env) {
            env.frameTimeout = core::Clock::seconds(5);
            env.waitSlice = core::Clock::seconds(0.01);
        });
        const int fd = connectTo(socketPath);
        if (fd >= 0 && !sendHalfAFrame(fd)) {
            ::close(fd);
            return -1;
        }
        return fd;
    }

    void start(const std::function<void(helper::HelperDaemonEnv&)>& tune = {}) {
        std::string error;
        auto bound = helper::ListenSocket::bind(socketPath, error);
        ASSERT_TRUE(bound) << error;
        socket.emplace(std::move(*bound));
        // Other users' processes must reach the socket.
        ::chmod(tmp.path().c_str(), 0755);
        helper::HelperDaemonEnv env{.clock = clock,
                                    .log = log,
                                    .authoriser = authoriser,
                                    .handler = handler,
                                    .stopping = stopping};
        if (tune)
            tune(env);
        daemon = std::make_unique<helper::HelperDaemon>(env);
        ASSERT_EQ(::pipe(stop), 0);
        thread = std::thread([this] { daemon->run(socket->fd(), stop[0]); });
    }
    void TearDown() override {
        if (thread.joinable()) {
            EXPECT_EQ(::write(stop[1], "x", 1), 1);
            thread.join();
            ::close(stop[0]);
            ::close(stop[1]);
        }
    }
    // Waits until the connection threads have gone back to waiting with their deadlines taken
    // (each reads the clock once for its deadline and once before every wait).
    void settle(int fd = -1) {
        if (fd >= 0) {
            ASSERT_TRUE(waitUntil([&] { return unread(fd) == 0; }));
        }
        const auto seen = clock.reads();
        ASSERT_TRUE(waitUntil([&] { return clock.reads() >= seen + 2; }));
    }
    std::size_t logged(const std::string& part) const {
        auto lines = log.lines();
        return static_cast<std::size_t>(
            std::count_if(lines.begin(), lines.end(), [&](const std::string& line) {
                return line.find(part) != std::string::npos;
            }));
    }
    static wire::Message deleteRequest(const std::string& uuid, const std::string& path) {
        wire::Message m = wire::requestMessage("delete");
        m.uuid = uuid;
        m.path = wire::pathData(path);
        return m;
    }
};

TEST_F(DaemonLimitsTest, TwoHundredIdlePeersDoNotDelayARequest) {
    // Bounds high enough for one user's 220 connections: what is shown is that each is served
    // on its own, whatever the others do.
    start([](helper::HelperDaemonEnv& env) {
        env.maxConnectionsPerUid = 400;
        env.maxConnections = 400;
    });
    HeldConnections idle(::getuid(), socketPath, 200, 20);
    ASSERT_EQ(idle.connected(), 220);
    ASSERT_TRUE(waitUntil([&] { return daemon->openConnections() == 220; }));

    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(askOnce(socketPath, wire::requestMessage("test")), "ok");
    EXPECT_EQ(askOnce(socketPath, deleteRequest("IDLE-1", (tmp / "x").string())), "started");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
}

TEST_F(DaemonLimitsTest, OtherUsersCrowdsLeaveRootAndAllowedUsersServed) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to connect as other users";
    start(); // the bounds as shipped
    // An allowed user and one who is not allowed each open 100 connections and keep them.
    HeldConnections allowed(kAllowedUid, socketPath, 90, 10);
    HeldConnections stranger(kStrangerUid, socketPath, 90, 10);
    ASSERT_EQ(allowed.connected(), 100);
    ASSERT_EQ(stranger.connected(), 100);

    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(askOnce(socketPath, wire::requestMessage("test")), "ok");
    EXPECT_EQ(askOnceAs(kOtherAllowedUid, socketPath, wire::requestMessage("test")), "ok");
    EXPECT_EQ(askOnceAs(kStrangerUid + 2, socketPath, wire::requestMessage("test")), "refused");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    // The crowding users themselves are at their bound: closed without a word.
    EXPECT_EQ(askOnceAs(kAllowedUid, socketPath, wire::requestMessage("test")), std::nullopt);
    EXPECT_EQ(logged("Too many connections from uid " + std::to_string(kAllowedUid)), 1u);
    EXPECT_EQ(logged("Too many connections from uid " + std::to_string(kStrangerUid)), 1u);
}

TEST_F(DaemonLimitsTest, PerUserBoundRefusesBeyondItUntilOneCloses) {
    start([](helper::HelperDaemonEnv& env) { env.maxConnectionsPerUid = 3; });
    HeldConnections held(::getuid(), socketPath, 2, 1);
    ASSERT_TRUE(waitUntil([&] { return daemon->openConnections() == 3; }));
    EXPECT_EQ(askOnce(socketPath, wire::requestMessage("test")), std::nullopt);
    EXPECT_EQ(askOnce(socketPath, wire::requestMessage("test")), std::nullopt);
    // Logged once, not once per connection.
    EXPECT_EQ(logged("Too many connections from uid " + std::to_string(::getuid())), 1u);

    held.closeOne();
    ASSERT_TRUE(waitUntil([&] { return daemon->openConnections() == 2; }));
    EXPECT_EQ(askOnce(socketPath, wire::requestMessage("test")), "ok");
}

TEST_F(DaemonLimitsTest, OverallBoundSparesRoot) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to connect as other users";
    start([](helper::HelperDaemonEnv& env) { env.maxConnections = 4; });
    HeldConnections first(kAllowedUid, socketPath, 4, 0);
    ASSERT_TRUE(waitUntil([&] { return daemon->openConnections() == 4; }));
    EXPECT_EQ(askOnceAs(kOtherAllowedUid, socketPath, wire::requestMessage("test")), std::nullopt);
    EXPECT_EQ(askOnce(socketPath, wire::requestMessage("test")), "ok");
    EXPECT_EQ(logged("Too many connections; further ones (except root's)"), 1u);
}

TEST_F(DaemonLimitsTest, SilentConnectionIsClosedAfterTheIdleLimit) {
    start([](helper::HelperDaemonEnv& env) {
        env.idleTimeout = core::Clock::seconds(30);
        env.waitSlice = core::Clock::seconds(0.01);
    });
    const int fd = connectTo(socketPath);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(ask(fd, wire::requestMessage("test")), "ok");
    settle();
    clock.advance(core::Clock::seconds(29));
    settle();
    // Still open, and a request starts the idle time again.
    ASSERT_EQ(ask(fd, wire::requestMessage("test")), "ok");
    settle();
    clock.advance(core::Clock::seconds(29));
    settle();
    ASSERT_EQ(ask(fd, wire::requestMessage("test")), "ok");
    settle();
    clock.advance(core::Clock::seconds(31));
    EXPECT_TRUE(closedByDaemon(fd));
    ::close(fd);
    EXPECT_TRUE(waitUntil([&] { return daemon->openConnections() == 0; }));
}

TEST_F(DaemonLimitsTest, StalledRequestIsClosedAfterTheFrameLimit) {
    const int fd = peerStalledMidRequest();
    ASSERT_GE(fd, 0);
    settle(fd);
    // Far below the idle limit, but beyond the limit for one request.
    clock.advance(core::Clock::seconds(6));
    EXPECT_TRUE(closedByDaemon(fd));
    ::close(fd);
    EXPECT_TRUE(waitUntil([&] { return logged("stalled in the middle of a message") == 1; }));
}

TEST_F(DaemonLimitsTest, TricklingARequestDoesNotStretchTheFrameLimit) {
    const int fd = peerStalledMidRequest();
    ASSERT_GE(fd, 0);
    // One more byte every second: each read succeeds, yet the request never completes.
    for (int second = 1; second <= 4; ++second) {
        settle(fd);
        clock.advance(core::Clock::seconds(1));
        const char byte = 'x';
        ASSERT_EQ(::send(fd, &byte, 1, MSG_NOSIGNAL), 1) << "closed after " << second << " s";
    }
    settle(fd);
    clock.advance(core::Clock::seconds(2));
    EXPECT_TRUE(closedByDaemon(fd));
    ::close(fd);
}

TEST_F(DaemonLimitsTest, StopEndsEveryConnectionAtOnce) {
    start();
    HeldConnections held(::getuid(), socketPath, 5, 3);
    ASSERT_TRUE(waitUntil([&] { return daemon->openConnections() == 8; }));
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(::write(stop[1], "x", 1), 1);
    thread.join();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    EXPECT_EQ(daemon->openConnections(), 0u);
    ::close(stop[0]);
    ::close(stop[1]);
}

} // namespace
} // namespace tpc::test
