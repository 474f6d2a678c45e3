#include "power/SleepPrevention.h"

#include "core/Frontend.h"
#include "core/GeneralPrefs.h"
#include "core/Keys.h"

namespace tpc::power {

SleepPrevention::SleepPrevention(core::GeneralPrefs& general, core::Frontend& frontend,
                                 std::unique_ptr<SleepBackend> backend)
    : general_(general), frontend_(frontend), backend_(std::move(backend)) {}

bool SleepPrevention::preventNormalSleep() const {
    return general_.dict()->getInt(core::keys::PreventNormalSleep) != 0;
}

bool SleepPrevention::preventForcedSleep() const {
    return general_.dict()->getInt(core::keys::PreventForcedSleep) != 0;
}

void SleepPrevention::delaySleep() {
    bool normal = preventNormalSleep();
    bool forced = preventForcedSleep();
    if (!normal && !forced)
        return;
    frontend_.powerEvent(true, normal, forced);
    backend_->registerForSleep(normal, forced);
}

void SleepPrevention::callDeregister() {
    frontend_.powerEvent(false, false, false);
    backend_->deregister();
}

} // namespace tpc::power
