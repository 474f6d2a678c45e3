#pragma once
// The linux layout's backend: logind inhibitor locks over the system bus. "Prevent Normal Sleep"
// takes a "sleep:idle" lock in "block" mode (idle sleep is refused); "Prevent Forced Sleep" takes
// a "sleep" lock in "delay" mode, kept through PrepareForSleep(true) so that an announced sleep
// waits until the clean ends (or logind's maximum delay passes). A lock lives while its file
// descriptor is open. No system bus, no logind or a refused lock is logged and leaves that lock
// not held. Main thread only; every call to the bus is bounded by a short time-out.

#include "power/SleepBackend.h"
#include "power/SleepSignalWatcher.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace tpc::core {
class SystemLog;
}

namespace tpc::power {

class LogindSleep final : public SleepBackend {
public:
    // `busAddress`: a D-Bus address to use instead of the system bus (which is found as sd-bus
    // finds it: $DBUS_SYSTEM_BUS_ADDRESS, else the standard socket).
    explicit LogindSleep(core::SystemLog& log, std::optional<std::string> busAddress = std::nullopt,
                         std::chrono::milliseconds callTimeout = std::chrono::seconds(2));
    ~LogindSleep() override;
    LogindSleep(const LogindSleep&) = delete;
    LogindSleep& operator=(const LogindSleep&) = delete;

    // Takes the locks of the options that are on, after releasing any still held. True when
    // every lock asked for is held.
    bool registerForSleep(bool normal, bool forced) override;
    void deregister() override;
    bool registered() const override { return normalLock_ >= 0 || forcedLock_ >= 0; }

    bool holdsNormalLock() const { return normalLock_ >= 0; }
    bool holdsForcedLock() const { return forcedLock_ >= 0; }

private:
    // The connection, or nullptr (logged).
    sd_bus* connect();
    // Inhibit(what, who, why, mode): the lock's descriptor, or -1 (logged). `unreachable` is set
    // when logind cannot answer at all, so that no further lock is asked for.
    int inhibit(sd_bus* bus, const char* what, const char* mode, bool& unreachable);

    core::SystemLog& log_;
    std::optional<std::string> busAddress_;
    std::uint64_t timeoutUsec_;
    int normalLock_ = -1;
    int forcedLock_ = -1;
    SleepSignalWatcher watcher_;
};

} // namespace tpc::power
