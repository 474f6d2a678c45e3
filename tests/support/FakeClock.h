#pragma once
// A clock for tests: it only moves when told to.

#include "core/Clock.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <set>

namespace tpc::test {

// A clock that only moves when told to.
// - Auto mode: every sleepFor advances the clock by its duration and returns at once, so polling
//   loops run through virtual time as fast as the machine allows.
// - Manual mode: sleepFor blocks until the test has advanced the clock past the sleeper's wake
//   time; waitForSleepers lets the test wait until its threads have gone to sleep.
class FakeClock final : public core::Clock {
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
    // Blocks until every sleeper whose wake time has come has returned from sleepFor (manual
    // mode): after an advance, sleepers() no longer counts the threads it woke.
    void waitForWokenSleepers();
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
    std::multiset<Duration> wakes_;
    std::uint64_t sleepCalls_ = 0;
};

} // namespace tpc::test
