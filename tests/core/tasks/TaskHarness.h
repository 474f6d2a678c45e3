#pragma once
// The shared context of the task tests: a recording front end, fake clock and flags, with the
// settings and platform pointed into a temporary folder.

#include "core/Clock.h"
#include "core/Context.h"
#include "core/MainThread.h"
#include "core/Settings.h"
#include "core/SystemLog.h"
#include "core/TaskFlags.h"
#include "platform/Platform.h"
#include "support/FakeClock.h"
#include "support/RecordingFrontend.h"
#include "support/TempDir.h"

#include <functional>
#include <map>
#include <string>

namespace tpc::test {

inline platform::PlatformOptions fakeHome(const TempDir& dir) {
    platform::PlatformOptions options;
    options.layout = platform::Layout::Linux;
    options.home = dir / "home";
    options.root = dir / "root";
    options.environment = std::map<std::string, std::string>{};
    return options;
}

struct TaskHarness {
    TaskHarness(core::MainThread& main, core::Clock& clock)
        : main(main), clock(clock), platform(fakeHome(dir)),
          settings(dir / "settings", log, clock), ctx{settings, flags, frontend, main,
                                                      platform, clock, log} {}

    TempDir dir;
    core::SystemLog log{false};
    core::MainThread& main;
    core::Clock& clock;
    platform::Platform platform;
    core::Settings settings;
    core::TaskFlags flags;
    test::RecordingFrontend frontend;
    core::Context ctx;
};

// A fake clock that, after every sleep, tells the test how far it has got (on the sleeping
// thread), so a test can change the world at a chosen moment of virtual time.
class SteppedClock final : public core::Clock {
public:
    std::function<void(Duration sinceStart)> afterSleep;

    TimePoint now() const override { return fake_.now(); }
    WallTime wallNow() const override { return fake_.wallNow(); }
    void sleepFor(Duration d) override {
        fake_.sleepFor(d);
        if (afterSleep)
            afterSleep(fake_.now().time_since_epoch());
    }
    std::uint64_t sleepCalls() const { return fake_.sleepCalls(); }

private:
    test::FakeClock fake_{test::FakeClock::Mode::Auto};
};

} // namespace tpc::test
