#pragma once
// Keeping the machine awake while a preset clean runs, as the two General options ask: "Prevent
// Normal Sleep" (veto an idle sleep) and "Prevent Forced Sleep" (hold an announced sleep off).
// The options are read when a clean starts; a change takes effect at the next clean. Main thread
// only.

#include "power/SleepBackend.h"

#include <memory>

namespace tpc::core {
class GeneralPrefs;
class Frontend;
} // namespace tpc::core

namespace tpc::power {

class SleepPrevention {
public:
    SleepPrevention(core::GeneralPrefs& general, core::Frontend& frontend,
                    std::unique_ptr<SleepBackend> backend);

    // The options as the General settings hold them now (non-zero = on).
    bool preventNormalSleep() const;
    bool preventForcedSleep() const;

    // At a preset clean's start: with both options off nothing happens; otherwise the front end
    // is told and the backend registers with the two options.
    void delaySleep();
    // At the clean's end: the front end is told and the backend releases the registration.
    void callDeregister();

    bool registered() const { return backend_->registered(); }
    SleepBackend& backend() { return *backend_; }

private:
    core::GeneralPrefs& general_;
    core::Frontend& frontend_;
    std::unique_ptr<SleepBackend> backend_;
};

} // namespace tpc::power
