#pragma once
// The macos layout's backend: the process-wide power-notification registration (SleepCallback.h)
// over a power source (the unavailable one on a host without IOKit).

#include "power/PowerSource.h"
#include "power/SleepBackend.h"

#include <memory>

namespace tpc::core {
class SystemLog;
}

namespace tpc::power {

class IOKitSleep final : public SleepBackend {
public:
    IOKitSleep(std::unique_ptr<PowerSource> source, core::SystemLog& log);
    ~IOKitSleep() override;
    IOKitSleep(const IOKitSleep&) = delete;
    IOKitSleep& operator=(const IOKitSleep&) = delete;

    // Sets the two reference bytes and calls DelaySleep with them.
    bool registerForSleep(bool normal, bool forced) override;
    // Deregister(), also after a failed registration.
    void deregister() override;
    bool registered() const override { return registered_; }

    PowerSource& source() { return *source_; }

private:
    std::unique_ptr<PowerSource> source_;
    core::SystemLog& log_;
    bool registered_ = false;
};

} // namespace tpc::power
