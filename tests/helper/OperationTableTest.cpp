#include "helper/OperationTable.h"
#include "support/FakeClock.h"

#include <atomic>
#include <gtest/gtest.h>

namespace tpc::test {
namespace {

using helper::OperationTable;
using Start = OperationTable::StartResult;

// The fake clock moves whenever any thread sleeps, so a wait that should end when another thread
// reacts gets a limit far beyond what that takes.
const auto kAmpleLimit = core::Clock::seconds(3600);

// Work that runs until it is aborted, sleeping on the fake clock between checks.
OperationTable::Work untilAborted(core::Clock& clock, std::atomic<bool>* sawAbort = nullptr) {
    return [&clock, sawAbort](const std::atomic<bool>& abort) {
        while (!abort.load())
            clock.sleepFor(core::Clock::seconds(0.01));
        if (sawAbort)
            sawAbort->store(true);
    };
}

TEST(OperationTable, RunsUntilDoneAndThenReportsNotRunning) {
    test::FakeClock clock;
    std::atomic<bool> release{false};
    OperationTable table(clock);
    ASSERT_EQ(table.start("A",
                          [&](const std::atomic<bool>&) {
                              while (!release.load())
                                  clock.sleepFor(core::Clock::seconds(0.01));
                          }),
              Start::Started);
    EXPECT_TRUE(table.running("A"));
    EXPECT_FALSE(table.running("B"));
    release.store(true);
    table.waitIdle();
    EXPECT_FALSE(table.running("A"));
}

TEST(OperationTable, AbortSetsTheFlagAndWaitsForTheEnd) {
    test::FakeClock clock;
    std::atomic<bool> sawAbort{false};
    OperationTable table(clock);
    ASSERT_EQ(table.start("A", untilAborted(clock, &sawAbort)), Start::Started);
    EXPECT_TRUE(table.abort("A", kAmpleLimit));
    EXPECT_TRUE(sawAbort.load());
    EXPECT_FALSE(table.running("A"));
    // Unknown or finished: nothing to wait for.
    EXPECT_TRUE(table.abort("A", kAmpleLimit));
    EXPECT_TRUE(table.abort("nobody", kAmpleLimit));
}

TEST(OperationTable, AbortGivesUpAfterItsLimit) {
    test::FakeClock clock;
    std::atomic<bool> release{false};
    OperationTable table(clock);
    table.start("A", [&](const std::atomic<bool>&) {
        while (!release.load())
            clock.sleepFor(core::Clock::seconds(0.01));
    });
    EXPECT_FALSE(table.abort("A", core::Clock::seconds(1)));
    EXPECT_TRUE(table.running("A"));
    release.store(true);
    table.waitIdle();
}

TEST(OperationTable, UuidsAreUsedOnce) {
    test::FakeClock clock;
    OperationTable table(clock);
    EXPECT_EQ(table.start("A", [](const std::atomic<bool>&) {}), Start::Started);
    table.waitIdle();
    EXPECT_EQ(table.start("A", [](const std::atomic<bool>&) {}), Start::Duplicate);
}

TEST(OperationTable, RefusesMoreThanTheRunningLimit) {
    test::FakeClock clock;
    OperationTable table(clock, 2);
    EXPECT_EQ(table.start("A", untilAborted(clock)), Start::Started);
    EXPECT_EQ(table.start("B", untilAborted(clock)), Start::Started);
    EXPECT_EQ(table.start("C", untilAborted(clock)), Start::Busy);
    EXPECT_TRUE(table.abort("A", kAmpleLimit));
    EXPECT_EQ(table.start("C", untilAborted(clock)), Start::Started);
    // The destructor aborts B and C and waits for them.
}

TEST(OperationTable, ForgetsTheOldestFinishedOperations) {
    test::FakeClock clock;
    OperationTable table(clock, 8, 2);
    for (const char* uuid : {"A", "B", "C"}) {
        ASSERT_EQ(table.start(uuid, [](const std::atomic<bool>&) {}), Start::Started);
        table.waitIdle();
    }
    // A was forgotten when C started; B and C are still known.
    EXPECT_EQ(table.start("A", [](const std::atomic<bool>&) {}), Start::Started);
    table.waitIdle();
    EXPECT_EQ(table.start("C", [](const std::atomic<bool>&) {}), Start::Duplicate);
}

TEST(OperationTable, EndingTheTableAbortsWhatRuns) {
    test::FakeClock clock;
    std::atomic<bool> sawAbort{false};
    {
        OperationTable table(clock);
        table.start("A", untilAborted(clock, &sawAbort));
    }
    EXPECT_TRUE(sawAbort.load());
}

} // namespace
} // namespace tpc::test
