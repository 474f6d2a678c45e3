#include "power/PowerModule.h"

#include "platform/Platform.h"
#include "power/IOKitSleep.h"
#include "power/LogindSleep.h"

namespace tpc::power {

namespace {

bool isPresetClean(const core::TaskEvent& task) {
    return task.category == core::Category::Presets && task.kind == core::TaskKind::Clean;
}

} // namespace

std::unique_ptr<SleepBackend> PowerModule::layoutBackend(const core::Context& ctx) {
    if (ctx.platform.layout() == platform::Layout::MacOS)
        return std::make_unique<IOKitSleep>(std::make_unique<UnavailablePowerSource>(), ctx.log);
    return std::make_unique<LogindSleep>(ctx.log);
}

PowerModule::PowerModule(core::Context& ctx, core::TaskRunner& tasks, core::GeneralPrefs& general,
                         std::unique_ptr<SleepBackend> backend)
    : tasks_(tasks),
      prevention_(general, ctx.frontend, backend ? std::move(backend) : layoutBackend(ctx)) {
    tasks_.addObserver(*this);
    observing_ = true;
}

PowerModule::~PowerModule() {
    if (observing_)
        tasks_.removeObserver(*this);
}

void PowerModule::shutdown() {
    tasks_.removeObserver(*this);
    observing_ = false;
    // A clean whose end was not heard: nothing it took outlives the program's engine.
    if (prevention_.registered())
        prevention_.callDeregister();
    cleanId_ = 0;
}

void PowerModule::taskStarted(const core::TaskEvent& task) {
    if (!isPresetClean(task))
        return;
    cleanId_ = task.id;
    prevention_.delaySleep();
}

void PowerModule::taskEnded(const core::TaskEvent& task) {
    // Only the clean sleep prevention was last taken for: an earlier one still winding down when
    // the next started has had its registration replaced.
    if (cleanId_ == 0 || task.id != cleanId_)
        return;
    cleanId_ = 0;
    // Released when an option is on now, and always when something is held, so that a lock
    // never outlives its clean (an option switched off meanwhile).
    if (prevention_.preventNormalSleep() || prevention_.preventForcedSleep() ||
        prevention_.registered())
        prevention_.callDeregister();
}

} // namespace tpc::power
