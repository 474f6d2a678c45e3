#pragma once
// Sleep prevention over system power notifications, kept as process-wide state and plain
// functions: the registration made when a preset clean starts, the handler that vetoes or allows
// an idle sleep and holds an assertion against an announced one, and the deregistration at the
// clean's end. Everything here runs on the main thread (the notifications arrive through the
// main run loop).

#include "power/PowerSource.h"

#include <array>
#include <cstdint>

namespace tpc::core {
class SystemLog;
}

namespace tpc::power {

// The one registration of the process.
struct SleepState {
    PowerConnection root_port = 0;
    NotifyPort notifyPortRef = 0;
    Notifier notifierObject = 0;
    // The assertion made for an announced sleep; left as it is after its release.
    AssertionId assertionID = 0;
    // The reference handed to the registration: byte 0 the normal-sleep option, byte 1 the
    // forced-sleep option (1 on, 0 off). The handler receives only a pointer to them, so they
    // live here, as long as the process.
    std::array<std::uint8_t, 2> refCon{};
    // The service and the log the handler and Deregister use, bound by DelaySleep.
    PowerSource* source = nullptr;
    core::SystemLog* log = nullptr;
};

SleepState& sleepState();

// The four properties of the assertion that keeps the system awake.
core::DictRef sleepAssertionProperties();

// Registers for system power notifications with `reference` (two bytes that must outlive the
// registration; normally sleepState().refCon) and MySleepCallBack. Answers 0, or 1 when the
// registration failed (logged; the clean goes on without sleep prevention). A second call
// overwrites the stored handles.
int DelaySleep(PowerSource& source, core::SystemLog& log, void* reference);

// The power notification handler.
void MySleepCallBack(void* refCon, std::uint32_t service, std::uint32_t messageType,
                     std::intptr_t messageArgument);

// Releases the assertion, if one was made, and the registration (also a failed one). Answers 0.
int Deregister();

// Drops the binding to `source` (its owner is going away); nothing else changes.
void forgetPowerSource(const PowerSource& source);

} // namespace tpc::power
