#include "erase/HelperClient.h"

#include "HelperFakes.h"
#include "core/Clock.h"
#include "core/SystemLog.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>

namespace tpc::test {
namespace {

using Event = erase::HelperConnection::Event;

class HelperClientTest : public ::testing::Test {
protected:
    // The reply every fake connection gives; "test" is answered "ok" unless said otherwise.
    std::function<std::optional<std::string>(const wire::Message&)> answer =
        [](const wire::Message&) -> std::optional<std::string> {
        return std::nullopt;
    };

    core::FakeClock clock;
    core::SystemLog log{false};
    std::atomic<bool> abortCleaning{false};
    std::int64_t option = -1;
    FakeInstaller installer;
    bool factoryFails = false;
    std::vector<std::shared_ptr<FakeHelperConnection>> made;
    std::unique_ptr<erase::HelperClient> client;

    void SetUp() override {
        client = std::make_unique<erase::HelperClient>(erase::HelperClientEnv{
            .clock = clock,
            .log = log,
            .abortCleaning = abortCleaning,
            .deletionOption = [this] { return option; },
            .connectionFactory = [this]() -> std::shared_ptr<erase::HelperConnection> {
                if (factoryFails)
                    return nullptr;
                auto c = std::make_shared<FakeHelperConnection>(
                    [this](const wire::Message& m) { return answer(m); });
                made.push_back(c);
                return c;
            },
            .installer = installer,
            .expectedVersion = "1.0",
        });
    }
    void TearDown() override { client.reset(); }

    void remake(const std::string& expectedVersion) {
        client.reset();
        client = std::make_unique<erase::HelperClient>(erase::HelperClientEnv{
            .clock = clock,
            .log = log,
            .abortCleaning = abortCleaning,
            .deletionOption = [this] { return option; },
            .connectionFactory = [this]() -> std::shared_ptr<erase::HelperConnection> {
                auto c = std::make_shared<FakeHelperConnection>(
                    [this](const wire::Message& m) { return answer(m); });
                made.push_back(c);
                return c;
            },
            .installer = installer,
            .expectedVersion = expectedVersion,
        });
    }

    // Every request sent on every connection, in order, "test" left out.
    std::vector<wire::Message> requests() const {
        std::vector<wire::Message> all;
        for (const auto& c : made)
            for (auto& m : c->sent())
                if (m.request != wire::kTest)
                    all.push_back(m);
        return all;
    }
    bool logged(const std::string& line) const {
        const auto lines = log.lines();
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }
};

TEST_F(HelperClientTest, PlainDeletionSendsDeleteWithoutEraseOption) {
    option = -1;
    client->deleteViaHelperTool("/Library/Caches/x");
    auto sent = requests();
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].request, "delete");
    EXPECT_FALSE(sent[0].eraseOption);
    ASSERT_TRUE(sent[0].uuid);
    EXPECT_EQ(sent[0].uuid->size(), 36u);
    const std::string path = "/Library/Caches/x";
    ASSERT_TRUE(sent[0].path);
    ASSERT_EQ(sent[0].path->size(), path.size() + 1);
    EXPECT_EQ(sent[0].path->back(), 0);
    EXPECT_EQ(wire::pathFromData(*sent[0].path), path);
}

TEST_F(HelperClientTest, EraseSendsTheMethodAsEraseOption) {
    option = 8;
    client->deleteViaHelperTool("/private/var/log/x.log");
    auto sent = requests();
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].request, "erase");
    EXPECT_EQ(sent[0].eraseOption, 8u);
}

TEST_F(HelperClientTest, EachRequestGetsAFreshUuid) {
    client->deleteViaHelperTool("/a");
    client->deleteViaHelperTool("/b");
    auto sent = requests();
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_NE(sent[0].uuid, sent[1].uuid);
}

TEST_F(HelperClientTest, StartedRequestIsPolledUntilTheHelperSaysNo) {
    std::vector<std::string> opsReplies = {"yes", "yes", "no"};
    std::size_t polls = 0;
    std::vector<bool> runningDuringPolls;
    answer = [&](const wire::Message& m) -> std::optional<std::string> {
        if (m.request == wire::kDelete)
            return "started";
        if (m.request == wire::kOpsRunning) {
            runningDuringPolls.push_back(client->helperOpsRunning());
            return opsReplies.at(polls++);
        }
        return "ok";
    };
    client->deleteViaHelperTool("/etc/x");
    client->waitForPolls();
    EXPECT_FALSE(client->helperOpsRunning());
    EXPECT_EQ(polls, 3u);
    EXPECT_EQ(runningDuringPolls, (std::vector<bool>{true, true, true}));
    auto sent = requests();
    ASSERT_EQ(sent.size(), 4u);
    for (std::size_t i = 1; i < sent.size(); ++i) {
        EXPECT_EQ(sent[i].request, "ops running");
        EXPECT_EQ(sent[i].uuid, sent[0].uuid);
        EXPECT_FALSE(sent[i].path);
    }
    // One 0.5 s sleep before each poll.
    EXPECT_EQ(clock.sleepCalls(), 3u);
    EXPECT_EQ(clock.now().time_since_epoch(), core::Clock::seconds(1.5));
}

TEST_F(HelperClientTest, MissingOpsRunningReplyEndsThePoll) {
    answer = [&](const wire::Message& m) -> std::optional<std::string> {
        if (m.request == wire::kErase)
            return "started";
        if (m.request == wire::kOpsRunning)
            return std::nullopt;
        return "ok";
    };
    option = 3;
    client->deleteViaHelperTool("/etc/x");
    client->waitForPolls();
    EXPECT_FALSE(client->helperOpsRunning());
    EXPECT_EQ(requests().size(), 2u);
}

TEST_F(HelperClientTest, AbortIsSentWithTheSameUuidAndDoneEndsTheWait) {
    std::size_t polls = 0;
    answer = [&](const wire::Message& m) -> std::optional<std::string> {
        if (m.request == wire::kErase)
            return "started";
        if (m.request == wire::kOpsRunning) {
            // The user presses Stop during the second poll.
            if (++polls == 2)
                abortCleaning.store(true);
            return "yes";
        }
        if (m.request == wire::kAbort)
            return "done";
        return "ok";
    };
    option = 8;
    client->deleteViaHelperTool("/var/big");
    client->waitForPolls();
    EXPECT_FALSE(client->helperOpsRunning());
    auto sent = requests();
    ASSERT_EQ(sent.size(), 4u);
    EXPECT_EQ(sent[1].request, "ops running");
    EXPECT_EQ(sent[2].request, "ops running");
    EXPECT_EQ(sent[3].request, "abort");
    EXPECT_EQ(sent[3].uuid, sent[0].uuid);
    EXPECT_FALSE(sent[3].path);
    EXPECT_FALSE(sent[3].eraseOption);
}

TEST_F(HelperClientTest, AbortIsSentAgainOnEveryPassUntilDone) {
    abortCleaning.store(true);
    int aborts = 0;
    answer = [&](const wire::Message& m) -> std::optional<std::string> {
        if (m.request == wire::kErase)
            return "started";
        if (m.request == wire::kAbort)
            return ++aborts < 3 ? "yes" : "done";
        if (m.request == wire::kOpsRunning)
            return "yes";
        return "ok";
    };
    option = 0;
    client->deleteViaHelperTool("/var/big");
    client->waitForPolls();
    EXPECT_FALSE(client->helperOpsRunning());
    EXPECT_EQ(aborts, 3);
    // Each pass with an abort also tests the connection first.
    EXPECT_TRUE(logged("Sending request: test"));
}

TEST_F(HelperClientTest, MissingAbortReplyCountsAsFinished) {
    abortCleaning.store(true);
    answer = [&](const wire::Message& m) -> std::optional<std::string> {
        if (m.request == wire::kDelete)
            return "started";
        if (m.request == wire::kAbort)
            return std::nullopt;
        return "ok";
    };
    client->deleteViaHelperTool("/var/x");
    client->waitForPolls();
    EXPECT_FALSE(client->helperOpsRunning());
    auto sent = requests();
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[1].request, "abort");
}

TEST_F(HelperClientTest, MissingReplyClearsAtOnce) {
    client->deleteViaHelperTool("/x");
    EXPECT_FALSE(client->helperOpsRunning());
    client->waitForPolls();
    EXPECT_EQ(requests().size(), 1u);
    EXPECT_EQ(clock.sleepCalls(), 0u);
}

TEST_F(HelperClientTest, AnyOtherReplyClearsAtOnce) {
    answer = [](const wire::Message&) -> std::optional<std::string> {
        return "refused";
    };
    client->deleteViaHelperTool("/x");
    EXPECT_FALSE(client->helperOpsRunning());
    EXPECT_EQ(clock.sleepCalls(), 0u);
}

TEST_F(HelperClientTest, WithoutAConnectionTheRequestEndsAtOnce) {
    factoryFails = true;
    client->deleteViaHelperTool("/x");
    EXPECT_FALSE(client->helperOpsRunning());
    EXPECT_TRUE(logged("Failed to create XPC connection."));
    EXPECT_FALSE(client->hasConnection());
}

TEST_F(HelperClientTest, ConnectionIsMadeOnceAndResumed) {
    answer = [](const wire::Message&) -> std::optional<std::string> {
        return "ok";
    };
    client->ensureHelperToolConnection();
    ASSERT_EQ(made.size(), 1u);
    EXPECT_TRUE(made[0]->resumed());
    EXPECT_TRUE(made[0]->sent().empty());
    client->ensureHelperToolConnection();
    EXPECT_EQ(made.size(), 1u);
    auto sent = made[0]->sent();
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].request, "test");
    EXPECT_TRUE(logged("Sending request: test"));
}

TEST_F(HelperClientTest, TestWithoutReplyReplacesTheConnection) {
    client->ensureHelperToolConnection();
    client->ensureHelperToolConnection();
    EXPECT_EQ(made.size(), 2u);
    EXPECT_TRUE(client->hasConnection());
}

TEST_F(HelperClientTest, ConnectionEventsAreLoggedWithTheirTexts) {
    answer = [](const wire::Message&) -> std::optional<std::string> {
        return "ok";
    };
    client->ensureHelperToolConnection();
    ASSERT_EQ(made.size(), 1u);
    made[0]->fire(Event::NotAnError);
    made[0]->fire(Event::OtherError);
    made[0]->fire(Event::Interrupted);
    EXPECT_TRUE(logged("Unexpected XPC connection event."));
    EXPECT_TRUE(logged("Unexpected XPC connection error."));
    EXPECT_TRUE(logged("XPC connection interupted."));
    // Interruption keeps the connection.
    EXPECT_TRUE(client->hasConnection());
    made[0]->fire(Event::Invalid);
    EXPECT_TRUE(logged("XPC connection invalid, releasing."));
    EXPECT_FALSE(client->hasConnection());
    // The next use makes a new one.
    client->ensureHelperToolConnection();
    EXPECT_EQ(made.size(), 2u);
    // An event from the old connection no longer touches the new one.
    made[0]->fire(Event::Invalid);
    EXPECT_TRUE(client->hasConnection());
}

TEST_F(HelperClientTest, MissingJobIsBlessed) {
    installer.exists = false;
    client->initialConnectionWithHelperToolThread();
    EXPECT_EQ(installer.blessCalls, 1);
    EXPECT_TRUE(made.empty());
    EXPECT_EQ(clock.sleepCalls(), 0u);
}

TEST_F(HelperClientTest, BlessFailureIsLogged) {
    installer.exists = false;
    installer.blessSucceeds = false;
    installer.blessError = "pkexec exited with status 126";
    client->initialConnectionWithHelperToolThread();
    EXPECT_TRUE(logged("Failed to bless helper. Error: pkexec exited with status 126"));
}

TEST_F(HelperClientTest, OlderInstalledHelperIsBlessedAgainAndTheConnectionForgotten) {
    remake("1.1");
    answer = [](const wire::Message& m) -> std::optional<std::string> {
        return m.request == wire::kGetVersionNumber ? "1.0" : "ok";
    };
    client->initialConnectionWithHelperToolThread();
    EXPECT_TRUE(logged("Sending request: Get Version Number"));
    EXPECT_TRUE(logged("Received response: installed version is 1.0"));
    EXPECT_EQ(installer.blessCalls, 1);
    EXPECT_FALSE(client->hasConnection());
    EXPECT_EQ(clock.sleepCalls(), 1u);
    EXPECT_EQ(clock.now().time_since_epoch(), core::Clock::seconds(0.5));
}

TEST_F(HelperClientTest, FailedUpdateIsLoggedAndTheConnectionStillForgotten) {
    remake("2.0");
    installer.blessSucceeds = false;
    installer.blessError = "denied";
    answer = [](const wire::Message& m) -> std::optional<std::string> {
        return m.request == wire::kGetVersionNumber ? "1.0" : "ok";
    };
    client->initialConnectionWithHelperToolThread();
    EXPECT_TRUE(logged("Failed to bless helper. Error: denied"));
    EXPECT_FALSE(client->hasConnection());
}

TEST_F(HelperClientTest, VersionsCompareAsWholeNumbersNotComponents) {
    // "1.10" reads as 1.1, which is below 1.9.
    remake("1.10");
    answer = [](const wire::Message& m) -> std::optional<std::string> {
        return m.request == wire::kGetVersionNumber ? "1.9" : "ok";
    };
    client->initialConnectionWithHelperToolThread();
    EXPECT_TRUE(logged("Received response: installed version is 1.9"));
    EXPECT_EQ(installer.blessCalls, 0);
    EXPECT_TRUE(client->hasConnection());
}

TEST_F(HelperClientTest, EqualOrNewerInstalledHelperIsKept) {
    for (const char* installed : {"1.0", "1.00", "2"}) {
        remake("1.0");
        answer = [installed](const wire::Message& m) -> std::optional<std::string> {
            return m.request == wire::kGetVersionNumber ? installed : "ok";
        };
        client->initialConnectionWithHelperToolThread();
        EXPECT_EQ(installer.blessCalls, 0) << installed;
    }
}

TEST_F(HelperClientTest, UnreadableOrMissingVersionIsNotReinstalled) {
    remake("1.1");
    answer = [](const wire::Message& m) -> std::optional<std::string> {
        return m.request == wire::kGetVersionNumber ? "refused" : "ok";
    };
    client->initialConnectionWithHelperToolThread();
    EXPECT_EQ(installer.blessCalls, 0);

    remake("1.1");
    answer = [](const wire::Message&) -> std::optional<std::string> {
        return std::nullopt;
    };
    client->initialConnectionWithHelperToolThread();
    EXPECT_TRUE(logged("Received response: installed version is (null)"));
    EXPECT_EQ(installer.blessCalls, 0);
}

TEST_F(HelperClientTest, VersionReplyAfterTheHalfSecondChangesNothing) {
    remake("1.1");
    answer = [](const wire::Message&) -> std::optional<std::string> {
        return "ok";
    };
    client->ensureHelperToolConnection();
    ASSERT_EQ(made.size(), 1u);
    made[0]->deferReplies();
    client->initialConnectionWithHelperToolThread();
    made[0]->replyLater("1.0");
    EXPECT_TRUE(logged("Received response: installed version is 1.0"));
    EXPECT_EQ(installer.blessCalls, 0);
    EXPECT_TRUE(client->hasConnection());
}

TEST_F(HelperClientTest, ClearHelperOpsRunning) {
    answer = [](const wire::Message& m) -> std::optional<std::string> {
        return m.request == wire::kDelete ? "started" : "no";
    };
    client->deleteViaHelperTool("/x");
    client->waitForPolls();
    EXPECT_FALSE(client->helperOpsRunning());
    client->clearHelperOpsRunning();
    EXPECT_FALSE(client->helperOpsRunning());
}

TEST(HelperClientShutdown, DestroyingTheClientEndsAPollThatNeverFinishes) {
    core::FakeClock clock;
    core::SystemLog log(false);
    std::atomic<bool> abortCleaning{false};
    FakeInstaller installer;
    auto client = std::make_unique<erase::HelperClient>(erase::HelperClientEnv{
        .clock = clock,
        .log = log,
        .abortCleaning = abortCleaning,
        .deletionOption = [] { return std::int64_t{-1}; },
        .connectionFactory = []() -> std::shared_ptr<erase::HelperConnection> {
            return std::make_shared<FakeHelperConnection>(
                [](const wire::Message& m) -> std::optional<std::string> {
                    return m.request == wire::kDelete ? "started" : "yes";
                });
        },
        .installer = installer,
    });
    client->deleteViaHelperTool("/x");
    EXPECT_TRUE(client->helperOpsRunning());
    // The poll never ends by itself ("yes" forever); the client's end stops it.
    client.reset();
}

} // namespace
} // namespace tpc::test
