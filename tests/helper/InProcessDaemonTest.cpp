// The daemon's code run inside the test process (so that thread checkers see both sides), with a
// pipe as its stop signal.

#include "DaemonProcess.h"
#include "HelperFakes.h"
#include "core/Clock.h"
#include "core/SystemLog.h"
#include "erase/HelperClient.h"
#include "erase/UnixHelperConnection.h"
#include "helper/HelperMain.h"
#include "support/TempDir.h"

#include <filesystem>
#include <future>
#include <gtest/gtest.h>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace tpc::test {
namespace {

class InProcessDaemon {
public:
    explicit InProcessDaemon(helper::HelperOptions options) {
        EXPECT_EQ(::pipe(stop_), 0);
        thread_ = std::thread([this, options] {
            status_ = helper::runHelperDaemon(options, stop_[0], clock_, log, err_);
        });
    }
    ~InProcessDaemon() { stop(); }
    int stop() {
        if (thread_.joinable()) {
            EXPECT_EQ(::write(stop_[1], "x", 1), 1);
            thread_.join();
            ::close(stop_[0]);
            ::close(stop_[1]);
        }
        return status_;
    }
    core::SystemLog log{false};

private:
    core::RealClock clock_;
    std::ostringstream err_;
    int stop_[2] = {-1, -1};
    int status_ = -1;
    std::thread thread_;
};

helper::HelperOptions optionsFor(const std::string& socketPath) {
    helper::HelperOptions options;
    options.socketPath = socketPath;
    options.allowUids = {::getuid()};
    return options;
}

TEST(InProcessDaemon, ServesTheClientAndStopsCleanly) {
    TempDir tmp;
    const std::string socketPath = (tmp / "s").string();
    InProcessDaemon daemon(optionsFor(socketPath));
    ASSERT_TRUE(
        waitUntil([&] { return askOnce(socketPath, wire::requestMessage("test")).has_value(); }));

    writeFile(tmp / "a", "1");
    writeFile(tmp / "b", std::string(50000, 'b'));
    core::RealClock clock;
    core::SystemLog log(false);
    std::atomic<bool> abortCleaning{false};
    std::int64_t option = -1;
    FakeInstaller installer;
    {
        erase::HelperClient client(erase::HelperClientEnv{
            .clock = clock,
            .log = log,
            .abortCleaning = abortCleaning,
            .deletionOption = [&] { return option; },
            .connectionFactory = erase::UnixHelperConnection::factory(socketPath),
            .installer = installer,
        });
        client.initialConnectionWithHelperToolThread();
        EXPECT_EQ(installer.blessCalls, 0);
        client.deleteViaHelperTool((tmp / "a").string());
        ASSERT_TRUE(waitUntil([&] { return !client.helperOpsRunning(); }));
        option = 1;
        client.deleteViaHelperTool((tmp / "b").string());
        ASSERT_TRUE(waitUntil([&] { return !client.helperOpsRunning(); }));
    }
    EXPECT_FALSE(std::filesystem::exists(tmp / "a"));
    EXPECT_FALSE(std::filesystem::exists(tmp / "b"));
    EXPECT_EQ(daemon.stop(), 0);
    EXPECT_FALSE(std::filesystem::exists(socketPath));
}

TEST(InProcessDaemon, StopClosesConnectionsThatStayOpen) {
    TempDir tmp;
    const std::string socketPath = (tmp / "s").string();
    InProcessDaemon daemon(optionsFor(socketPath));
    ASSERT_TRUE(
        waitUntil([&] { return askOnce(socketPath, wire::requestMessage("test")).has_value(); }));
    // A client that keeps its connection open across the stop.
    auto connection = std::make_shared<erase::UnixHelperConnection>(socketPath);
    std::promise<std::optional<std::string>> first;
    connection->resume();
    connection->sendMessageWithReply(wire::requestMessage("test"),
                                     [&](std::optional<std::string> r) { first.set_value(r); });
    auto future = first.get_future();
    ASSERT_EQ(future.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    EXPECT_EQ(future.get(), "ok");
    EXPECT_EQ(daemon.stop(), 0);
}

TEST(InProcessDaemon, RefusesToStartNextToAnotherHelper) {
    TempDir tmp;
    const std::string socketPath = (tmp / "s").string();
    InProcessDaemon first(optionsFor(socketPath));
    ASSERT_TRUE(
        waitUntil([&] { return askOnce(socketPath, wire::requestMessage("test")).has_value(); }));
    core::RealClock clock;
    core::SystemLog log(false);
    std::ostringstream err;
    int neverStop[2];
    ASSERT_EQ(::pipe(neverStop), 0);
    EXPECT_EQ(helper::runHelperDaemon(optionsFor(socketPath), neverStop[0], clock, log, err), 1);
    ::close(neverStop[0]);
    ::close(neverStop[1]);
    EXPECT_NE(err.str().find("another helper"), std::string::npos);
    // The first one still serves.
    EXPECT_EQ(askOnce(socketPath, wire::requestMessage("test")), "ok");
}

TEST(InProcessDaemon, DoesNotReplaceAFileThatIsNotASocket) {
    TempDir tmp;
    writeFile(tmp / "s", "not a socket");
    core::RealClock clock;
    core::SystemLog log(false);
    std::ostringstream err;
    EXPECT_EQ(helper::runHelperDaemon(optionsFor((tmp / "s").string()), -1, clock, log, err), 1);
    EXPECT_EQ(readFile(tmp / "s"), "not a socket");
}

TEST(UnixHelperConnection, QueuedRequestsGetNoReplyWhenItGoes) {
    TempDir tmp;
    std::optional<std::string> reply = "unset";
    {
        erase::UnixHelperConnection connection((tmp / "nobody").string());
        // Not resumed: the request stays queued.
        connection.sendMessageWithReply(wire::requestMessage("test"),
                                        [&](std::optional<std::string> r) { reply = r; });
    }
    EXPECT_FALSE(reply);
}

TEST(UnixHelperConnection, FactoryRefusesUnusablePaths) {
    EXPECT_FALSE(erase::UnixHelperConnection::factory(std::string(200, 'x'))());
    EXPECT_FALSE(erase::UnixHelperConnection::factory("")());
    EXPECT_TRUE(erase::UnixHelperConnection::factory("/run/tpc-helper.sock")());
}

} // namespace
} // namespace tpc::test
