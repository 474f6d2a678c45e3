#pragma once
// The scheduler subsystem: the weekly Schedule, the settings the user edits, and the wiring to
// the presets. At start-up the stored entries are handed to the schedule and the master switch
// applied; first run schedules the built-in preset. A due entry runs the preset's clean as a
// scheduled clean (stamped, marked alone, never prompting); the clean's end tells the schedule.
//
// The desktop application checks from start-up on; the command line checks only while
// `tpc schedule run` runs (it calls schedule().start()).

#include "core/Context.h"
#include "core/Module.h"
#include "core/TaskRunner.h"
#include "schedule/Schedule.h"
#include "schedule/ScheduleSettings.h"

#include <cstdint>
#include <functional>

namespace tpc::core {
class GeneralPrefs;
}

namespace tpc::presets {
class PresetsModule;
}

namespace tpc::schedule {

class ScheduleModule final : public core::Module, public core::TaskObserver {
public:
    ScheduleModule(core::Context& ctx, core::TaskRunner& tasks, core::GeneralPrefs& general,
                   presets::PresetsModule& presets);
    ~ScheduleModule() override;
    ScheduleModule(const ScheduleModule&) = delete;
    ScheduleModule& operator=(const ScheduleModule&) = delete;

    std::string name() const override { return "schedule"; }
    void start(core::StartupStep step, const core::StartupOptions& options) override;
    void firstRun() override;
    void shutdown() override;

    void taskStarted(const core::TaskEvent& task) override;
    void taskEnded(const core::TaskEvent& task) override;

    Schedule& schedule() { return schedule_; }
    ScheduleSettings& settings() { return settings_; }

    // Hears every scheduled clean as it is started (main thread), with the entry that fired.
    std::function<void(const core::DictRef& entry)> onScheduledClean;

private:
    void cleanScheduledPreset(const core::DictRef& entry);
    void cleanEnded();

    core::Context& ctx_;
    core::TaskRunner& tasks_;
    presets::PresetsModule& presets_;
    Schedule schedule_;
    ScheduleSettings settings_;
    // The task id of the scheduled clean running now (0: none), and whether one is being
    // started (its start is heard while cleanScheduledPreset runs).
    std::uint64_t scheduledCleanId_ = 0;
    bool startingScheduledClean_ = false;
    bool observing_ = false;
};

} // namespace tpc::schedule
