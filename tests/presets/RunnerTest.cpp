// The preset scan and clean driven like their entry points (the page's buttons, a status-menu
// entry, the weekly schedule) on a fake home whose trash holds files: every preset is measured,
// only marked presets are cleaned, a menu entry waits for a running task and a schedule never
// asks about changes.

#include "presets/PresetsModule.h"
#include "support/EngineHarness.h"

#include "core/Keys.h"
#include "core/Record.h"

#include <chrono>

namespace tpc::test::presets {
namespace {

namespace fs = std::filesystem;
using core::Category;
using core::TaskKind;
using tpc::presets::kOneClickClean;

class RunnerHarness : public EngineHarness<AbortingFrontend> {
public:
    RunnerHarness() : EngineHarness(Category::Presets, Main::Queue) {
        writeFile(trash() / "old.bin", std::string(5000, 'x'));
        start();
    }
    fs::path trash() const { return home() / ".Trash"; }
    tpc::presets::PresetsModule& presets() { return *app->module<tpc::presets::PresetsModule>(); }
    tpc::presets::PresetModel& model() { return presets().model(); }
    tpc::presets::PresetRunner& runner() { return presets().runner(); }
    core::DictRef preset(const std::string& name) { return model().presetNamed(name); }
    core::DictRef record(const std::string& preset, const std::string& name) {
        for (const auto& r : core::subList(this->preset(preset))->dicts())
            if (core::description(r) == name)
                return r;
        return nullptr;
    }
    // A second preset holding the system page's "Trash" row, unmarked.
    void addTrashPreset() {
        model().addPreset();
        core::DictRef trashRow;
        for (const auto& r : app->module<system::SystemModule>()->driver().list()->dicts())
            if (core::description(r) == "Trash")
                trashRow = r;
        ASSERT_TRUE(model().addRowToPresetGroup(2, "Preset #1", "Clean System Junk", trashRow));
        model().markOnlyPreset(kOneClickClean);
    }
    std::size_t alertsTitled(const std::string& title) {
        std::size_t n = 0;
        for (const auto& a : alerts())
            n += a.title == title;
        return n;
    }
};

TEST(PresetRunner, ScanMeasuresEveryPresetButSizesTheBarByTheMarkedOnes) {
    RunnerHarness h;
    h.addTrashPreset();
    h.scan();

    // No browser is installed: the built-in preset holds the system record alone, and the
    // unmarked preset's record is measured as well, so the bar steps past its maximum.
    ASSERT_FALSE(h.maxima().empty());
    EXPECT_EQ(h.maxima().front(), 1u);
    EXPECT_EQ(h.increments(), 2u);
    const auto statuses = h.statuses();
    EXPECT_NE(std::find(statuses.begin(), statuses.end(), "Scanning Presets..."), statuses.end());
    EXPECT_EQ(core::size(h.preset("Preset #1")), 5000u);
    EXPECT_EQ(core::size(h.record("Preset #1", "Clean System Junk")), 5000u);
    EXPECT_GE(core::size(h.preset(kOneClickClean)), 5000u);
    EXPECT_TRUE(fs::exists(h.trash() / "old.bin"));
    EXPECT_EQ(h.frontend.resultText().value_or("").rfind("Total Size To Clean: ", 0), 0u);
    EXPECT_FALSE(h.subtitles().empty());
    EXPECT_EQ(h.subtitles().back().front(), '(');
}

TEST(PresetRunner, CleanRemovesOnlyWhatMarkedPresetsSelectThenMeasuresAgain) {
    RunnerHarness h;
    h.addTrashPreset();
    // The built-in preset's trash row unmarked: marking walks leave the other preset alone.
    auto builtInTrash = core::subList(h.record(kOneClickClean, "Clean System Junk"));
    for (const auto& row : builtInTrash->dicts())
        if (core::description(row) == "Trash")
            h.model().clickSubListRow(row, false);
    h.flags().setChangesMade(false);
    h.clean();
    EXPECT_TRUE(fs::exists(h.trash() / "old.bin"));

    // Now only the second preset, which holds the trash, is marked.
    h.model().markOnlyPreset("Preset #1");
    h.clean();
    EXPECT_FALSE(fs::exists(h.trash() / "old.bin"));
    EXPECT_EQ(h.frontend.resultText(), std::optional<std::string>("Cleaning Done"));
    const auto statuses = h.statuses();
    EXPECT_NE(std::find(statuses.begin(), statuses.end(), "Shredding Folders/Files..."),
              statuses.end());
    // The rescan found the trash empty.
    EXPECT_EQ(core::size(h.preset("Preset #1")), 0u);
}

TEST(PresetRunner, PageCleanAsksAboutChangesAndTheScheduleNeverDoes) {
    RunnerHarness h;
    h.addTrashPreset();
    h.flags().setChangesMade(true);
    h.frontend.scriptAlertAnswers({0}); // "Scan"
    h.runner().buttonCleanClicked(core::Sender::Button);
    h.settle();
    EXPECT_EQ(h.alertsTitled("Changes Made"), 1u);
    EXPECT_TRUE(fs::exists(h.trash() / "old.bin"));

    h.flags().setChangesMade(true);
    const core::Date when = core::Date::fromUnix(1795000000);
    h.runner().cleanFromSchedule("Preset #1", when);
    h.settle();
    EXPECT_EQ(h.alertsTitled("Changes Made"), 1u);
    EXPECT_FALSE(fs::exists(h.trash() / "old.bin"));
    const auto* stamped = h.preset("Preset #1")->get("last scheduled run").date();
    ASSERT_NE(stamped, nullptr);
    EXPECT_EQ(*stamped, when);
    EXPECT_TRUE(core::isMarked(h.preset("Preset #1")));
    EXPECT_FALSE(core::isMarked(h.preset(kOneClickClean)));
}

TEST(PresetRunner, MenuEntryAbortsTheRunningTaskAndWaitsInHalfSecondSteps) {
    RunnerHarness h;
    h.addTrashPreset();
    h.flags().setChangesMade(false);
    // Another page's scan is running and does not end until the test lets it.
    h.flags().setRunning(Category::System, TaskKind::Scan, true);
    const auto before = h.clock.now();
    const auto sleepsBefore = h.clock.sleepCalls();
    h.runner().cleanFromMenu("Preset #1");
    h.serveUntil([&] { return h.clock.sleepCalls() >= sleepsBefore + 3; });
    EXPECT_TRUE(h.flags().aborting(Category::System, TaskKind::Scan));
    EXPECT_FALSE(h.flags().running(Category::Presets, TaskKind::Clean));
    EXPECT_TRUE(fs::exists(h.trash() / "old.bin"));
    const auto waited = h.clock.now() - before;
    EXPECT_EQ(waited % std::chrono::milliseconds(500), core::Clock::Duration::zero());

    // The scan winds down; the menu's clean of that preset alone follows.
    h.flags().setAbort(Category::System, TaskKind::Scan, false);
    h.flags().setRunning(Category::System, TaskKind::Scan, false);
    h.serveUntil([&] {
        return h.app->tasks().idle() && !h.flags().running(Category::Presets, TaskKind::Clean) &&
               !fs::exists(h.trash() / "old.bin");
    });
    EXPECT_TRUE(core::isMarked(h.preset("Preset #1")));
    EXPECT_FALSE(core::isMarked(h.preset(kOneClickClean)));
}

} // namespace
} // namespace tpc::test::presets
