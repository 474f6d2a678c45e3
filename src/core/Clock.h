#pragma once
// Every sleep and every clock read of the engine goes through a Clock, so tests can run the
// polling loops on a fake clock.

#include <chrono>
#include <cstdint>

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

} // namespace tpc::core
