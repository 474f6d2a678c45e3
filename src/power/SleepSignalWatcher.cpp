#include "power/SleepSignalWatcher.h"

#include "core/SystemLog.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace tpc::power {

namespace {

int onPrepareForSleep(sd_bus_message* message, void* userdata, sd_bus_error*) {
    int start = 0;
    if (sd_bus_message_read(message, "b", &start) < 0)
        return 0;
    auto& log = *static_cast<core::SystemLog*>(userdata);
    log.log(start ? "PrepareForSleep(true): the sleep delay lock stays held until the clean ends"
                  : "PrepareForSleep(false): resumed, the sleep delay lock stays held");
    return 0;
}

} // namespace

bool SleepSignalWatcher::start(sd_bus* bus) {
    stop();
    int r = sd_bus_match_signal(bus, nullptr, "org.freedesktop.login1", "/org/freedesktop/login1",
                                "org.freedesktop.login1.Manager", "PrepareForSleep",
                                onPrepareForSleep, &log_);
    int pipeFds[2];
    if (r >= 0 && pipe2(pipeFds, O_CLOEXEC | O_NONBLOCK) < 0)
        r = -errno;
    if (r < 0) {
        log_.log("Sleep prevention: cannot listen for PrepareForSleep (" +
                 std::string(std::strerror(-r)) + ")");
        sd_bus_flush_close_unref(bus);
        return false;
    }
    bus_ = bus;
    wakeRead_ = pipeFds[0];
    wakeWrite_ = pipeFds[1];
    thread_ = std::thread([this] { run(); });
    return true;
}

void SleepSignalWatcher::stop() {
    if (thread_.joinable()) {
        char wake = 1;
        while (write(wakeWrite_, &wake, 1) < 0 && errno == EINTR) {
        }
        thread_.join();
    }
    if (bus_)
        sd_bus_flush_close_unref(bus_);
    bus_ = nullptr;
    for (int* fd : {&wakeRead_, &wakeWrite_})
        if (*fd >= 0) {
            close(*fd);
            *fd = -1;
        }
}

void SleepSignalWatcher::run() {
    for (;;) {
        int r;
        while ((r = sd_bus_process(bus_, nullptr)) > 0) {
        }
        if (r < 0) {
            log_.log("Sleep prevention: the system bus connection was lost (" +
                     std::string(std::strerror(-r)) + ")");
            return;
        }
        int events = sd_bus_get_events(bus_);
        if (events < 0)
            return;
        // Nothing is ever called on this connection, so nothing on it times out: the thread
        // waits for bus traffic or its wake-up only.
        pollfd fds[2] = {{sd_bus_get_fd(bus_), static_cast<short>(events), 0},
                         {wakeRead_, POLLIN, 0}};
        if (poll(fds, 2, -1) < 0 && errno != EINTR)
            return;
        if (fds[1].revents != 0)
            return;
    }
}

} // namespace tpc::power
