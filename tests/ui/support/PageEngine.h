#pragma once
// The engine as the page tests run it: a fake home and root, a recording front end, the Qt event
// loop as the main thread (workers reach the page through it), a fake clock, fake scripting,
// login items and running applications, and the application delegate started headless.

#include "apps/AppsModule.h"
#include "browsers/BrowsersModule.h"
#include "controller/AppDelegate.h"
#include "core/Clock.h"
#include "core/SystemLog.h"
#include "core/TaskFlags.h"
#include "core/app/AppFixture.h"
#include "eraser/EraserModule.h"
#include "platform/Platform.h"
#include "support/FakeClock.h"
#include "support/RecordingFrontend.h"
#include "support/RecordingRunningApps.h"
#include "support/TempDir.h"
#include "system/SystemModule.h"
#include "ui/QtMainThread.h"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>

namespace tpc::test {

struct PageEngine {
    TempDir dir;
    tpc::test::RecordingFrontend frontend;
    ui::QtMainThread mainThread;
    tpc::test::FakeClock clock{tpc::test::FakeClock::Mode::Auto};
    core::SystemLog log{false};
    std::shared_ptr<FakeScriptRunner> scripts = std::make_shared<FakeScriptRunner>();
    std::shared_ptr<RecordingRunningApps> running = std::make_shared<RecordingRunningApps>();
    std::unique_ptr<platform::Platform> platform;
    std::unique_ptr<controller::AppDelegate> app;

    std::filesystem::path home() const { return dir.path() / "home"; }
    std::filesystem::path root() const { return dir.path() / "root"; }

    // Builds the platform, lets `prepare` lay out what must exist before start-up, and starts.
    void start(platform::Layout layout = platform::Layout::MacOS,
               const std::function<void(platform::Platform&)>& prepare = {}) {
        std::filesystem::create_directories(home());
        std::filesystem::create_directories(root());
        platform::PlatformOptions o;
        o.layout = layout;
        o.home = home();
        o.root = root();
        o.environment = std::map<std::string, std::string>{};
        o.scriptRunner = scripts;
        o.loginItems = std::make_shared<FakeLoginItems>();
        o.runningApps = running;
        platform = std::make_unique<platform::Platform>(o);
        if (prepare)
            prepare(*platform);
        app = std::make_unique<controller::AppDelegate>(
            controller::AppServices{frontend, mainThread, *platform, clock, log});
        app->startUp(core::StartupOptions{.headless = true});
    }

    // Every task of the category, and every thread the engine started, has ended.
    bool idle(core::Category category) {
        return app->tasks().idle() && !app->flags().running(category, core::TaskKind::Scan) &&
               !app->flags().running(category, core::TaskKind::Clean);
    }
};

} // namespace tpc::test
