#include "power/LogindSleep.h"

#include "core/SystemLog.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace tpc::power {

namespace {

constexpr const char* kLogindService = "org.freedesktop.login1";
constexpr const char* kLogindPath = "/org/freedesktop/login1";
constexpr const char* kLogindManager = "org.freedesktop.login1.Manager";
constexpr const char* kInhibitWho = "Tavrin Privacy Cleaner";
constexpr const char* kInhibitWhy = "Tavrin Privacy App Cleaning...";
// Where sd-bus looks for the system bus when the environment does not say.
constexpr const char* kDefaultSystemBus = "unix:path=/run/dbus/system_bus_socket";

using BusPtr = std::unique_ptr<sd_bus, decltype(&sd_bus_flush_close_unref)>;
using MessagePtr = std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

struct BusError {
    sd_bus_error error = SD_BUS_ERROR_NULL;
    ~BusError() { sd_bus_error_free(&error); }
};

std::string busErrorText(int r, const sd_bus_error& error) {
    return error.message ? error.message : std::strerror(-r);
}

void closeInhibitLock(int& fd) {
    if (fd >= 0)
        close(fd);
    fd = -1;
}

} // namespace

LogindSleep::LogindSleep(core::SystemLog& log, std::optional<std::string> busAddress,
                         std::chrono::milliseconds callTimeout)
    : log_(log), busAddress_(std::move(busAddress)),
      timeoutUsec_(static_cast<std::uint64_t>(
          std::chrono::duration_cast<std::chrono::microseconds>(callTimeout).count())),
      watcher_(log) {}

LogindSleep::~LogindSleep() {
    deregister();
}

sd_bus* LogindSleep::connect() {
    std::string address = kDefaultSystemBus;
    if (busAddress_)
        address = *busAddress_;
    else if (const char* fromEnv = std::getenv("DBUS_SYSTEM_BUS_ADDRESS"); fromEnv && *fromEnv)
        address = fromEnv;
    // Made by hand rather than by sd_bus_open_system so that the time-out also bounds the
    // connection's greeting.
    sd_bus* raw = nullptr;
    int r = sd_bus_new(&raw);
    BusPtr bus(raw, sd_bus_flush_close_unref);
    if (r >= 0)
        r = sd_bus_set_address(raw, address.c_str());
    if (r >= 0)
        r = sd_bus_set_bus_client(raw, 1);
    if (r >= 0)
        r = sd_bus_set_method_call_timeout(raw, timeoutUsec_);
    if (r >= 0)
        r = sd_bus_start(raw);
    if (r < 0) {
        log_.log("Sleep prevention not held: no system bus (" + std::string(std::strerror(-r)) +
                 ")");
        return nullptr;
    }
    return bus.release();
}

int LogindSleep::inhibit(sd_bus* bus, const char* what, const char* mode, bool& unreachable) {
    BusError error;
    sd_bus_message* rawReply = nullptr;
    int r =
        sd_bus_call_method(bus, kLogindService, kLogindPath, kLogindManager, "Inhibit",
                           &error.error, &rawReply, "ssss", what, kInhibitWho, kInhibitWhy, mode);
    MessagePtr reply(rawReply, sd_bus_message_unref);
    int fd = -1;
    if (r >= 0) {
        int received = -1;
        r = sd_bus_message_read(reply.get(), "h", &received);
        // The reply owns the descriptor it carries: keep a copy of our own.
        if (r >= 0 && (fd = fcntl(received, F_DUPFD_CLOEXEC, 3)) < 0)
            r = -errno;
    }
    if (fd >= 0)
        return fd;
    unreachable = r == -ETIMEDOUT || !sd_bus_is_open(bus) ||
                  sd_bus_error_has_names(&error.error, SD_BUS_ERROR_SERVICE_UNKNOWN,
                                         SD_BUS_ERROR_NAME_HAS_NO_OWNER, SD_BUS_ERROR_NO_REPLY,
                                         SD_BUS_ERROR_TIMEOUT, SD_BUS_ERROR_DISCONNECTED);
    log_.log(std::string("Sleep prevention not held: logind refused the ") + what + " " + mode +
             " lock (" + busErrorText(r, error.error) + ")");
    return -1;
}

bool LogindSleep::registerForSleep(bool normal, bool forced) {
    // A second registration replaces the first, so no lock is left behind.
    deregister();
    BusPtr bus(connect(), sd_bus_flush_close_unref);
    if (!bus)
        return false;
    bool unreachable = false;
    if (normal)
        normalLock_ = inhibit(bus.get(), "sleep:idle", "block", unreachable);
    if (forced && !unreachable)
        forcedLock_ = inhibit(bus.get(), "sleep", "delay", unreachable);
    // The block lock needs nothing more than its descriptor; the delay lock is held through the
    // announced sleep, which is listened for.
    if (forcedLock_ >= 0)
        watcher_.start(bus.release());
    return (!normal || normalLock_ >= 0) && (!forced || forcedLock_ >= 0);
}

void LogindSleep::deregister() {
    watcher_.stop();
    closeInhibitLock(normalLock_);
    closeInhibitLock(forcedLock_);
}

} // namespace tpc::power
