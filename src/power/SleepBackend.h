#pragma once
// What sleep prevention asks of the host while a preset clean runs: register with the two sleep
// options at the clean's start, release everything at its end. Each layout has its own backend
// (power notifications on macOS, logind inhibitor locks on Linux). Main thread only.

namespace tpc::power {

class SleepBackend {
public:
    virtual ~SleepBackend() = default;
    // Registers with the options in force (at least one is on). False when the host refused or
    // has no such service: that is logged, and the clean goes on without sleep prevention.
    virtual bool registerForSleep(bool normal, bool forced) = 0;
    // Releases whatever the registration holds.
    virtual void deregister() = 0;
    // Whether a registration is waiting for its deregister.
    virtual bool registered() const = 0;
};

} // namespace tpc::power
