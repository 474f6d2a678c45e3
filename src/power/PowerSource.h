#pragma once
// The system's power-management service as the macOS sleep callback uses it: registering for
// system power notifications, allowing or cancelling a power change, and power assertions. The
// operations mirror IOKit's; off macOS the "unavailable" source refuses the registration, and the
// tests drive a fake that delivers messages and records the calls.

#include "core/Value.h"

#include <cstdint>

namespace tpc::power {

// The power messages the callback acts on.
inline constexpr std::uint32_t kIOMessageCanSystemSleep = 0xE0000270;
inline constexpr std::uint32_t kIOMessageSystemWillSleep = 0xE0000280;

// Opaque handles of a registration: the root power connection (0 when the registration failed),
// the notification port and the notifier object; and the ID of a power assertion.
using PowerConnection = std::uint32_t;
using NotifyPort = std::uintptr_t;
using Notifier = std::uint32_t;
using AssertionId = std::uint32_t;

// The power notification handler: the reference handed to the registration, the service, the
// message type and its argument (the token a cancel or allow answers).
using PowerCallback = void (*)(void* refCon, std::uint32_t service, std::uint32_t messageType,
                               std::intptr_t messageArgument);

class PowerSource {
public:
    virtual ~PowerSource() = default;

    // IORegisterForSystemPower: the root power connection, 0 when the registration failed.
    virtual PowerConnection registerForSystemPower(void* refCon, NotifyPort* notifyPort,
                                                   PowerCallback callback, Notifier* notifier) = 0;
    // The notification port's run-loop source added to or removed from the main run loop.
    virtual void addRunLoopSource(NotifyPort notifyPort) = 0;
    virtual void removeRunLoopSource(NotifyPort notifyPort) = 0;
    // Veto or allow the power change a message announced.
    virtual void cancelPowerChange(PowerConnection connection, std::intptr_t argument) = 0;
    virtual void allowPowerChange(PowerConnection connection, std::intptr_t argument) = 0;
    // IOPMAssertionCreateWithProperties: false when no assertion was made.
    virtual bool createAssertion(const core::DictRef& properties, AssertionId* id) = 0;
    virtual void releaseAssertion(AssertionId id) = 0;
    // IODeregisterForSystemPower, IOServiceClose, IONotificationPortDestroy.
    virtual void deregisterForSystemPower(Notifier* notifier) = 0;
    virtual void serviceClose(PowerConnection connection) = 0;
    virtual void destroyNotificationPort(NotifyPort notifyPort) = 0;
};

// A host without the service: the registration fails, everything else does nothing.
class UnavailablePowerSource final : public PowerSource {
public:
    PowerConnection registerForSystemPower(void*, NotifyPort* notifyPort, PowerCallback,
                                           Notifier* notifier) override {
        *notifyPort = 0;
        *notifier = 0;
        return 0;
    }
    void addRunLoopSource(NotifyPort) override {}
    void removeRunLoopSource(NotifyPort) override {}
    void cancelPowerChange(PowerConnection, std::intptr_t) override {}
    void allowPowerChange(PowerConnection, std::intptr_t) override {}
    bool createAssertion(const core::DictRef&, AssertionId*) override { return false; }
    void releaseAssertion(AssertionId) override {}
    void deregisterForSystemPower(Notifier*) override {}
    void serviceClose(PowerConnection) override {}
    void destroyNotificationPort(NotifyPort) override {}
};

} // namespace tpc::power
