#pragma once
// Local calendar times for the schedule's tests, and a way to let the schedule's threads catch up
// with a manual fake clock.

#include "core/Clock.h"
#include "core/MainThread.h"
#include "schedule/Schedule.h"
#include "support/FakeClock.h"

#include <atomic>
#include <chrono>
#include <ctime>
#include <functional>
#include <thread>

namespace tpc::test::schedule {

using core::Clock;

// A local calendar time, as the schedule reads the clock. 1 January 2024 was a Monday.
inline Clock::WallTime localTime(int year, int month, int day, int hour, int minute,
                                 int second = 0) {
    std::tm tm{};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    tm.tm_isdst = -1;
    return Clock::WallTime(std::chrono::seconds(std::mktime(&tm)));
}

// Serves the main thread until every thread of `schedule` woken by the clock has gone on to its
// next sleep or its end, and the main-thread work they queued (which may start further threads)
// has run.
inline void settle(FakeClock& clock, core::QueueMainThread& main,
                   const tpc::schedule::Schedule& schedule) {
    const auto caughtUp = [&] {
        clock.waitForWokenSleepers();
        return static_cast<std::size_t>(clock.sleepers()) == schedule.threadsRunning();
    };
    for (;;) {
        main.runUntil(caughtUp);
        // Every thread sleeps: nothing more is queued unless what runs now starts a thread or
        // wakes one, which shows in the counts.
        const auto calls = clock.sleepCalls();
        const auto threads = schedule.threadsRunning();
        main.drain();
        if (caughtUp() && clock.sleepCalls() == calls && schedule.threadsRunning() == threads)
            return;
    }
}

// Runs `stop` (which waits for threads sleeping on the manual clock) while time keeps moving.
inline void whileTimeMoves(FakeClock& clock, const std::function<void()>& stop) {
    std::atomic<bool> done{false};
    std::thread mover([&] {
        while (!done) {
            clock.advance(Clock::seconds(1));
            std::this_thread::yield();
        }
    });
    stop();
    done = true;
    mover.join();
}

} // namespace tpc::test::schedule
