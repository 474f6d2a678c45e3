#pragma once
// What a window's hover delays run on in a test: a manual fake clock, a main thread that the test
// drains on the GUI thread (with a count of the tasks it has run) and the thread group, plus the
// steps that move them on.
//
// The posted tasks travel through a queue under a std::mutex rather than Qt's event queue: Qt's
// own locks are invisible to ThreadSanitizer, which would report every hand-over as a race.

#include "core/Clock.h"
#include "core/MainThread.h"
#include "core/ThreadGroup.h"
#include "support/FakeClock.h"
#include "ui/HoverButton.h"

#include <atomic>

namespace tpc::ui::test {

// The thread that makes it is the main thread; drain runs what was posted. Counts the posted
// tasks that have run.
class CountingMainThread final : public core::MainThread {
public:
    void invoke(Task task) override { inner_.invoke(std::move(task)); }
    void post(Task task) override;
    bool isMainThread() const override { return inner_.isMainThread(); }
    void drain() { inner_.drain(); }
    int ran() const { return ran_.load(); }

private:
    core::QueueMainThread inner_;
    std::atomic<int> ran_{0};
};

class HoverHarness {
public:
    HoverHarness() = default;
    // Lets every thread still asleep finish.
    ~HoverHarness();
    HoverHarness(const HoverHarness&) = delete;
    HoverHarness& operator=(const HoverHarness&) = delete;

    HoverEnvironment env() { return HoverEnvironment{clock_, mainThread_, threads_}; }
    tpc::test::FakeClock& clock() { return clock_; }
    // Posted tasks run so far.
    int ran() const { return mainThread_.ran(); }

    // Waits until exactly `n` threads sleep on the clock: threads just started have gone to
    // sleep and threads just woken have left. False if that does not happen within 5 s.
    [[nodiscard]] bool waitAsleep(int n);
    // Waits until `n` more posted tasks than `before` have run, running queued tasks.
    [[nodiscard]] bool waitRan(int before, int n);
    void advance(double seconds);
    // Moves the clock on until every thread has finished and runs all they posted.
    void drain();

    // Runs what the threads have posted so far.
    void deliver() { mainThread_.drain(); }

private:
    void releaseAll();
    template <typename Done> bool spinUntil(Done done);

    tpc::test::FakeClock clock_{tpc::test::FakeClock::Mode::Manual};
    CountingMainThread mainThread_;
    // Declared last: joined before the clock and the main thread go.
    core::ThreadGroup threads_;
};

} // namespace tpc::ui::test
