#include "ui/support/HoverHarness.h"

#include <QCoreApplication>

#include <chrono>
#include <thread>

namespace tpc::ui::test {

namespace {

// A bound on how long a step may take on a slow (sanitised) machine; only a failing test waits
// that long.
constexpr auto kPatience = std::chrono::seconds(5);

} // namespace

template <typename Done> bool HoverHarness::spinUntil(Done done) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        mainThread_.drain();
        std::this_thread::yield();
    }
    return true;
}

void CountingMainThread::post(Task task) {
    inner_.post([this, task = std::move(task)] {
        task();
        ran_.fetch_add(1);
    });
}

HoverHarness::~HoverHarness() {
    releaseAll();
}

bool HoverHarness::waitAsleep(int n) {
    return spinUntil([&] { return clock_.sleepers() == n; });
}

bool HoverHarness::waitRan(int before, int n) {
    return spinUntil([&] { return mainThread_.ran() >= before + n; });
}

void HoverHarness::advance(double seconds) {
    clock_.advance(core::Clock::seconds(seconds));
}

void HoverHarness::releaseAll() {
    while (!threads_.idle()) {
        clock_.advance(core::Clock::seconds(1));
        std::this_thread::yield();
    }
}

void HoverHarness::drain() {
    do {
        releaseAll();
        mainThread_.drain();
        QCoreApplication::processEvents();
    } while (!threads_.idle());
}

} // namespace tpc::ui::test
