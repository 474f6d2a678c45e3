#pragma once
// The System page on a fake home with a scripted GUI-scripting service: the deletion engine alone
// (for SystemJunk) or the whole engine (for the driver).

#include "core/Clock.h"
#include "core/Record.h"
#include "core/SystemLog.h"
#include "core/TaskFlags.h"
#include "erase/Deleter.h"
#include "platform/Platform.h"
#include "support/EngineHarness.h"
#include "support/FakeClock.h"
#include "support/RecordingFrontend.h"
#include "support/TempDir.h"
#include "system/SystemDriver.h"
#include "system/SystemJunk.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tpc::test::sys {

namespace fs = std::filesystem;
using Type = test::FrontendEvent::Type;

// Answers each script by its source; a script without an answer does not compile.
class FakeScriptRunner final : public platform::ScriptRunner {
public:
    void answer(const std::string& source, const std::string& output, bool succeeded = true) {
        std::lock_guard lock(mutex_);
        answers_[source] = {output, succeeded};
    }
    Result run(const std::string& source) override {
        std::lock_guard lock(mutex_);
        ran_.push_back(source);
        Result r;
        auto it = answers_.find(source);
        if (it == answers_.end())
            return r;
        r.compiled = true;
        r.succeeded = it->second.second;
        r.output = it->second.first;
        return r;
    }
    std::vector<std::string> ran() const {
        std::lock_guard lock(mutex_);
        return ran_;
    }

private:
    mutable std::mutex mutex_;
    std::map<std::string, std::pair<std::string, bool>> answers_;
    std::vector<std::string> ran_;
};

inline platform::PlatformOptions fakeHome(const fs::path& home, platform::Layout layout,
                                          std::shared_ptr<platform::ScriptRunner> scripts) {
    fs::create_directories(home);
    platform::PlatformOptions o;
    o.layout = layout;
    o.home = home;
    o.root = home.parent_path() / "root";
    o.environment = std::map<std::string, std::string>{};
    o.scriptRunner = std::move(scripts);
    return o;
}

inline core::DictRef recordNamed(const std::string& name) {
    auto rec = core::DictObj::make();
    auto display = core::DictObj::make();
    display->set(core::keys::Description, name);
    rec->set(core::keys::DescriptionDictionary, display);
    return rec;
}

// SystemJunk with a plain-deleting engine.
struct JunkFixture {
    explicit JunkFixture(platform::Layout layout = platform::Layout::MacOS)
        : platform(fakeHome(dir.path() / "home", layout, scripts)),
          deleter(erase::DeleterEnv{abortCleaning, [] { return std::int64_t{-1}; }, clock, log}),
          junk(platform, deleter, log, [this] { ++broughtToFront; }) {}

    fs::path home() const { return platform.home(); }
    system::SystemCount count(const std::string& name) {
        return junk.countSystemDetailsToClear(recordNamed(name));
    }
    void clear(const std::string& name) { junk.deleteSystemData(recordNamed(name)); }

    TempDir dir;
    std::shared_ptr<FakeScriptRunner> scripts = std::make_shared<FakeScriptRunner>();
    std::atomic<bool> abortCleaning{false};
    test::FakeClock clock{test::FakeClock::Mode::Auto};
    core::SystemLog log{false};
    platform::Platform platform;
    erase::Deleter deleter;
    std::atomic<int> broughtToFront{0};
    system::SystemJunk junk;
};

// A recording front end that notes, at every alert, whether "User Downloads" was marked then.
class NoticeFrontend final : public test::RecordingFrontend {
public:
    std::function<bool()> downloadsMarked;
    std::vector<bool> markedAtAlert;
    int showAlert(const core::AlertRequest& request) override {
        if (downloadsMarked)
            markedAtAlert.push_back(downloadsMarked());
        return RecordingFrontend::showAlert(request);
    }
};

// The whole engine, driven like the page's buttons.
class AppHarness : public EngineHarness<NoticeFrontend> {
public:
    explicit AppHarness(platform::Layout layout = platform::Layout::MacOS)
        : EngineHarness(core::Category::System) {
        start(layout);
        frontend.downloadsMarked = [this] {
            return core::isMarked(row(system::kUserDownloads));
        };
    }
    // Before the front end's hook into this harness goes.
    ~AppHarness() override { stop(); }

    system::SystemDriver& driver() { return app->module<tpc::system::SystemModule>()->driver(); }
    core::DictRef row(const std::string& name) {
        for (const auto& rec : driver().list()->dicts())
            if (core::description(rec) == name)
                return rec;
        return nullptr;
    }
    std::string count(const std::string& name) { return row(name)->getString(core::keys::Count); }

    // A clean ends with the scan it starts.
    void clean() {
        EngineHarness::clean();
        waitForTask(Scan);
    }

    std::shared_ptr<FakeScriptRunner> scripts = std::make_shared<FakeScriptRunner>();

protected:
    void configure(platform::PlatformOptions& o) override { o.scriptRunner = scripts; }
};

} // namespace tpc::test::sys
