#pragma once
// An engine on a fake home: recording front end, immediate main thread, fake clock and fake
// scripting and login items.

#include "apps/AppsModule.h"
#include "browsers/BrowsersModule.h"
#include "controller/AppDelegate.h"
#include "core/Clock.h"
#include "core/MainThread.h"
#include "core/SystemLog.h"
#include "eraser/EraserModule.h"
#include "platform/Platform.h"
#include "support/FakeClock.h"
#include "support/ImmediateMainThread.h"
#include "support/RecordingFrontend.h"
#include "support/TempDir.h"
#include "system/SystemModule.h"

#include <memory>
#include <vector>

namespace tpc::test {

class FakeScriptRunner : public platform::ScriptRunner {
public:
    bool compiles = true;
    std::string answer = "false";
    std::vector<std::string> ran;
    Result run(const std::string& source) override {
        ran.push_back(source);
        Result r;
        r.compiled = compiles;
        r.succeeded = compiles;
        r.output = answer;
        return r;
    }
};

class FakeLoginItems : public platform::LoginItems {
public:
    std::vector<std::string> items;
    bool available() const override { return true; }
    bool exists(const std::string& appPath) override {
        for (const auto& i : items)
            if (i.rfind(appPath, 0) == 0)
                return true;
        return false;
    }
    bool enable(const std::string& appPath) override {
        items.push_back(appPath);
        return true;
    }
    bool disable(const std::string& appPath) override {
        std::erase_if(items, [&](const std::string& i) { return i.rfind(appPath, 0) == 0; });
        return true;
    }
};

struct AppFixture {
    TempDir dir;
    std::shared_ptr<FakeScriptRunner> scripts = std::make_shared<FakeScriptRunner>();
    std::shared_ptr<FakeLoginItems> loginItems = std::make_shared<FakeLoginItems>();
    std::optional<platform::SystemVersion> version;
    platform::Layout layout = platform::Layout::MacOS;
    test::RecordingFrontend frontend;
    test::ImmediateMainThread mainThread;
    test::FakeClock clock{test::FakeClock::Mode::Auto};
    core::SystemLog log{false};
    std::unique_ptr<platform::Platform> platform;
    std::unique_ptr<controller::AppDelegate> app;

    std::filesystem::path home() const { return dir.path() / "home"; }

    platform::Platform& makePlatform() {
        std::filesystem::create_directories(home());
        platform::PlatformOptions o;
        o.layout = layout;
        o.home = home();
        o.root = dir.path() / "root";
        o.environment = std::map<std::string, std::string>{};
        o.scriptRunner = scripts;
        o.loginItems = loginItems;
        o.systemVersion = version;
        platform = std::make_unique<platform::Platform>(o);
        return *platform;
    }

    controller::AppDelegate& start(bool headless = true) {
        app.reset();
        makePlatform();
        app = std::make_unique<controller::AppDelegate>(
            controller::AppServices{frontend, mainThread, *platform, clock, log});
        app->startUp(core::StartupOptions{.headless = headless});
        return *app;
    }
};

} // namespace tpc::test
