#pragma once
// The engine on a fake home (linux layout), driven through the File Eraser page's engine with a
// recording front end, a fake clock and the command line's queue as the main thread (or the
// immediate one).

#include "core/AppDelegate.h"
#include "core/Clock.h"
#include "core/Keys.h"
#include "core/MainThread.h"
#include "core/Record.h"
#include "core/RecordingFrontend.h"
#include "core/SystemLog.h"
#include "eraser/EraserDriver.h"
#include "eraser/EraserList.h"
#include "platform/Platform.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tpc::test::eraser {

namespace fs = std::filesystem;
using Type = core::FrontendEvent::Type;

enum class Main { Queue, Immediate };

inline std::string mainName(const ::testing::TestParamInfo<Main>& info) {
    return info.param == Main::Queue ? "QueueMainThread" : "ImmediateMainThread";
}

// Presses the progress sheet's abort button the moment a chosen status is shown.
class AbortingFrontend final : public core::RecordingFrontend {
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

class EraserHarness {
public:
    explicit EraserHarness(Main kind = Main::Queue) : kind_(kind) {
        if (kind == Main::Queue)
            main_ = std::make_unique<core::QueueMainThread>();
        else
            main_ = std::make_unique<core::ImmediateMainThread>();
        fs::create_directories(home());
        fs::create_directories(files());
    }
    ~EraserHarness() { stop(); }

    fs::path home() const { return dir.path() / "home"; }
    // Where the tests make the files they list.
    fs::path files() const { return dir.path() / "files"; }
    std::string at(const std::string& rel) const { return (files() / rel).string(); }

    core::AppDelegate& start() {
        platform::PlatformOptions o;
        o.layout = platform::Layout::Linux;
        o.home = home();
        o.root = dir.path();
        o.environment = std::map<std::string, std::string>{};
        platform = std::make_unique<platform::Platform>(o);
        app = std::make_unique<core::AppDelegate>(
            core::AppServices{frontend, *main_, *platform, clock, log});
        app->startUp(core::StartupOptions{.headless = true});
        return *app;
    }
    // Quits and starts again on the same home.
    core::AppDelegate& restart() {
        stop();
        return start();
    }

    tpc::eraser::EraserDriver& driver() { return app->eraserDriver(); }
    tpc::eraser::EraserList& list() { return app->eraserList(); }
    core::TaskFlags& flags() { return app->flags(); }
    core::ArrayRef rows() { return list().arrayFolders(); }

    // The open panel's confirmation, then every thread it started run to its end.
    tpc::eraser::EraserList::AddOutcome add(const std::vector<std::string>& paths) {
        auto outcome = driver().addPaths(paths);
        settle();
        return outcome;
    }
    void scan() {
        driver().buttonScanClicked(core::Sender::Button);
        settle();
    }
    void clean() {
        driver().buttonCleanClicked(core::Sender::Button);
        settle();
    }

    // Serves the main thread until no shredder task runs and every worker has ended.
    void settle() {
        auto done = [this] {
            using core::Category;
            using core::TaskKind;
            return !flags().running(Category::Shredder, TaskKind::Scan) &&
                   !flags().running(Category::Shredder, TaskKind::Clean) && app->tasks().idle();
        };
        if (kind_ == Main::Queue)
            static_cast<core::QueueMainThread&>(*main_).runUntil(done);
        else
            app->tasks().joinAll();
        ASSERT_TRUE(done());
    }

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

    // The row listing `path`, or nullptr.
    core::DictRef row(const std::string& path) {
        const int at = list().findRow(path);
        return at < 0 ? nullptr : rows()->at(static_cast<std::size_t>(at)).dict();
    }
    std::vector<std::string> paths() {
        std::vector<std::string> out;
        for (const auto& r : rows()->dicts())
            out.push_back(core::path(r));
        return out;
    }
    std::vector<std::string> statuses() const {
        std::vector<std::string> out;
        for (const auto& e : frontend.eventsOf(Type::Progress))
            if (e.progress.status)
                out.push_back(*e.progress.status);
        return out;
    }
    std::vector<core::AlertRequest> alerts() const {
        std::vector<core::AlertRequest> out;
        for (const auto& e : frontend.eventsOf(Type::Alert))
            out.push_back(e.alert);
        return out;
    }

    TempDir dir;
    AbortingFrontend frontend;
    core::FakeClock clock{core::FakeClock::Mode::Auto};
    core::SystemLog log{false};
    std::unique_ptr<platform::Platform> platform;
    std::unique_ptr<core::AppDelegate> app;

private:
    Main kind_;
    std::unique_ptr<core::MainThread> main_;
};

} // namespace tpc::test::eraser
