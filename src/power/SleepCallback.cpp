#include "power/SleepCallback.h"

#include "core/SystemLog.h"

#include <cstdio>

namespace tpc::power {

namespace {

void logSleepLine(const char* format, auto... args) {
    auto* log = sleepState().log;
    if (!log)
        return;
    char line[128];
    std::snprintf(line, sizeof line, format, args...);
    log->log(line);
}

// The reference read as one 16-bit value: byte 0 is its low byte, byte 1 its high byte.
unsigned referenceValue(const void* refCon) {
    const auto* bytes = static_cast<const std::uint8_t*>(refCon);
    return static_cast<unsigned>(bytes[0]) | static_cast<unsigned>(bytes[1]) << 8;
}

} // namespace

SleepState& sleepState() {
    static SleepState state;
    return state;
}

core::DictRef sleepAssertionProperties() {
    return core::DictObj::make({{"AssertType", "PreventSystemSleep"},
                                {"AssertLevel", 255},
                                {"AssertName", "Tavrin Privacy App Cleaning..."},
                                {"HumanReadableReason", "Tavrin Privacy App Cleaning..."}});
}

int DelaySleep(PowerSource& source, core::SystemLog& log, void* reference) {
    auto& state = sleepState();
    state.source = &source;
    state.log = &log;
    state.root_port = source.registerForSystemPower(reference, &state.notifyPortRef,
                                                    MySleepCallBack, &state.notifierObject);
    if (state.root_port == 0) {
        log.log("IORegisterForSystemPower failed");
        return 1;
    }
    source.addRunLoopSource(state.notifyPortRef);
    return 0;
}

void MySleepCallBack(void* refCon, std::uint32_t, std::uint32_t messageType,
                     std::intptr_t messageArgument) {
    auto& state = sleepState();
    logSleepLine("messageType %08lx, arg %08lx", static_cast<unsigned long>(messageType),
                 static_cast<unsigned long>(messageArgument));
    if (!state.source)
        return;
    const auto* bytes = static_cast<const std::uint8_t*>(refCon);
    switch (messageType) {
    case kIOMessageCanSystemSleep:
        // An idle sleep asks first: the normal-sleep option vetoes it.
        if (bytes[0] != 0) {
            logSleepLine("refCon[0]:%i means IOCancelPowerChange", static_cast<int>(bytes[0]));
            state.source->cancelPowerChange(state.root_port, messageArgument);
        } else {
            logSleepLine("refCon[0]:%i means IOAllowPowerChange", static_cast<int>(bytes[0]));
            state.source->allowPowerChange(state.root_port, messageArgument);
        }
        break;
    case kIOMessageSystemWillSleep:
        // An announced sleep cannot be vetoed. With the forced-sleep option the assertion keeps
        // the system awake and the message is deliberately left unanswered: the system then
        // waits for its acknowledgement time-out, during which the assertion holds.
        if (referenceValue(refCon) >= 256)
            state.source->createAssertion(sleepAssertionProperties(), &state.assertionID);
        else
            state.source->allowPowerChange(state.root_port, messageArgument);
        break;
    default:
        break;
    }
}

int Deregister() {
    auto& state = sleepState();
    if (state.log)
        state.log->log("Deregister() entered");
    if (!state.source)
        return 0;
    auto& source = *state.source;
    if (state.assertionID != 0)
        source.releaseAssertion(state.assertionID);
    source.removeRunLoopSource(state.notifyPortRef);
    source.deregisterForSystemPower(&state.notifierObject);
    source.serviceClose(state.root_port);
    source.destroyNotificationPort(state.notifyPortRef);
    return 0;
}

void forgetPowerSource(const PowerSource& source) {
    auto& state = sleepState();
    if (state.source == &source) {
        state.source = nullptr;
        state.log = nullptr;
    }
}

} // namespace tpc::power
