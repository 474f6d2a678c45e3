// The Recents page's scan and clean workers.

#include "AppsHarness.h"

#include "core/TaskFlags.h"

namespace tpc::test::apps {
namespace {

using test::FrontendEvent;

class Driver : public ::testing::Test {
protected:
    void SetUp() override {
        h.bundle("Notes", "com.apple.Notes");
        h.bundle("Calc", "org.calc");
        writeFile(h.home() / "Library/Caches/com.apple.Notes/a", std::string(2000, 'x'));
        writeFile(h.home() / "Library/Caches/org.calc/b", std::string(500, 'x'));
        h.start();
    }
    AppsHarness h;
};

TEST_F(Driver, TheScanStoresEachCountAndShowsTheTotals) {
    h.app->flags().setChangesMade(true);
    h.scan();
    EXPECT_EQ(h.statuses(), (std::vector<std::string>{
                                "Preparing...", "Scanning Recents & Caches...", "Done...", " "}));
    EXPECT_EQ(h.row("Notes")->getString(ck::Count), "1 items");
    EXPECT_EQ(h.row("Notes")->getString(ck::SizeFormattedString), "2.00 KB");
    EXPECT_EQ(core::size(h.row("Calc")), 500u);
    EXPECT_EQ(h.frontend.resultText(),
              "Total Size To Clean: 2.50 KB\nTotal Items To Clean: 2 items");
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Recents), "(2 Items found)");
    EXPECT_FALSE(h.app->flags().changesMade());
    EXPECT_FALSE(h.frontend.progressWindowShown());
}

TEST_F(Driver, TheCleanRemovesOnlyTheMarkedThenRescansAndEndsWithCleaningDone) {
    const auto saved = readFile(h.app->settings().fileFor("Recents"));
    EXPECT_EQ(h.driver().markOnly({"Calc", "Nothing"}), (std::vector<std::string>{"Nothing"}));
    EXPECT_EQ(readFile(h.app->settings().fileFor("Recents")), saved); // marks not saved
    h.clean();

    EXPECT_TRUE(fs::exists(h.caches() / "com.apple.Notes"));
    EXPECT_FALSE(fs::exists(h.caches() / "org.calc"));
    EXPECT_EQ(h.running->terminated, (std::vector<std::string>{"org.calc"}));
    EXPECT_EQ(h.statuses(),
              (std::vector<std::string>{"Preparing...", "Cleaning Recents & Caches...",
                                        "Scanning Recents & Caches...", "Done...", " "}));
    EXPECT_EQ(h.row("Calc")->getString(ck::Count), "0 items");
    EXPECT_EQ(h.row("Notes")->getString(ck::Count), "1 items");
    EXPECT_EQ(h.frontend.resultText(), "Cleaning Done");
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Recents), "(1 Items found)");
    EXPECT_FALSE(h.app->flags().running(core::Category::Recents, core::TaskKind::Clean));
}

TEST_F(Driver, AfterARemovalTheCleanAsksFirstAndCanScanInstead) {
    h.catalogue().removeRow(h.catalogue().findRow("Calc"));
    h.frontend.scriptAlertAnswers({core::AlertAlternate});
    h.driver().buttonCleanClicked(core::Sender::Button);
    h.waitForTask(core::TaskKind::Scan);

    const auto alerts = h.frontend.eventsOf(FrontendEvent::Type::Alert);
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].alert.title, "Changes Made");
    EXPECT_TRUE(fs::exists(h.caches() / "com.apple.Notes"));
    EXPECT_EQ(h.frontend.resultText(),
              "Total Size To Clean: 2.00 KB\nTotal Items To Clean: 1 items");
    EXPECT_FALSE(h.app->flags().changesMade());
}

TEST_F(Driver, AnAbortStopsTheCleanBeforeItRemovesAnything) {
    h.driver().buttonCleanClicked(core::Sender::Button);
    h.driver().buttonCleanClicked(core::Sender::AbortButton);
    h.waitForTask(core::TaskKind::Clean);
    EXPECT_TRUE(fs::exists(h.caches() / "org.calc"));
    EXPECT_TRUE(h.running->terminated.empty());
    EXPECT_FALSE(h.app->flags().aborting(core::Category::Recents, core::TaskKind::Clean));
}

} // namespace
} // namespace tpc::test::apps
