// The built tpc-helper program, started for each test in a temporary folder, driven by the
// application's helper client over its real Unix socket.

#include "DaemonProcess.h"
#include "HelperFakes.h"
#include "core/Clock.h"
#include "core/SystemLog.h"
#include "erase/HelperClient.h"
#include "erase/UnixHelperConnection.h"
#include "support/TempDir.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tpc::test {
namespace {

namespace fs = std::filesystem;

class LiveDaemonTest : public ::testing::Test {
protected:
    TempDir tmp;
    std::string socketPath = (tmp / "s").string();
    std::unique_ptr<DaemonProcess> daemon;

    void startDaemon(const std::vector<std::string>& allow) {
        std::vector<std::string> args = {"--socket", socketPath, "--log-to-stderr"};
        args.insert(args.end(), allow.begin(), allow.end());
        daemon = std::make_unique<DaemonProcess>(TPC_HELPER_PATH, args, tmp / "daemon.log");
        ASSERT_TRUE(daemon->started());
        ASSERT_TRUE(daemon->waitForSocket(socketPath)) << readFile(tmp / "daemon.log");
    }
    void startDaemonForMe() { startDaemon({"--allow-uid", std::to_string(::getuid())}); }
    void TearDown() override {
        if (daemon) {
            EXPECT_EQ(daemon->stop(), 0);
        }
    }
    std::string daemonLog() { return readFile(tmp / "daemon.log"); }
};

// The application's client talking to the daemon, every request and reply recorded.
struct LiveClient {
    core::RealClock clock;
    core::SystemLog log{false};
    std::atomic<bool> abortCleaning{false};
    std::int64_t option = -1;
    FakeInstaller installer;
    std::mutex mutex;
    std::vector<std::shared_ptr<RecordingConnection>> connections;
    erase::HelperClient client;

    explicit LiveClient(const std::string& socketPath)
        : client(erase::HelperClientEnv{
              .clock = clock,
              .log = log,
              .abortCleaning = abortCleaning,
              .deletionOption = [this] { return option; },
              .connectionFactory = [this,
                                    socketPath]() -> std::shared_ptr<erase::HelperConnection> {
                  auto c = std::make_shared<RecordingConnection>(
                      std::make_shared<erase::UnixHelperConnection>(socketPath,
                                                                    std::chrono::seconds(5)));
                  std::lock_guard lock(mutex);
                  connections.push_back(c);
                  return c;
              },
              .installer = installer,
          }) {}
    std::vector<RecordingConnection::Exchange> exchanges() {
        std::lock_guard lock(mutex);
        std::vector<RecordingConnection::Exchange> all;
        for (auto& c : connections)
            for (auto& e : c->exchanges())
                all.push_back(e);
        return all;
    }
    bool waitIdle() {
        return waitUntil([&] { return !client.helperOpsRunning(); });
    }
};

TEST_F(LiveDaemonTest, AnswersTestAndVersion) {
    startDaemonForMe();
    EXPECT_EQ(askOnce(socketPath, wire::requestMessage("test")), "ok");
    EXPECT_EQ(askOnce(socketPath, wire::requestMessage("Get Version Number")), "1.0");

    LiveClient live(socketPath);
    live.client.initialConnectionWithHelperToolThread();
    EXPECT_EQ(live.installer.blessCalls, 0);
    EXPECT_TRUE(live.client.hasConnection());
}

TEST_F(LiveDaemonTest, DeletesAFileAndThenSaysItIsNotRunning) {
    startDaemonForMe();
    writeFile(tmp / "victim", "private");
    LiveClient live(socketPath);
    live.client.deleteViaHelperTool((tmp / "victim").string());
    ASSERT_TRUE(live.waitIdle());
    live.client.waitForPolls();
    EXPECT_FALSE(fs::exists(tmp / "victim"));

    auto exchanges = live.exchanges();
    ASSERT_GE(exchanges.size(), 2u);
    EXPECT_EQ(exchanges.front().request.request, "delete");
    EXPECT_EQ(exchanges.front().reply, "started");
    EXPECT_EQ(exchanges.back().request.request, "ops running");
    EXPECT_EQ(exchanges.back().request.uuid, exchanges.front().request.uuid);
    EXPECT_EQ(exchanges.back().reply, "no");
}

TEST_F(LiveDaemonTest, ErasesAFolder) {
    startDaemonForMe();
    writeFile(tmp / "folder/a", std::string(100000, 'a'));
    writeFile(tmp / "folder/sub/b", std::string(40000, 'b'));
    LiveClient live(socketPath);
    live.option = 2;
    live.client.deleteViaHelperTool((tmp / "folder").string());
    ASSERT_TRUE(live.waitIdle());
    live.client.waitForPolls();
    EXPECT_FALSE(fs::exists(tmp / "folder"));
    auto exchanges = live.exchanges();
    ASSERT_FALSE(exchanges.empty());
    EXPECT_EQ(exchanges.front().request.request, "erase");
    EXPECT_EQ(exchanges.front().request.eraseOption, 2u);
}

TEST_F(LiveDaemonTest, RefusesRelativePaths) {
    startDaemonForMe();
    wire::Message m = wire::requestMessage("delete");
    m.uuid = "A-1";
    m.path = wire::pathData("victim");
    EXPECT_EQ(askOnce(socketPath, m), "refused");
    m.path = wire::pathData((tmp / "x/../victim").string());
    EXPECT_EQ(askOnce(socketPath, m), "refused");
    // Logged by the daemon, which keeps serving.
    EXPECT_EQ(askOnce(socketPath, wire::requestMessage("test")), "ok");
    EXPECT_NE(daemonLog().find("not an absolute path"), std::string::npos);
}

TEST_F(LiveDaemonTest, RefusesAUserItDoesNotAllow) {
    // Only uid 12345 is allowed. Root is always allowed, so as root the request comes from a
    // child process running as another uid.
    startDaemon({"--allow-uid", "12345"});
    writeFile(tmp / "victim", "private");
    wire::Message m = wire::requestMessage("delete");
    m.uuid = "A-2";
    m.path = wire::pathData((tmp / "victim").string());
    std::optional<std::string> reply;
    if (::geteuid() == 0) {
        ::chmod(tmp.path().c_str(), 0755);
        reply = askOnceAs(12346, socketPath, m);
    } else {
        reply = askOnce(socketPath, m);
    }
    EXPECT_EQ(reply, "refused");
    EXPECT_TRUE(fs::exists(tmp / "victim"));
    EXPECT_NE(daemonLog().find("Refused connection from uid"), std::string::npos);
}

TEST_F(LiveDaemonTest, ServesTheUserItAllows) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to connect as another user";
    startDaemon({"--allow-uid", "12345"});
    ::chmod(tmp.path().c_str(), 0755);
    EXPECT_EQ(askOnceAs(12345, socketPath, wire::requestMessage("test")), "ok");
    EXPECT_EQ(askOnceAs(12346, socketPath, wire::requestMessage("test")), "refused");
}

TEST_F(LiveDaemonTest, CrowdsOfIdleConnectionsDoNotKeepOthersWaiting) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to connect as other users";
    startDaemon({"--allow-uid", "12345", "--allow-uid", "12347"});
    ::chmod(tmp.path().c_str(), 0755);
    // An allowed user and one who is not each hold 100 connections, some stalled mid-request.
    HeldConnections allowed(12345, socketPath, 80, 20);
    HeldConnections stranger(12346, socketPath, 80, 20);
    ASSERT_EQ(allowed.connected(), 100);
    ASSERT_EQ(stranger.connected(), 100);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(askOnce(socketPath, wire::requestMessage("test")), "ok");
    EXPECT_EQ(askOnceAs(12347, socketPath, wire::requestMessage("test")), "ok");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    EXPECT_NE(daemonLog().find("Too many connections from uid 12346"), std::string::npos);
}

TEST_F(LiveDaemonTest, RefusesGarbageAndSurvivesIt) {
    startDaemonForMe();
    EXPECT_EQ(askOnce(socketPath, wire::Message{}), "refused");
    EXPECT_EQ(askOnce(socketPath, wire::requestMessage("test")), "ok");
}

TEST_F(LiveDaemonTest, AbortDuringALongEraseEndsTheWaitAndLeavesTheFile) {
    startDaemonForMe();
    const fs::path big = tmp / "big";
    {
        std::ofstream out(big, std::ios::binary);
        const std::string chunk(1 << 20, 'z');
        for (int i = 0; i < 64; ++i)
            out << chunk;
    }
    LiveClient live(socketPath);
    live.option = 8; // 38 passes over 64 MiB, each block flushed: far longer than this test
    live.client.deleteViaHelperTool(big.string());
    ASSERT_TRUE(waitUntil([&] {
        auto e = live.exchanges();
        return !e.empty() && e.front().reply == "started";
    }));
    EXPECT_TRUE(live.client.helperOpsRunning());
    live.abortCleaning.store(true);
    ASSERT_TRUE(live.waitIdle());
    live.client.waitForPolls();

    auto exchanges = live.exchanges();
    const auto uuid = exchanges.front().request.uuid;
    auto abort = std::find_if(exchanges.begin(), exchanges.end(), [](const auto& e) {
        return e.request.request == std::optional<std::string>("abort");
    });
    ASSERT_NE(abort, exchanges.end());
    EXPECT_EQ(abort->request.uuid, uuid);
    EXPECT_EQ(abort->reply, "done");
    EXPECT_TRUE(fs::exists(big));
    EXPECT_EQ(fs::file_size(big), 64u << 20);
    // The operation is over on the daemon's side too.
    wire::Message ask = wire::requestMessage("ops running");
    ask.uuid = uuid;
    EXPECT_EQ(askOnce(socketPath, ask), "no");
}

TEST_F(LiveDaemonTest, StopsOnSigtermAndRemovesItsSocket) {
    startDaemonForMe();
    EXPECT_EQ(daemon->stop(), 0);
    daemon.reset();
    EXPECT_FALSE(fs::exists(socketPath));
}

TEST_F(LiveDaemonTest, TakesTheSocketSystemdPasses) {
    const char* activate = "/usr/bin/systemd-socket-activate";
    if (::access(activate, X_OK) != 0)
        GTEST_SKIP() << "no systemd-socket-activate";
    // The tool listens, and starts the helper with the socket at the first connection.
    daemon = std::make_unique<DaemonProcess>(
        activate,
        std::vector<std::string>{"-l", socketPath, TPC_HELPER_PATH, "--allow-uid",
                                 std::to_string(::getuid()), "--log-to-stderr"},
        tmp / "daemon.log");
    ASSERT_TRUE(daemon->waitForSocket(socketPath));
    std::optional<std::string> reply;
    EXPECT_TRUE(waitUntil([&] {
        reply = askOnce(socketPath, wire::requestMessage("Get Version Number"));
        return reply.has_value();
    }));
    EXPECT_EQ(reply, "1.0");
    EXPECT_TRUE(waitUntil([&] {
        return daemonLog().find("socket activation") != std::string::npos;
    })) << daemonLog();
}

TEST_F(LiveDaemonTest, WithoutSocketItExplainsAndFails) {
    DaemonProcess bare(TPC_HELPER_PATH, {"--log-to-stderr"}, tmp / "bare.log");
    ASSERT_TRUE(bare.started());
    EXPECT_EQ(bare.waitForExit(), 1);
    EXPECT_NE(readFile(tmp / "bare.log").find("no --socket"), std::string::npos);
}

TEST_F(LiveDaemonTest, ClientSeesAMissingHelperAsInvalid) {
    LiveClient live((tmp / "nobody-listens").string());
    live.client.deleteViaHelperTool((tmp / "x").string());
    ASSERT_TRUE(live.waitIdle());
    EXPECT_TRUE(waitUntil([&] {
        auto lines = live.log.lines();
        return std::find(lines.begin(), lines.end(), "XPC connection invalid, releasing.") !=
               lines.end();
    }));
    EXPECT_TRUE(waitUntil([&] { return !live.client.hasConnection(); }));
}

TEST_F(LiveDaemonTest, ClientSeesARestartedHelperAsInterrupted) {
    startDaemonForMe();
    LiveClient live(socketPath);
    live.client.ensureHelperToolConnection();
    live.client.ensureHelperToolConnection(); // "test" goes out: the socket is open now
    ASSERT_TRUE(waitUntil([&] { return live.exchanges().size() == 1; }));
    ASSERT_EQ(daemon->stop(), 0);
    startDaemonForMe();
    live.client.ensureHelperToolConnection();
    EXPECT_TRUE(waitUntil([&] {
        auto lines = live.log.lines();
        return std::find(lines.begin(), lines.end(), "XPC connection interupted.") != lines.end();
    }));
    // The next request reconnects.
    live.client.ensureHelperToolConnection();
    EXPECT_TRUE(waitUntil([&] {
        auto e = live.exchanges();
        return e.size() >= 3 && e.back().reply == "ok";
    }));
}

} // namespace
} // namespace tpc::test
