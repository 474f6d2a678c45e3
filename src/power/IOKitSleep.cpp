#include "power/IOKitSleep.h"

#include "power/SleepCallback.h"

namespace tpc::power {

IOKitSleep::IOKitSleep(std::unique_ptr<PowerSource> source, core::SystemLog& log)
    : source_(std::move(source)), log_(log) {}

IOKitSleep::~IOKitSleep() {
    // Unless a later registration of another owner replaced this one.
    if (registered_ && sleepState().source == source_.get())
        deregister();
    forgetPowerSource(*source_);
}

bool IOKitSleep::registerForSleep(bool normal, bool forced) {
    auto& state = sleepState();
    state.refCon[0] = normal ? 1 : 0;
    state.refCon[1] = forced ? 1 : 0;
    registered_ = true;
    return DelaySleep(*source_, log_, state.refCon.data()) == 0;
}

void IOKitSleep::deregister() {
    registered_ = false;
    Deregister();
}

} // namespace tpc::power
