#include "core/TaskFlags.h"

#include <gtest/gtest.h>

namespace tpc::core {
namespace {

constexpr auto Scan = TaskKind::Scan;
constexpr auto Clean = TaskKind::Clean;

TEST(TaskFlags, AbortingTaskNoLongerCountsAsRunning) {
    TaskFlags f;
    EXPECT_FALSE(f.scanOrCleanRunning());
    f.setRunning(Category::IPhoto, Clean, true);
    EXPECT_TRUE(f.scanOrCleanRunning());
    f.setAbort(Category::IPhoto, Clean, true);
    EXPECT_FALSE(f.scanOrCleanRunning());
    EXPECT_TRUE(f.running(Category::IPhoto, Clean));
}

TEST(TaskFlags, AllAbortedOnlyReportsPendingAborts) {
    TaskFlags f;
    f.setRunning(Category::Browsers, Scan, true);
    f.setRunning(Category::Ext, Clean, true);
    EXPECT_TRUE(f.allScansAndCleansAborted()) << "tasks running normally have no pending abort";

    f.setAbort(Category::Ext, Clean, true);
    EXPECT_FALSE(f.allScansAndCleansAborted());
    f.setAbort(Category::Ext, Clean, false);
    EXPECT_TRUE(f.allScansAndCleansAborted());
}

TEST(TaskFlags, OnlyClearingACleansAbortClearsAbortCleaning) {
    TaskFlags f;
    f.setAbortCleaning(true);
    f.setAbort(Category::System, Clean, true);
    EXPECT_TRUE(f.abortCleaning());
    f.setAbort(Category::System, Scan, false);
    EXPECT_TRUE(f.abortCleaning());
    f.setAbort(Category::System, Clean, false);
    EXPECT_FALSE(f.abortCleaning());
}

TEST(TaskFlags, AbortAllAbortsRunningTasksOnlyAndAlwaysSetsAbortCleaning) {
    TaskFlags idle;
    idle.abortAllOtherScansAndCleans();
    EXPECT_TRUE(idle.abortCleaning());
    EXPECT_TRUE(idle.allScansAndCleansAborted());

    TaskFlags f;
    f.setRunning(Category::Presets, Scan, true);
    f.setRunning(Category::Recents, Clean, true);
    f.abortAllOtherScansAndCleans();
    for (Category c : kAllCategories)
        for (TaskKind k : {Scan, Clean})
            EXPECT_EQ(f.aborting(c, k), f.running(c, k)) << categoryName(c);
    EXPECT_TRUE(f.aborting(Category::Presets, Scan));
    EXPECT_TRUE(f.aborting(Category::Recents, Clean));
    EXPECT_TRUE(f.abortCleaning());
}

TEST(TaskFlags, OtherTaskRunningIgnoresOwnFlagButCountsAbortingTasks) {
    TaskFlags f;
    f.setRunning(Category::Shredder, Scan, true);
    EXPECT_FALSE(f.otherTaskRunning(Category::Shredder, Scan));
    EXPECT_TRUE(f.otherTaskRunning(Category::Shredder, Clean));
    f.setAbort(Category::Shredder, Scan, true);
    EXPECT_TRUE(f.otherTaskRunning(Category::Browsers, Scan));
}

} // namespace
} // namespace tpc::core
