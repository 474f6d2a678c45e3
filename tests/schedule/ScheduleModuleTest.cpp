// The scheduler in the whole engine on a fake home: first run schedules the built-in preset, the
// stored days and the switch come back at the next start, and a due entry runs a real preset
// clean (stamped, alone, with sleep prevention) whose end, or abort, lets the queue go on.

#include "ScheduleTestSupport.h"

#include "core/Record.h"
#include "core/TaskFlags.h"
#include "presets/PresetsModule.h"
#include "schedule/ScheduleEntry.h"
#include "schedule/ScheduleModule.h"
#include "schedule/ScheduleTime.h"
#include "support/EngineHarness.h"

#include <gtest/gtest.h>

namespace tpc::test::schedule {
namespace {

namespace fs = std::filesystem;
using namespace tpc::schedule;

class ScheduleApp {
public:
    ScheduleApp() {
        writeFile(trash() / "old.bin", std::string(5000, 'x'));
        start();
    }
    ~ScheduleApp() { stop(); }

    void start() {
        stop();
        platform::PlatformOptions o;
        o.layout = platform::Layout::MacOS;
        o.home = dir / "home";
        o.root = dir / "root";
        o.environment = std::map<std::string, std::string>{};
        fs::create_directories(o.root);
        platform = std::make_unique<platform::Platform>(o);
        app = std::make_unique<controller::AppDelegate>(
            controller::AppServices{frontend, main, *platform, clock, log});
        app->startUp(core::StartupOptions{.headless = true});
    }
    void stop() {
        if (!app)
            return;
        whileTimeMoves(clock, [this] {
            module().schedule().stop();
            app->flags().abortAllOtherScansAndCleans();
            main.runUntil([this] { return app->tasks().idle(); });
            app.reset();
        });
    }

    fs::path trash() const { return dir / "home/.Trash"; }
    ScheduleModule& module() { return *app->module<ScheduleModule>(); }
    ScheduleSettings& settings() { return module().settings(); }
    Schedule& schedule() { return module().schedule(); }
    presets::PresetModel& model() { return app->module<presets::PresetsModule>()->model(); }
    core::DictRef preset(const std::string& name) { return model().presetNamed(name); }

    // "Preset #N" holding the system page's "Trash" row, scheduled on Monday at 10:00.
    void addTrashPreset() {
        const auto name = model().addPreset()->getString("presetName");
        for (const auto& row : app->module<system::SystemModule>()->driver().list()->dicts())
            if (core::description(row) == "Trash")
                ASSERT_TRUE(model().addRowToPresetGroup(2, name, "Clean System Junk", row));
        ASSERT_TRUE(settings().checkBoxEnableScheduleForDayClicked(name, "Monday", true,
                                                                   pickerDate(10, 0)));
    }
    // Serves the main thread until `done` and every task has ended (what they queued last run
    // too), moving the clock on whenever it has nothing to do.
    void serveUntil(const std::function<bool()>& done) {
        main.runUntil([&] {
            if (done() && app->tasks().idle())
                return true;
            clock.advance(Clock::seconds(0.5));
            return false;
        });
        main.drain();
    }
    bool stamped(const std::string& name) {
        return preset(name)->get(keys::LastScheduledRun).date() != nullptr;
    }
    std::vector<std::string> power() const {
        std::vector<std::string> out;
        for (const auto& e : frontend.eventsOf(FrontendEvent::Type::Power))
            out.push_back(e.action + (e.normal ? " normal" : ""));
        return out;
    }

    TempDir dir;
    AbortingFrontend frontend;
    // Monday 1 January 2024, 10:00 local time.
    FakeClock clock{FakeClock::Mode::Manual, localTime(2024, 1, 1, 10, 0, 0)};
    core::SystemLog log{false};
    core::QueueMainThread main;
    std::unique_ptr<platform::Platform> platform;
    std::unique_ptr<controller::AppDelegate> app;
};

TEST(ScheduleModule, FirstRunSchedulesTheBuiltInPresetAndLaterStartsLoadTheStoredDays) {
    ScheduleApp h;
    EXPECT_FALSE(h.schedule().abortSchedule());
    const auto friday = h.settings().storedEntry(presets::kOneClickClean, "Friday");
    ASSERT_NE(friday, nullptr);
    EXPECT_EQ(hmFromDate(*entryDate(friday)), (HourMinute{14, 0}));

    h.settings().checkBoxEnableScheduleForDayClicked(presets::kOneClickClean, "Monday", false, {});
    h.settings().checkBoxEnableScheduleClicked(false);
    h.start();
    EXPECT_TRUE(h.schedule().abortSchedule());
    EXPECT_TRUE(h.schedule().arrayForDay("Monday")->empty());
    ASSERT_EQ(h.schedule().arrayForDay("Friday")->size(), 1u);
    EXPECT_EQ(entryPresetName(h.schedule().arrayForDay("Friday")->at(0).dict()),
              presets::kOneClickClean);
}

TEST(ScheduleModule, ADueEntryCleansItsPresetAloneWithoutAskingAndStampsTheRun) {
    ScheduleApp h;
    h.settings().checkBoxEnableScheduleForDayClicked(presets::kOneClickClean, "Monday", false, {});
    h.addTrashPreset();
    h.app->flags().setChangesMade(true);
    h.app->general().preventNormalSleep(true);
    h.settings().selectPreset("Preset #1");
    const auto now = dateFromWallTime(h.clock.wallNow());

    h.schedule().start(); // 10:00: due at once, and held
    EXPECT_TRUE(h.settings().storedEntry("Preset #1", "Monday")->has(keys::ScheduleAlreadyRun));
    h.serveUntil([&] { return h.stamped("Preset #1") && !h.schedule().cleanRunning(); });
    EXPECT_TRUE(namesIn(h.trash()).empty());
    // Stamped when the clean started: the clock moves on while the test waits.
    const core::Date stamp = *h.preset("Preset #1")->get(keys::LastScheduledRun).date();
    EXPECT_GE(stamp.secondsSince2001, now.secondsSince2001);
    EXPECT_LT(stamp.secondsSince2001, now.secondsSince2001 + 10);
    EXPECT_TRUE(core::isMarked(h.preset("Preset #1")));
    EXPECT_FALSE(core::isMarked(h.preset(presets::kOneClickClean)));
    EXPECT_TRUE(h.frontend.eventsOf(FrontendEvent::Type::Alert).empty());
    EXPECT_EQ(h.power(), (std::vector<std::string>{"register normal", "deregister"}));
    EXPECT_EQ(h.settings().lastScheduledRunText("Preset #1"),
              (LastRunText{"Last Schedule Run:", localDateText(stamp)}));
    bool shown = false;
    for (const auto& e : h.frontend.eventsOf(FrontendEvent::Type::Ui))
        shown |= e.action == "updateLastScheduledRunTextField" &&
                 e.detail.dict()->getString("header") == "Last Schedule Run:";
    EXPECT_TRUE(shown);
}

TEST(ScheduleModule, AnAbortedScheduledCleanLetsTheNextQueuedPresetRun) {
    ScheduleApp h;
    h.settings().checkBoxEnableScheduleForDayClicked(presets::kOneClickClean, "Monday", false, {});
    h.addTrashPreset();
    h.addTrashPreset();
    h.frontend.abortOnStatus = "Shredding Folders/Files...";

    h.schedule().start();
    h.serveUntil([&] { return h.stamped("Preset #2") && !h.schedule().cleanRunning(); });
    EXPECT_TRUE(h.stamped("Preset #1"));
    EXPECT_FALSE(h.schedule().presetRunning() && h.schedule().arrayRunCount() > 0);
    EXPECT_TRUE(namesIn(h.trash()).empty()); // the second clean ran to its end
}

} // namespace
} // namespace tpc::test::schedule
