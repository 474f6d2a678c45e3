// A store held by a running browser on the linux layout: the scan and the clean name it on the
// result line and offer the browser's auto-quit item instead of reporting it empty or cleaned;
// and Chromium's auto-quit row has one name for the command line and the scan.

#include "DriverHarness.h"

#include "browsers/BrowsersModule.h"
#include "support/StoreSchemas.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace tpc::test::driver {
namespace {

class BusyStore : public ::testing::TestWithParam<Main> {
protected:
    DriverHarness h{GetParam()};

    fs::path history() const { return h.home() / ".config/chromium/Default/History"; }

    void startWithChromiumHistory() {
        h.installExecutable("chromium");
        exec(history(), std::string(schema::kHistory) +
                            "INSERT INTO urls VALUES(1,'https://a.example/','A',1,0,1,0,0);");
        h.start(platform::Layout::Linux);
    }
};

TEST_P(BusyStore, ALockedHistoryIsNamedByTheScanAndTheCleanThatCouldNotReachIt) {
    startWithChromiumHistory();
    sqlite3* holder = nullptr;
    ASSERT_EQ(sqlite3_open(history().c_str(), &holder), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(holder, "BEGIN EXCLUSIVE; DELETE FROM meta;", nullptr, nullptr, nullptr),
              SQLITE_OK);

    h.scan();
    const std::string named = "In use by a running browser, not counted: Chromium History. "
                              "Quit it or mark \"Auto Quit Chromium\", then try again.";
    EXPECT_NE(h.frontend.resultText().value_or("").find(named), std::string::npos);

    ASSERT_TRUE(h.driver().markOnly({"Chromium/Internet History"}).empty());
    h.clean();
    sqlite3_exec(holder, "ROLLBACK;", nullptr, nullptr, nullptr);
    sqlite3_close(holder);

    EXPECT_EQ(h.subtitles().back(), "Cleaning Incomplete");
    EXPECT_EQ(h.frontend.resultText(),
              "In use by a running browser, not cleaned: Chromium History. Quit it or mark "
              "\"Auto Quit Chromium\", then try again.");
    EXPECT_TRUE(h.logged("Chromium store in use, not cleaned: " + history().string()));
    EXPECT_EQ(rows(history(), "SELECT count(*) FROM urls"), std::vector<std::string>{"1"});

    // Once the browser lets go, the same clean is done and says so.
    h.clean();
    EXPECT_EQ(h.subtitles().back(), "Cleaning Done");
    EXPECT_EQ(rows(history(), "SELECT count(*) FROM urls"), std::vector<std::string>{"0"});
}

TEST_P(BusyStore, ChromiumsAutoQuitRowHasOneNameForTheCommandLineAndTheScan) {
    startWithChromiumHistory();
    const auto* chromium =
        h.app->module<tpc::browsers::BrowsersModule>()->cleaners().find("Chromium");
    ASSERT_NE(chromium, nullptr);
    EXPECT_EQ(chromium->items, names(core::subList(row(h.driver().list(), "Chromium"))));
    EXPECT_EQ(chromium->items.back(), "Auto Quit Chromium");
    EXPECT_TRUE(chromium->deleteItem("Auto Quit Chromium"));
    EXPECT_EQ(h.apps->terminated(), std::vector<std::string>{"org.chromium.Chromium"});
}

INSTANTIATE_TEST_SUITE_P(Driver, BusyStore, ::testing::Values(Main::Queue, Main::Immediate),
                         mainName);

} // namespace
} // namespace tpc::test::driver
