#include "support/FakeClock.h"

#include <thread>

namespace tpc::test {

using core::Clock;

FakeClock::FakeClock(Mode mode, WallTime startWall) : mode_(mode), startWall_(startWall) {}

Clock::TimePoint FakeClock::now() const {
    std::lock_guard lock(mutex_);
    return TimePoint(elapsed_);
}

Clock::WallTime FakeClock::wallNow() const {
    std::lock_guard lock(mutex_);
    return startWall_ + elapsed_;
}

void FakeClock::sleepFor(Duration d) {
    std::unique_lock lock(mutex_);
    ++sleepCalls_;
    if (mode_ == Mode::Auto) {
        elapsed_ += d;
        cv_.notify_all();
        lock.unlock();
        std::this_thread::yield();
        return;
    }
    auto wake = elapsed_ + d;
    ++sleepers_;
    const auto waiting = wakes_.insert(wake);
    cv_.notify_all();
    cv_.wait(lock, [&] { return elapsed_ >= wake; });
    wakes_.erase(waiting);
    --sleepers_;
    cv_.notify_all();
}

void FakeClock::advance(Duration d) {
    std::lock_guard lock(mutex_);
    elapsed_ += d;
    cv_.notify_all();
}

void FakeClock::waitForSleepers(int n) {
    std::unique_lock lock(mutex_);
    cv_.wait(lock, [&] { return sleepers_ >= n; });
}

void FakeClock::waitForWokenSleepers() {
    std::unique_lock lock(mutex_);
    cv_.wait(lock, [&] { return wakes_.empty() || *wakes_.begin() > elapsed_; });
}

int FakeClock::sleepers() const {
    std::lock_guard lock(mutex_);
    return sleepers_;
}

std::uint64_t FakeClock::sleepCalls() const {
    std::lock_guard lock(mutex_);
    return sleepCalls_;
}

} // namespace tpc::test
