#pragma once
// Every sleep and every clock read of the engine goes through a Clock, so tests can run the
// polling loops on a fake clock.

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace tpc::core {

class Clock {
public:
    using Duration = std::chrono::microseconds;
    using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Duration>;
    using WallTime = std::chrono::time_point<std::chrono::system_clock, Duration>;

    virtual ~Clock() = default;
    // Monotonic time for intervals.
    virtual TimePoint now() const = 0;
    // Calendar time (the scheduler's weekday and time of day).
    virtual WallTime wallNow() const = 0;
    virtual void sleepFor(Duration d) = 0;

    static constexpr Duration seconds(double s) {
        return Duration(static_cast<std::int64_t>(s * 1e6));
    }
};

class RealClock final : public Clock {
public:
    TimePoint now() const override;
    WallTime wallNow() const override;
    void sleepFor(Duration d) override;
};

// A clock that only moves when told to.
// - Auto mode: every sleepFor advances the clock by its duration and returns at once, so polling
//   loops run through virtual time as fast as the machine allows.
// - Manual mode: sleepFor blocks until the test has advanced the clock past the sleeper's wake
//   time; waitForSleepers lets the test wait until its threads have gone to sleep.
class FakeClock final : public Clock {
public:
    enum class Mode { Auto, Manual };
    explicit FakeClock(Mode mode = Mode::Auto,
                       WallTime startWall = WallTime(std::chrono::seconds(1795000000)));

    TimePoint now() const override;
    WallTime wallNow() const override;
    void sleepFor(Duration d) override;

    void advance(Duration d);
    // Blocks until at least `n` threads are inside sleepFor (manual mode).
    void waitForSleepers(int n);
    int sleepers() const;
    // Total number of sleepFor calls so far.
    std::uint64_t sleepCalls() const;

private:
    Mode mode_;
    mutable std::mutex mutex_;
    std::condition_variable cv_;
    Duration elapsed_{0};
    WallTime startWall_;
    int sleepers_ = 0;
    std::uint64_t sleepCalls_ = 0;
};

} // namespace tpc::core
