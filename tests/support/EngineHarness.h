#pragma once
// The whole engine on a fake home and root, as each category's driver tests run it: a recording
// front end, a fake clock, the command line's queue main thread or the immediate one, and the
// application delegate started headless. Harnesses of a category derive from it, add their own
// helpers and hand the platform further services (running applications, a script runner)
// through `configure`.

#include "apps/AppsModule.h"
#include "browsers/BrowsersModule.h"
#include "controller/AppDelegate.h"
#include "core/CategoryEngine.h"
#include "core/Clock.h"
#include "core/MainThread.h"
#include "core/SystemLog.h"
#include "core/TaskFlags.h"
#include "eraser/EraserModule.h"
#include "platform/Platform.h"
#include "support/FakeClock.h"
#include "support/ImmediateMainThread.h"
#include "support/RecordingFrontend.h"
#include "support/TempDir.h"
#include "system/SystemModule.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace tpc::test {

enum class Main { Queue, Immediate };

inline std::string mainName(const ::testing::TestParamInfo<Main>& info) {
    return info.param == Main::Queue ? "QueueMainThread" : "ImmediateMainThread";
}

// A recording front end that can press the progress sheet's abort button the moment a chosen
// status is shown, as a user would.
class AbortingFrontend : public test::RecordingFrontend {
public:
    std::string abortOnStatus;
    void updateProgress(const core::ProgressMessage& message) override {
        RecordingFrontend::updateProgress(message);
        if (!abortOnStatus.empty() && message.status == abortOnStatus) {
            abortOnStatus.clear();
            pressAbortButton();
        }
    }
};

template <class Recorder = AbortingFrontend> class EngineHarness {
public:
    explicit EngineHarness(core::Category category, Main kind = Main::Queue)
        : category_(category), kind_(kind) {
        if (kind == Main::Queue)
            main_ = std::make_unique<core::QueueMainThread>();
        else
            main_ = std::make_unique<test::ImmediateMainThread>();
        std::filesystem::create_directories(home());
        std::filesystem::create_directories(root());
    }
    virtual ~EngineHarness() { stop(); }
    EngineHarness(const EngineHarness&) = delete;
    EngineHarness& operator=(const EngineHarness&) = delete;

    std::filesystem::path home() const { return dir.path() / "home"; }
    std::filesystem::path root() const { return dir.path() / "root"; }

    controller::AppDelegate& start(platform::Layout layout = platform::Layout::MacOS) {
        stop();
        layout_ = layout;
        platform::PlatformOptions o;
        o.layout = layout;
        o.home = home();
        o.root = root();
        o.environment = std::map<std::string, std::string>{};
        configure(o);
        platform = std::make_unique<platform::Platform>(o);
        app = std::make_unique<controller::AppDelegate>(
            controller::AppServices{frontend, *main_, *platform, clock, log});
        app->startUp(core::StartupOptions{.headless = true});
        return *app;
    }
    // Quits and starts again on the same home.
    controller::AppDelegate& restart() { return start(layout_); }

    core::TaskFlags& flags() { return app->flags(); }
    // The category's engine, as its page drives it.
    core::CategoryEngine& engine() {
        for (auto* e : app->categories())
            if (e->category() == category_)
                return *e;
        throw std::logic_error("no engine for the harness's category");
    }

    // Serves the main thread (or, on the immediate one, joins every worker) until `done`.
    void serveUntil(const std::function<bool()>& done) {
        if (kind_ == Main::Queue)
            static_cast<core::QueueMainThread&>(*main_).runUntil(done);
        else
            app->tasks().joinAll();
        ASSERT_TRUE(done());
    }
    void waitForTask(core::TaskKind kind) {
        serveUntil(
            [this, kind] { return !flags().running(category_, kind) && app->tasks().idle(); });
    }
    // Until no scan or clean of the category runs and every worker has ended.
    void settle() {
        serveUntil([this] {
            return !flags().running(category_, Scan) && !flags().running(category_, Clean) &&
                   app->tasks().idle();
        });
    }

    // Presses a page button on the main thread and lets the task run to its end.
    void press(const std::function<void()>& button, core::TaskKind kind) {
        button();
        waitForTask(kind);
    }
    void scan() {
        press([this] { engine().buttonScanClicked(core::Sender::Button); }, Scan);
    }
    void clean() {
        press([this] { engine().buttonCleanClicked(core::Sender::Button); }, Clean);
    }

    // Winds the engine down (the workers' last main-thread requests still served).
    void stop() {
        if (!app)
            return;
        app->flags().abortAllOtherScansAndCleans();
        if (kind_ == Main::Queue)
            static_cast<core::QueueMainThread&>(*main_).runUntil(
                [this] { return app->flags().allScansAndCleansAborted() && app->tasks().idle(); });
        app->tasks().joinAll();
        app.reset();
    }

    // The progress statuses shown, in order.
    std::vector<std::string> statuses() const {
        std::vector<std::string> out;
        for (const auto& e : frontend.eventsOf(test::FrontendEvent::Type::Progress))
            if (e.progress.status)
                out.push_back(*e.progress.status);
        return out;
    }
    std::uint64_t increments() const {
        std::uint64_t n = 0;
        for (const auto& e : frontend.eventsOf(test::FrontendEvent::Type::Progress))
            n += e.progress.increment.value_or(0);
        return n;
    }
    // The maxima the bar was given, in order.
    std::vector<std::uint64_t> maxima() const {
        std::vector<std::uint64_t> out;
        for (const auto& e : frontend.eventsOf(test::FrontendEvent::Type::Progress))
            if (e.progress.maxValue)
                out.push_back(*e.progress.maxValue);
        return out;
    }
    // Subtitles of the category's button, in order ("" for a cleared one).
    std::vector<std::string> subtitles() {
        std::vector<std::string> out;
        for (const auto& e : frontend.eventsOf(test::FrontendEvent::Type::Subtitle))
            if (e.button == engine().button())
                out.push_back(e.text.value_or(""));
        return out;
    }
    std::vector<core::AlertRequest> alerts() const {
        std::vector<core::AlertRequest> out;
        for (const auto& e : frontend.eventsOf(test::FrontendEvent::Type::Alert))
            out.push_back(e.alert);
        return out;
    }
    bool logged(const std::string& line) const {
        const auto lines = log.lines();
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }

    static constexpr core::TaskKind Scan = core::TaskKind::Scan;
    static constexpr core::TaskKind Clean = core::TaskKind::Clean;

    TempDir dir;
    Recorder frontend;
    test::FakeClock clock{test::FakeClock::Mode::Auto};
    core::SystemLog log{false};

protected:
    // Further platform services of the category, set before the platform is made.
    virtual void configure(platform::PlatformOptions&) {}

private:
    core::Category category_;
    Main kind_;
    platform::Layout layout_ = platform::Layout::MacOS;
    std::unique_ptr<core::MainThread> main_;

public:
    std::unique_ptr<platform::Platform> platform;
    std::unique_ptr<controller::AppDelegate> app;
};

} // namespace tpc::test
