#include "schedule/ScheduleModule.h"

#include "core/Clock.h"
#include "presets/PresetsModule.h"
#include "schedule/ScheduleEntry.h"
#include "schedule/ScheduleTime.h"

namespace tpc::schedule {

namespace {

bool isPresetCleanTask(const core::TaskEvent& task) {
    return task.category == core::Category::Presets && task.kind == core::TaskKind::Clean;
}

} // namespace

ScheduleModule::ScheduleModule(core::Context& ctx, core::TaskRunner& tasks,
                               core::GeneralPrefs& general, presets::PresetsModule& presets)
    : ctx_(ctx), tasks_(tasks), presets_(presets), schedule_(ctx.clock, ctx.mainThread),
      settings_(presets.model(), schedule_, general, ctx.clock, ctx.frontend) {
    schedule_.hooks.cleanPreset = [this](const core::DictRef& entry) {
        cleanScheduledPreset(entry);
    };
    schedule_.hooks.markScheduleAsAlreadyRun = [this](const core::DictRef& entry) {
        settings_.markScheduleAsAlreadyRun(entry);
    };
    schedule_.hooks.removeScheduleAsAlreadyRun = [this](const core::DictRef& entry) {
        settings_.removeScheduleAsAlreadyRun(entry);
    };
    presets_.model().removeSchedule = [this](const core::DictRef& entry) {
        schedule_.removeSchedule(entry);
    };
    presets_.runner().onCleanEnded = [this] {
        cleanEnded();
    };
    tasks_.addObserver(*this);
    observing_ = true;
}

ScheduleModule::~ScheduleModule() {
    shutdown();
}

void ScheduleModule::start(core::StartupStep step, const core::StartupOptions& options) {
    switch (step) {
    case core::StartupStep::Lists:
        // The presets module, earlier in the order, has loaded the presets by now.
        settings_.loadStoredEntries();
        break;
    case core::StartupStep::Resources:
        // The desktop application checks for the life of the process.
        if (!options.headless)
            schedule_.start();
        break;
    default:
        break;
    }
}

void ScheduleModule::firstRun() {
    settings_.setFirstRunSchedules();
}

void ScheduleModule::shutdown() {
    schedule_.stop();
    if (observing_) {
        tasks_.removeObserver(*this);
        observing_ = false;
        presets_.model().removeSchedule = nullptr;
        presets_.runner().onCleanEnded = nullptr;
    }
}

void ScheduleModule::cleanScheduledPreset(const core::DictRef& entry) {
    const std::string name = entryPresetName(entry);
    // A preset removed while its entry waited in the queue: nothing to clean, and the marks of
    // the other presets stay as they are.
    if (!presets_.model().presetNamed(name)) {
        schedule_.setCleanRunning(false);
        return;
    }
    startingScheduledClean_ = true;
    presets_.runner().cleanFromSchedule(name, dateFromWallTime(ctx_.clock.wallNow()));
    startingScheduledClean_ = false;
    if (onScheduledClean)
        onScheduledClean(entry);
}

void ScheduleModule::cleanEnded() {
    settings_.updateLastScheduledRunTextField();
    schedule_.setCleanRunning(false);
}

void ScheduleModule::taskStarted(const core::TaskEvent& task) {
    if (startingScheduledClean_ && isPresetCleanTask(task))
        scheduledCleanId_ = task.id;
}

void ScheduleModule::taskEnded(const core::TaskEvent& task) {
    // A scheduled clean that was aborted does not reach its normal end: its task's end lets the
    // queue go on all the same.
    if (scheduledCleanId_ == 0 || task.id != scheduledCleanId_)
        return;
    scheduledCleanId_ = 0;
    schedule_.setCleanRunning(false);
}

} // namespace tpc::schedule
