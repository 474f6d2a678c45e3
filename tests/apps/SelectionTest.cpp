// A preset's "Clean App Junk" record counted and cleaned by the Recents category inside the
// preset's own task.

#include "AppsHarness.h"

#include "core/SizeText.h"
#include "core/TaskFlags.h"
#include "support/SelectionTask.h"

namespace tpc::test::apps {
namespace {

using core::Category;
using core::TaskKind;

class SelectionHarness : public EngineHarness<CheckpointFrontend> {
public:
    SelectionHarness() : EngineHarness(Category::Recents, Main::Immediate) {}
    ~SelectionHarness() override { stop(); }

    void bundle(const std::string& name, const std::string& id) {
        writePlist(root() / "Applications" / (name + ".app") / "Contents/Info.plist",
                   DictObj::make({{"CFBundleIdentifier", id}, {"CFBundleVersion", "1.0"}}));
    }
    tpc::apps::RecentsDriver& driver() { return app->module<tpc::apps::AppsModule>()->driver(); }
    fs::path caches() const { return platform->caches(); }

    // A preset's record holding a copy of the application list.
    DictRef record(const std::string& description = "Clean App Junk") {
        auto rec = DictObj::make(
            {{ck::DescriptionDictionary, Value(DictObj::make({{ck::Description, description}}))}});
        rec->set(ck::SubListArray, Value(driver().list()).deepCopy());
        return rec;
    }
    static DictRef child(const DictRef& rec, const std::string& name) {
        for (const auto& c : core::subList(rec)->dicts())
            if (core::description(c) == name)
                return c;
        return nullptr;
    }

    std::shared_ptr<RecordingRunningApps> running = std::make_shared<RecordingRunningApps>();

protected:
    void configure(platform::PlatformOptions& o) override { o.runningApps = running; }
};

class RecentsSelection : public ::testing::Test {
protected:
    void SetUp() override {
        h.bundle("Notes", "com.apple.Notes");
        h.bundle("Calc", "org.calc");
        writeFile(h.home() / "Library/Caches/com.apple.Notes/a", std::string(2000, 'x'));
        writeFile(h.home() / "Library/Caches/org.calc/b", std::string(500, 'x'));
        h.start();
        ASSERT_EQ(h.driver().list()->size(), 2u);
    }
    SelectionHarness h;
};

TEST_F(RecentsSelection, DrivesOnlyTheAppJunkRecord) {
    EXPECT_TRUE(h.driver().drives("Clean App Junk"));
    EXPECT_FALSE(h.driver().drives("Notes"));
    EXPECT_FALSE(h.driver().drives("Clean System Junk"));
}

TEST_F(RecentsSelection, CountStoresEachApplicationsCountAndTheRecordsTotal) {
    auto rec = h.record();
    core::setMark(h.child(rec, "Calc"), false); // marks do not matter to a count
    const auto totals = countInPresetTask(h, h.driver(), rec);

    ASSERT_TRUE(totals.has_value());
    EXPECT_EQ(totals->count, 2u);
    EXPECT_EQ(totals->bytes, 2500u);
    EXPECT_EQ(h.child(rec, "Notes")->getString(ck::Count), "1 items");
    EXPECT_EQ(h.child(rec, "Notes")->getString(ck::SizeFormattedString), "2.00 KB");
    EXPECT_EQ(core::size(h.child(rec, "Calc")), 500u);
    EXPECT_EQ(core::size(rec), 2500u);
    // The page's list, result line and subtitle are its own.
    for (const auto& row : h.driver().list()->dicts())
        EXPECT_EQ(core::size(row), 0u);
    EXPECT_EQ(h.statuses(), std::vector<std::string>{"Preparing..."});
    EXPECT_EQ(h.frontend.resultText(), std::nullopt);
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Recents), std::nullopt);
}

TEST_F(RecentsSelection, CleanRemovesOnlyTheMarkedApplicationsTraces) {
    auto rec = h.record();
    core::setMark(h.child(rec, "Notes"), false);
    h.driver().markAllRows(false); // the page's marks are not the record's
    EXPECT_TRUE(cleanInPresetTask(h, h.driver(), rec));

    EXPECT_TRUE(fs::exists(h.caches() / "com.apple.Notes"));
    EXPECT_FALSE(fs::exists(h.caches() / "org.calc"));
    EXPECT_EQ(h.running->terminated, std::vector<std::string>{"org.calc"});
    EXPECT_FALSE(h.flags().running(Category::Recents, TaskKind::Clean));
}

TEST_F(RecentsSelection, AnAbortBetweenApplicationsStopsTheCountAndTheClean) {
    auto rec = h.record();
    const auto first = core::description(core::subList(rec)->at(0).dict());
    const auto second = core::description(core::subList(rec)->at(1).dict());
    // Check points: the task's own, then one before and one after each application's count.
    h.frontend.abortAtCheckpoint = 4;
    EXPECT_FALSE(countInPresetTask(h, h.driver(), rec).has_value());
    EXPECT_EQ(h.child(rec, first)->getString(ck::Count), "1 items");
    EXPECT_EQ(core::size(h.child(rec, second)), 0u);
    EXPECT_EQ(core::size(rec), 0u);
    EXPECT_FALSE(h.flags().running(Category::Presets, TaskKind::Scan));

    // Cleaning: one check point before each application.
    h.frontend.checkpoints = 0;
    h.frontend.abortAtCheckpoint = 3;
    EXPECT_FALSE(cleanInPresetTask(h, h.driver(), rec));
    const auto idOf = [&](const std::string& name) {
        return h.child(rec, name)->getString(tpc::apps::keys::BundleID);
    };
    EXPECT_FALSE(fs::exists(h.caches() / idOf(first)));
    EXPECT_TRUE(fs::exists(h.caches() / idOf(second)));
    EXPECT_FALSE(h.flags().abortCleaning());
}

TEST_F(RecentsSelection, ARecordOfAnotherCategoryIsLeftAlone) {
    auto rec = h.record("File Eraser");
    const auto totals = countInPresetTask(h, h.driver(), rec);
    ASSERT_TRUE(totals.has_value());
    EXPECT_EQ(totals->count, 0u);
    EXPECT_EQ(core::size(h.child(rec, "Notes")), 0u);
    EXPECT_TRUE(cleanInPresetTask(h, h.driver(), rec));
    EXPECT_TRUE(fs::exists(h.caches() / "org.calc"));
    EXPECT_TRUE(h.running->terminated.empty());
}

} // namespace
} // namespace tpc::test::apps
