#include "core/Clock.h"

#include <thread>

namespace tpc::core {

Clock::TimePoint RealClock::now() const {
    return std::chrono::time_point_cast<Duration>(std::chrono::steady_clock::now());
}

Clock::WallTime RealClock::wallNow() const {
    return std::chrono::time_point_cast<Duration>(std::chrono::system_clock::now());
}

void RealClock::sleepFor(Duration d) {
    std::this_thread::sleep_for(d);
}

} // namespace tpc::core
