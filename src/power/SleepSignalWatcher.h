#pragma once
// Listens for logind's PrepareForSleep signal while a sleep delay lock is held, on a thread of its
// own that owns the bus connection from start to stop (an sd-bus connection is used by one thread
// at a time). The signal is only logged: the delay lock is what keeps the system awake, so it is
// kept through the announced sleep and released when the clean ends.

#include <thread>

struct sd_bus;

namespace tpc::core {
class SystemLog;
}

namespace tpc::power {

class SleepSignalWatcher {
public:
    explicit SleepSignalWatcher(core::SystemLog& log) : log_(log) {}
    ~SleepSignalWatcher() { stop(); }
    SleepSignalWatcher(const SleepSignalWatcher&) = delete;
    SleepSignalWatcher& operator=(const SleepSignalWatcher&) = delete;

    // Takes the connection: subscribes to the signal (a call bounded by the connection's method
    // timeout) and starts listening. On failure the connection is closed and false answered
    // (logged).
    bool start(sd_bus* bus);
    // Stops listening, waits for the thread and closes the connection.
    void stop();
    bool running() const { return thread_.joinable(); }

private:
    void run();

    core::SystemLog& log_;
    sd_bus* bus_ = nullptr;
    // Written to wake the thread when it has to stop.
    int wakeRead_ = -1;
    int wakeWrite_ = -1;
    std::thread thread_;
};

} // namespace tpc::power
