// Items this user may not change go to the helper, one request at a time, and deleteFiles
// returns only once the last request has finished.
#include "erase/EraseHarness.h"
#include "support/FakeClock.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <thread>

namespace tpc::erase::test {
namespace {

namespace fs = std::filesystem;
using tpc::test::readFile;

class HelperHandOff : public ::testing::Test {
protected:
    EraseHarness h;
    Deleter deleter = h.deleter();
};

TEST_F(HelperHandOff, AnItemInAFolderNotWritableGoesToTheHelperUntouched) {
    const auto content = h.makeFile("f", 5000);
    h.checker.notRemovable.insert(h.path("f")); // the item is writable, its folder is not
    for (std::int64_t option : {-1, 0, 8}) {
        h.option = option;
        deleter.deleteFiles({h.path("f")});
    }
    EXPECT_EQ(h.helper.requests, std::vector<std::string>(3, h.path("f")));
    EXPECT_EQ(readFile(h.path("f")), content);
    EXPECT_TRUE(h.writer.calls.empty());
}

TEST_F(HelperHandOff, AnItemNotWritableGoesToTheHelperOnlyWhenErasing) {
    const auto content = h.makeFile("f", 5000);
    h.checker.notWritable.insert(h.path("f"));
    deleter.deleteFiles({h.path("f")});
    EXPECT_EQ(h.helper.requests, std::vector<std::string>{h.path("f")});
    EXPECT_EQ(readFile(h.path("f")), content);

    h.option = -1;
    deleter.deleteFiles({h.path("f")});
    EXPECT_FALSE(fs::exists(h.path("f")));
    EXPECT_EQ(h.helper.requests.size(), 1u);
}

TEST_F(HelperHandOff, ARefusedChildIsSentByItsFolderRelativePath) {
    h.makeFile("d/mine", 100);
    h.makeFile("d/theirs", 100);
    fs::create_directories(h.path("d/locked"));
    h.checker.notWritable.insert(h.path("d/theirs"));
    h.checker.notRemovable.insert(h.path("d/locked"));
    h.helper.busyPolls = 2;
    deleter.deleteFiles({h.path("d")});

    std::sort(h.helper.requests.begin(), h.helper.requests.end());
    EXPECT_EQ(h.helper.requests,
              (std::vector<std::string>{h.path("d/locked"), h.path("d/theirs")}));
    ASSERT_EQ(h.writer.writes().size(), 1u);
    EXPECT_EQ(fs::path(h.writer.writes()[0].file).filename(), "mine");
}

TEST_F(HelperHandOff, RequestsNeverOverlapAndDeleteFilesWaitsForTheLast) {
    for (const char* name : {"a", "b", "c"}) {
        h.makeFile(name, 10);
        h.checker.notRemovable.insert(h.path(name));
    }
    h.helper.busyPolls = 5;
    deleter.deleteFiles({h.path("a"), h.path("b"), h.path("c")});
    EXPECT_EQ(h.helper.requests.size(), 3u);
    EXPECT_FALSE(h.helper.overlapped);
    EXPECT_FALSE(h.helper.helperOpsRunning());
    // Each request: one settling sleep, then a poll every 0.5 s while it runs.
    EXPECT_EQ(h.clock.now().time_since_epoch(), core::Clock::seconds(3 * (1 + 5) * 0.5));
}

TEST_F(HelperHandOff, DeleteFilesDoesNotReturnWhileTheHelperStillRuns) {
    tpc::test::FakeClock manual(tpc::test::FakeClock::Mode::Manual);
    FakeHelper helper;
    helper.busyPolls = 1 << 30; // until the test says otherwise
    Deleter waiting(DeleterEnv{.abortCleaning = h.abort,
                               .deletionOption = [] { return std::int64_t{-1}; },
                               .clock = manual,
                               .log = h.log,
                               .helper = &helper,
                               .access = &h.checker});
    h.checker.notRemovable.insert(h.path("f"));
    h.makeFile("f", 10);

    std::atomic<bool> returned{false};
    std::thread worker([&] {
        waiting.deleteFiles({h.path("f")});
        returned = true;
    });
    for (int poll = 0; poll < 4; ++poll) {
        manual.waitForSleepers(1);
        EXPECT_FALSE(returned);
        const auto calls = manual.sleepCalls();
        manual.advance(core::Clock::seconds(0.5));
        while (manual.sleepCalls() == calls)
            std::this_thread::yield();
    }
    manual.waitForSleepers(1);
    helper.setRunning(false);
    manual.advance(core::Clock::seconds(0.5));
    worker.join();
    EXPECT_TRUE(returned);
    EXPECT_EQ(helper.requests, std::vector<std::string>{h.path("f")});
}

TEST_F(HelperHandOff, AStaleRunningFlagIsClearedBeforeANewList) {
    h.helper.setRunning(true, 1000);
    h.makeFile("f", 10);
    deleter.deleteFiles({h.path("f")});
    EXPECT_FALSE(fs::exists(h.path("f")));
    EXPECT_EQ(h.clock.sleepCalls(), 0u);
}

TEST_F(HelperHandOff, NothingHappensOnceAbortIsSet) {
    const auto content = h.makeFile("f", 10);
    h.checker.notRemovable.insert(h.path("g"));
    h.abort = true;
    for (std::int64_t option : {-1, 0}) {
        h.option = option;
        deleter.deleteFiles({h.path("f"), h.path("g")});
        deleter.simpleDeleteFiles({h.path("f"), h.path("g")});
        deleter.eraseFiles({h.path("f"), h.path("g")});
    }
    EXPECT_EQ(readFile(h.path("f")), content);
    EXPECT_TRUE(h.helper.requests.empty());
}

TEST_F(HelperHandOff, AbortDuringAHelperRequestStopsTheList) {
    h.makeFile("theirs", 10);
    const auto mine = h.makeFile("mine", 10);
    h.checker.notRemovable.insert(h.path("theirs"));
    h.helper.onRequest = [&](const std::string&) {
        h.abort = true;
    };
    for (std::int64_t option : {-1, 0}) {
        h.option = option;
        h.abort = false;
        deleter.deleteFiles({h.path("theirs"), h.path("mine")});
        EXPECT_EQ(readFile(h.path("mine")), mine) << option;
    }
}

TEST_F(HelperHandOff, AbortWhileTheHelperWorksOnAChildLeavesTheFolder) {
    h.makeFile("d/theirs", 10);
    h.checker.notRemovable.insert(h.path("d/theirs"));
    h.helper.onRequest = [&](const std::string&) {
        h.abort = true;
    };
    deleter.deleteFiles({h.path("d")});
    EXPECT_TRUE(fs::exists(h.path("d/theirs")));
}

TEST_F(HelperHandOff, PlainModeSendsAMissingItemToTheHelperEraseModeSkipsIt) {
    h.option = -1;
    deleter.deleteFiles({h.path("missing")});
    h.option = 0;
    deleter.deleteFiles({h.path("missing")});
    EXPECT_EQ(h.helper.requests, std::vector<std::string>{h.path("missing")});
}

TEST_F(HelperHandOff, WithoutAHelperTheRefusalIsLogged) {
    Deleter inHelper = h.deleter(false);
    const auto content = h.makeFile("f", 10);
    h.checker.notRemovable.insert(h.path("f"));
    inHelper.deleteFiles({h.path("f")});
    h.option = -1;
    inHelper.deleteFiles({h.path("missing")});
    EXPECT_EQ(readFile(h.path("f")), content);
    EXPECT_EQ(h.log.lines(),
              (std::vector<std::string>{
                  "Error removing item:" + h.path("f") +
                      ", error:Permission denied, reason:The item or its folder may not be changed",
                  "Error removing item:" + h.path("missing") +
                      ", error:No such file or directory, reason:The item could not be found"}));
}

} // namespace
} // namespace tpc::erase::test
