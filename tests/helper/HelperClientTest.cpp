#include "erase/HelperClient.h"

#include "HelperFakes.h"
#include "core/Clock.h"
#include "core/SystemLog.h"
#include "support/FakeClock.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <map>

namespace tpc::test {
namespace {

using Event = erase::HelperConnection::Event;
using Reply = std::optional<std::string>;
using Answer = std::function<Reply(const wire::Message&)>;

// Answers each request by its name; anything else gets `otherwise`.
Answer replies(std::map<std::string, Reply> byRequest, Reply otherwise = "ok") {
    return [byRequest = std::move(byRequest), otherwise](const wire::Message& m) -> Reply {
        auto it = byRequest.find(m.request.value_or(""));
        return it == byRequest.end() ? otherwise : it->second;
    };
}

class HelperClientTest : public ::testing::Test {
protected:
    // The reply every fake connection gives (none unless a test says otherwise).
    Answer answer = [](const wire::Message&) -> Reply {
        return std::nullopt;
    };

    test::FakeClock clock;
    core::SystemLog log{false};
    std::atomic<bool> abortCleaning{false};
    std::int64_t option = -1;
    FakeInstaller installer;
    bool factoryFails = false;
    std::vector<std::shared_ptr<FakeHelperConnection>> made;
    std::unique_ptr<erase::HelperClient> client;

    void SetUp() override { remake("1.0"); }
    void TearDown() override { client.reset(); }

    void remake(const std::string& expectedVersion) {
        client.reset();
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

TEST_F(HelperClientTest, DeleteOrEraseIsSentWithAFreshUuidAndTheNulTerminatedPath) {
    option = -1;
    client->deleteViaHelperTool("/Library/Caches/x");
    option = 8;
    client->deleteViaHelperTool("/private/var/log/x.log");
    auto sent = requests();
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0].request, "delete");
    EXPECT_FALSE(sent[0].eraseOption);
    ASSERT_TRUE(sent[0].uuid);
    EXPECT_EQ(sent[0].uuid->size(), 36u);
    const std::string path = "/Library/Caches/x";
    ASSERT_TRUE(sent[0].path);
    ASSERT_EQ(sent[0].path->size(), path.size() + 1);
    EXPECT_EQ(sent[0].path->back(), 0);
    EXPECT_EQ(wire::pathFromData(*sent[0].path), path);

    EXPECT_EQ(sent[1].request, "erase");
    EXPECT_EQ(sent[1].eraseOption, 8u);
    EXPECT_NE(sent[0].uuid, sent[1].uuid);
}

TEST_F(HelperClientTest, StartedRequestIsPolledUntilTheHelperSaysNo) {
    std::vector<std::string> opsReplies = {"yes", "yes", "no"};
    std::size_t polls = 0;
    std::vector<bool> runningDuringPolls;
    answer = [&](const wire::Message& m) -> Reply {
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
    // A missing "ops running" reply ends the poll too.
    answer = replies({{wire::kErase, "started"}, {wire::kOpsRunning, std::nullopt}});
    option = 3;
    client->deleteViaHelperTool("/etc/y");
    client->waitForPolls();
    EXPECT_FALSE(client->helperOpsRunning());
    EXPECT_EQ(requests().size(), 6u);
}

TEST_F(HelperClientTest, AbortIsSentWithTheSameUuidAndDoneEndsTheWait) {
    std::size_t polls = 0;
    answer = [&](const wire::Message& m) -> Reply {
        if (m.request == wire::kErase)
            return "started";
        if (m.request == wire::kOpsRunning) {
            // The user presses Stop during the second poll.
            if (++polls == 2)
                abortCleaning.store(true);
            return "yes";
        }
        return m.request == wire::kAbort ? "done" : "ok";
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

TEST_F(HelperClientTest, AbortIsSentAgainOnEveryPassUntilDoneOrNoReply) {
    abortCleaning.store(true);
    int aborts = 0;
    answer = [&](const wire::Message& m) -> Reply {
        if (m.request == wire::kErase)
            return "started";
        if (m.request == wire::kAbort)
            return ++aborts < 3 ? "yes" : "done";
        return m.request == wire::kOpsRunning ? "yes" : "ok";
    };
    option = 0;
    client->deleteViaHelperTool("/var/big");
    client->waitForPolls();
    EXPECT_FALSE(client->helperOpsRunning());
    EXPECT_EQ(aborts, 3);
    // Each pass with an abort also tests the connection first.
    EXPECT_TRUE(logged("Sending request: test"));

    // A missing abort reply counts as finished.
    answer = replies({{wire::kDelete, "started"}, {wire::kAbort, std::nullopt}});
    option = -1;
    const auto before = requests().size();
    client->deleteViaHelperTool("/var/x");
    client->waitForPolls();
    EXPECT_FALSE(client->helperOpsRunning());
    auto sent = requests();
    ASSERT_EQ(sent.size(), before + 2);
    EXPECT_EQ(sent.back().request, "abort");
}

TEST_F(HelperClientTest, MissingOrOtherReplyClearsAtOnce) {
    for (Reply reply : {Reply{}, Reply{"refused"}}) {
        answer = replies({}, reply);
        client->deleteViaHelperTool("/x");
        EXPECT_FALSE(client->helperOpsRunning());
        client->waitForPolls();
    }
    EXPECT_EQ(requests().size(), 2u);
    EXPECT_EQ(clock.sleepCalls(), 0u);
}

TEST_F(HelperClientTest, PathThatIsNotUtf8IsNeverSent) {
    // On the way as text it would arrive as another path ("a\xFFb" once became "a").
    answer = replies({{wire::kDelete, "started"}}, "no");
    client->deleteViaHelperTool("/tmp/a\xFF"
                                "b");
    EXPECT_FALSE(client->helperOpsRunning());
    EXPECT_TRUE(requests().empty());
    EXPECT_TRUE(logged("Error removing item:/tmp/a\\xFFb, reason:the path is not valid UTF-8 "
                       "and cannot be sent to the helper"));
    // Valid UTF-8 beyond ASCII goes as it is.
    client->deleteViaHelperTool("/tmp/caf\xC3\xA9");
    client->waitForPolls();
    ASSERT_EQ(requests().size(), 2u); // the request and one poll
    EXPECT_EQ(requests()[0].path, wire::pathData("/tmp/caf\xC3\xA9"));
}

TEST_F(HelperClientTest, WithoutAConnectionTheRequestEndsAtOnce) {
    factoryFails = true;
    client->deleteViaHelperTool("/x");
    EXPECT_FALSE(client->helperOpsRunning());
    EXPECT_TRUE(logged("Failed to create XPC connection."));
    EXPECT_FALSE(client->hasConnection());
}

TEST_F(HelperClientTest, ConnectionIsMadeOnceTestedOnReuseAndReplacedWithoutReply) {
    answer = replies({});
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

    answer = replies({}, std::nullopt);
    client->ensureHelperToolConnection();
    EXPECT_EQ(made.size(), 2u);
    EXPECT_TRUE(client->hasConnection());
}

TEST_F(HelperClientTest, ConnectionEventsAreLoggedWithTheirTexts) {
    answer = replies({});
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

TEST_F(HelperClientTest, MissingJobIsBlessedAndAFailureLogged) {
    installer.exists = false;
    client->initialConnectionWithHelperToolThread();
    EXPECT_EQ(installer.blessCalls, 1);
    EXPECT_TRUE(made.empty());
    EXPECT_EQ(clock.sleepCalls(), 0u);

    installer.blessSucceeds = false;
    installer.blessError = "pkexec exited with status 126";
    client->initialConnectionWithHelperToolThread();
    EXPECT_TRUE(logged("Failed to bless helper. Error: pkexec exited with status 126"));
}

TEST_F(HelperClientTest, OlderInstalledHelperIsBlessedAgainAndTheConnectionForgotten) {
    remake("1.1");
    answer = replies({{wire::kGetVersionNumber, "1.0"}});
    client->initialConnectionWithHelperToolThread();
    EXPECT_TRUE(logged("Sending request: Get Version Number"));
    EXPECT_TRUE(logged("Received response: installed version is 1.0"));
    EXPECT_EQ(installer.blessCalls, 1);
    EXPECT_FALSE(client->hasConnection());
    EXPECT_EQ(clock.sleepCalls(), 1u);
    EXPECT_EQ(clock.now().time_since_epoch(), core::Clock::seconds(0.5));

    // A failed update is logged, and the connection still forgotten.
    remake("2.0");
    installer.blessSucceeds = false;
    installer.blessError = "denied";
    client->initialConnectionWithHelperToolThread();
    EXPECT_TRUE(logged("Failed to bless helper. Error: denied"));
    EXPECT_FALSE(client->hasConnection());
}

TEST_F(HelperClientTest, EqualNewerUnreadableOrMissingVersionIsNotReinstalled) {
    // "1.10" reads as 1.1, which is below 1.9: versions compare as whole numbers.
    const std::vector<std::pair<std::string, Reply>> cases = {
        {"1.10", "1.9"}, {"1.0", "1.0"},     {"1.0", "1.00"},
        {"1.0", "2"},    {"1.1", "refused"}, {"1.1", std::nullopt}};
    for (const auto& [expected, installed] : cases) {
        remake(expected);
        answer = replies({{wire::kGetVersionNumber, installed}});
        client->initialConnectionWithHelperToolThread();
        EXPECT_EQ(installer.blessCalls, 0) << expected << " " << installed.value_or("none");
        EXPECT_TRUE(client->hasConnection());
    }
    EXPECT_TRUE(logged("Received response: installed version is 1.9"));
    EXPECT_TRUE(logged("Received response: installed version is (null)"));
}

TEST_F(HelperClientTest, VersionReplyAfterTheHalfSecondChangesNothing) {
    remake("1.1");
    answer = replies({});
    client->ensureHelperToolConnection();
    ASSERT_EQ(made.size(), 1u);
    made[0]->deferReplies();
    client->initialConnectionWithHelperToolThread();
    made[0]->replyLater("1.0");
    EXPECT_TRUE(logged("Received response: installed version is 1.0"));
    EXPECT_EQ(installer.blessCalls, 0);
    EXPECT_TRUE(client->hasConnection());
}

TEST_F(HelperClientTest, DestroyingTheClientEndsAPollThatNeverFinishes) {
    answer = replies({{wire::kDelete, "started"}}, "yes");
    client->deleteViaHelperTool("/x");
    EXPECT_TRUE(client->helperOpsRunning());
    // The poll never ends by itself ("yes" forever); the client's end stops it.
    client.reset();
}

} // namespace
} // namespace tpc::test
