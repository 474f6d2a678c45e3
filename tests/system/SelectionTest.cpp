// A preset's "Clean System Junk" record counted and cleaned by the System category inside the
// preset's own task, and a System task whose worker throws.

#include "SystemHarness.h"

#include "core/Keys.h"
#include "core/SizeText.h"
#include "support/SelectionTask.h"

#include <stdexcept>

namespace tpc::test::sys {
namespace {

using core::Category;
using core::TaskKind;

class SelectionHarness : public EngineHarness<CheckpointFrontend> {
public:
    SelectionHarness() : EngineHarness(Category::System, Main::Immediate) {}
    ~SelectionHarness() override { stop(); }

    system::SystemDriver& driver() { return app->module<tpc::system::SystemModule>()->driver(); }
    fs::path logs() const { return home() / "Library/Logs"; }
    fs::path trash() const { return home() / ".Trash"; }

    // A preset's category record holding a copy of the page's list.
    core::DictRef record(const std::string& description = "Clean System Junk") {
        auto rec = recordNamed(description);
        rec->set(core::keys::SubListArray, core::Value(driver().list()).deepCopy());
        return rec;
    }
    static core::DictRef child(const core::DictRef& rec, const std::string& name) {
        for (const auto& c : core::subList(rec)->dicts())
            if (core::description(c) == name)
                return c;
        return nullptr;
    }

    std::shared_ptr<FakeScriptRunner> scripts = std::make_shared<FakeScriptRunner>();

protected:
    void configure(platform::PlatformOptions& o) override { o.scriptRunner = scripts; }
};

class SystemSelection : public ::testing::Test {
protected:
    void SetUp() override {
        writeFile(h.logs() / "a.log", std::string(3000, 'x'));
        writeFile(h.trash() / "old.txt", std::string(1000, 'y'));
        h.start();
    }
    SelectionHarness h;
};

TEST_F(SystemSelection, DrivesOnlyTheSystemJunkRecord) {
    EXPECT_TRUE(h.driver().drives("Clean System Junk"));
    EXPECT_FALSE(h.driver().drives("Logs"));
    EXPECT_FALSE(h.driver().drives("Clean App Junk"));
}

TEST_F(SystemSelection, CountSizesEveryChildAndTheRecordAndLeavesThePageAlone) {
    auto rec = h.record();
    core::setMark(h.child(rec, system::kTrash), false); // marks do not matter to a count
    const auto totals = countInPresetTask(h, h.driver(), rec);

    ASSERT_TRUE(totals.has_value());
    EXPECT_EQ(totals->count, 2u);
    EXPECT_EQ(totals->bytes, 4000u);
    EXPECT_EQ(core::size(h.child(rec, system::kLogs)), 3000u);
    EXPECT_EQ(h.child(rec, system::kLogs)->getString(core::keys::Count), "1 items");
    EXPECT_EQ(h.child(rec, system::kTrash)->getString(core::keys::SizeFormattedString), "1.00 KB");
    EXPECT_EQ(core::size(rec), 4000u);
    EXPECT_EQ(rec->getString(core::keys::SizeFormattedString), "4.00 KB");

    // The page's rows, flags, subtitle and bar are the page's own.
    for (const auto& row : h.driver().list()->dicts())
        EXPECT_EQ(core::size(row), 0u);
    EXPECT_EQ(h.statuses(), std::vector<std::string>{"Preparing..."});
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::System), std::nullopt);
    EXPECT_FALSE(h.flags().running(Category::System, TaskKind::Scan));
    EXPECT_FALSE(h.flags().running(Category::Presets, TaskKind::Scan));
}

TEST_F(SystemSelection, CleanEmptiesTheMarkedChildrenOnly) {
    auto rec = h.record();
    core::setMark(h.child(rec, system::kTrash), false);
    // The page's own marks are not what the record selects.
    h.driver().markAllSystem(false);
    EXPECT_TRUE(cleanInPresetTask(h, h.driver(), rec));

    EXPECT_TRUE(fs::is_directory(h.logs()));
    EXPECT_TRUE(fs::is_empty(h.logs()));
    EXPECT_TRUE(fs::exists(h.trash() / "old.txt"));
    EXPECT_FALSE(h.flags().running(Category::System, TaskKind::Clean));
}

TEST_F(SystemSelection, AnAbortBetweenChildrenStopsTheCountAndTheClean) {
    // Check points: the task's own, then one before each child; the fourth comes before "Logs".
    auto rec = h.record();
    h.frontend.abortAtCheckpoint = 4;
    EXPECT_FALSE(countInPresetTask(h, h.driver(), rec).has_value());
    EXPECT_EQ(h.child(rec, system::kLogs)->getString(core::keys::Count), "0 items");
    EXPECT_EQ(core::size(h.child(rec, system::kLogs)), 0u);
    EXPECT_EQ(core::size(rec), 0u);
    const auto statuses = h.statuses();
    ASSERT_GE(statuses.size(), 2u);
    EXPECT_EQ(statuses[statuses.size() - 2], "Aborted...");
    EXPECT_FALSE(h.frontend.progressWindowShown());
    EXPECT_FALSE(h.flags().running(Category::Presets, TaskKind::Scan));
    EXPECT_FALSE(h.flags().aborting(Category::Presets, TaskKind::Scan));

    h.frontend.checkpoints = 0;
    EXPECT_FALSE(cleanInPresetTask(h, h.driver(), rec));
    EXPECT_TRUE(fs::exists(h.logs() / "a.log"));
    EXPECT_TRUE(fs::exists(h.trash() / "old.txt"));
    EXPECT_FALSE(h.flags().abortCleaning());
}

TEST_F(SystemSelection, ARecordOfAnotherCategoryIsLeftAlone) {
    auto rec = h.record("Firefox");
    const auto totals = countInPresetTask(h, h.driver(), rec);
    ASSERT_TRUE(totals.has_value());
    EXPECT_EQ(totals->count, 0u);
    EXPECT_EQ(totals->bytes, 0u);
    EXPECT_EQ(core::size(h.child(rec, system::kLogs)), 0u);
    EXPECT_FALSE(rec->has(core::keys::Size));

    EXPECT_TRUE(cleanInPresetTask(h, h.driver(), rec));
    EXPECT_TRUE(fs::exists(h.logs() / "a.log"));
    EXPECT_TRUE(h.scripts->ran().empty());
}

// A script service that fails in a way nobody planned for.
class ThrowingScripts final : public platform::ScriptRunner {
public:
    Result run(const std::string&) override { throw std::runtime_error("script engine gone"); }
};

class ThrowingHarness : public EngineHarness<> {
public:
    ThrowingHarness() : EngineHarness(Category::System) {}
    system::SystemDriver& driver() { return app->module<tpc::system::SystemModule>()->driver(); }

protected:
    void configure(platform::PlatformOptions& o) override {
        o.scriptRunner = std::make_shared<ThrowingScripts>();
    }
};

TEST(SystemWorkerFailure, AThrowingScanIsLoggedAndEndsAsAnAbortedTask) {
    ThrowingHarness h;
    h.start();
    h.scan();

    EXPECT_TRUE(h.logged("Task System scan failed: script engine gone"));
    const auto statuses = h.statuses();
    ASSERT_GE(statuses.size(), 2u);
    EXPECT_EQ(statuses[statuses.size() - 2], "Aborted...");
    EXPECT_FALSE(h.frontend.progressWindowShown());
    EXPECT_FALSE(h.frontend.progressState().visible);
    std::vector<std::string> ui;
    for (const auto& e : h.frontend.eventsOf(Type::Ui))
        ui.push_back(e.action);
    EXPECT_NE(std::find(ui.begin(), ui.end(), "enableUIElementsAfterSystemScan"), ui.end());
    EXPECT_FALSE(h.flags().running(Category::System, TaskKind::Scan));
    EXPECT_FALSE(h.flags().aborting(Category::System, TaskKind::Scan));
    EXPECT_TRUE(h.flags().allScansAndCleansAborted());

    // The page works on: the next clean empties the logs, then fails the same way in its rescan
    // and ends likewise.
    writeFile(h.home() / "Library/Logs/a.log", "x");
    h.driver().markOnly({system::kLogs});
    h.clean();
    EXPECT_FALSE(fs::exists(h.home() / "Library/Logs/a.log"));
    EXPECT_TRUE(h.logged("Task System clean failed: script engine gone"));
    EXPECT_FALSE(h.flags().running(Category::System, TaskKind::Clean));
    EXPECT_FALSE(h.flags().abortCleaning());
}

} // namespace
} // namespace tpc::test::sys
