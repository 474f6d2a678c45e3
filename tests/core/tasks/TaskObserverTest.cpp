// What the runner tells observers about its tasks' starts and ends, and how it ends a task whose
// worker throws.

#include "core/TaskRunner.h"
#include "core/WorkerProgress.h"
#include "support/FakeClock.h"
#include "support/ImmediateMainThread.h"

#include "TaskHarness.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace tpc::test {
namespace {

using core::Category;
using core::MainButton;
using core::Sender;
using core::TaskEvent;
using core::TaskKind;
using core::TaskRunner;
using core::TaskSpec;
using Type = FrontendEvent::Type;

// Notes every start and end with the state of the world at that moment.
class Recorder final : public core::TaskObserver {
public:
    Recorder(core::TaskFlags& flags, std::thread::id mainId) : flags_(flags), mainId_(mainId) {}

    struct Heard {
        bool started;
        TaskEvent task;
        bool onMainThread;
        bool running; // the task's running flag when heard
    };
    void taskStarted(const TaskEvent& task) override { note(true, task); }
    void taskEnded(const TaskEvent& task) override { note(false, task); }

    std::vector<Heard> heard;
    // Tasks started and not yet ended: what a sleep inhibitor holds on to.
    int active() const {
        int n = 0;
        for (const auto& h : heard)
            n += h.started ? 1 : -1;
        return n;
    }
    std::vector<std::string> summary() const {
        std::vector<std::string> out;
        for (const auto& h : heard)
            out.push_back((h.started ? "start " : "end ") + std::to_string(h.task.id) + " " +
                          core::categoryName(h.task.category) +
                          (h.task.kind == TaskKind::Scan ? " scan" : " clean"));
        return out;
    }

private:
    void note(bool started, const TaskEvent& task) {
        heard.push_back({started, task, std::this_thread::get_id() == mainId_,
                         flags_.running(task.category, task.kind)});
    }
    core::TaskFlags& flags_;
    std::thread::id mainId_;
};

TaskSpec specFor(RecordingFrontend& ui, Category c, TaskKind k, MainButton button) {
    TaskSpec task{c,
                  k,
                  button,
                  [&ui] { ui.ui("disable"); },
                  [&ui] { ui.ui("reenable"); },
                  [&ui] {
                      ui.ui("reload");
                  }};
    return task;
}

// A worker that ends its task the normal way.
std::function<void()> normalWorker(core::Context& ctx, TaskRunner& runner, const TaskSpec& task) {
    return [&ctx, &runner, &task] {
        core::WorkerProgress progress(ctx, runner, task);
        progress.prepare();
        if (!progress.aborted())
            progress.finish();
    };
}

class Observers : public ::testing::Test {
protected:
    core::QueueMainThread main;
    FakeClock clock;
    TaskHarness h{main, clock};
    std::unique_ptr<TaskRunner> runner = std::make_unique<TaskRunner>(h.ctx);
    Recorder recorder{h.flags, std::this_thread::get_id()};

    void SetUp() override { runner->addObserver(recorder); }
    void TearDown() override {
        if (runner)
            runner->removeObserver(recorder);
    }
    // Serves the main thread until `n` events were heard and every worker has ended.
    void serveUntilHeard(std::size_t n) {
        main.runUntil([&] { return recorder.heard.size() >= n && runner->idle(); });
    }
};

TEST_F(Observers, TwoTasksBackToBackAreHeardStartingAndEndingOnTheMainThread) {
    const auto scan = specFor(h.frontend, Category::Browsers, TaskKind::Scan, MainButton::Browsers);
    const auto clean = specFor(h.frontend, Category::System, TaskKind::Clean, MainButton::System);

    runner->buttonClicked(scan, Sender::Button, normalWorker(h.ctx, *runner, scan));
    // Heard at once, while the task is marked running and before its worker did anything.
    ASSERT_EQ(recorder.heard.size(), 1u);
    EXPECT_TRUE(recorder.heard[0].running);
    EXPECT_EQ(recorder.active(), 1);
    serveUntilHeard(2);

    runner->buttonClicked(clean, Sender::Button, normalWorker(h.ctx, *runner, clean));
    serveUntilHeard(4);

    EXPECT_EQ(recorder.summary(),
              (std::vector<std::string>{"start 1 Browser scan", "end 1 Browser scan",
                                        "start 2 System clean", "end 2 System clean"}));
    for (const auto& heard : recorder.heard) {
        EXPECT_TRUE(heard.onMainThread);
        // Started: already running. Ended: its flags already cleared.
        EXPECT_EQ(heard.running, heard.started);
    }
    EXPECT_EQ(recorder.active(), 0);
}

TEST_F(Observers, AnAbortedTaskIsHeardEndingAfterItsAbortHandling) {
    const auto task = specFor(h.frontend, Category::Recents, TaskKind::Clean, MainButton::Recents);
    bool sheetShownAtEnd = true;
    struct SheetWatch final : core::TaskObserver {
        RecordingFrontend& ui;
        bool& shown;
        SheetWatch(RecordingFrontend& u, bool& s) : ui(u), shown(s) {}
        void taskStarted(const TaskEvent&) override {}
        void taskEnded(const TaskEvent&) override { shown = ui.progressWindowShown(); }
    } watch(h.frontend, sheetShownAtEnd);
    runner->addObserver(watch);

    runner->buttonClicked(task, Sender::Button, normalWorker(h.ctx, *runner, task));
    h.frontend.pressAbortButton();
    serveUntilHeard(2);
    runner->removeObserver(watch);

    EXPECT_EQ(recorder.summary(),
              (std::vector<std::string>{"start 1 Recents clean", "end 1 Recents clean"}));
    EXPECT_FALSE(sheetShownAtEnd);
    EXPECT_FALSE(h.flags.running(task.category, task.kind));
    EXPECT_FALSE(h.flags.aborting(task.category, task.kind));
}

TEST_F(Observers, ATaskStartedWhileAnotherWindsDownOverlapsIt) {
    const auto first =
        specFor(h.frontend, Category::Browsers, TaskKind::Scan, MainButton::Browsers);
    const auto second = specFor(h.frontend, Category::System, TaskKind::Scan, MainButton::System);
    // The first runs until asked to abort.
    runner->buttonClicked(first, Sender::Button, [this, &first] {
        core::WorkerProgress progress(h.ctx, *runner, first);
        while (!progress.aborted())
            clock.sleepFor(core::Clock::seconds(0.5));
    });
    runner->buttonClicked(second, Sender::Button, normalWorker(h.ctx, *runner, second));
    serveUntilHeard(4);

    const auto heard = recorder.summary();
    ASSERT_EQ(heard.size(), 4u);
    EXPECT_EQ(heard[0], "start 1 Browser scan");
    EXPECT_EQ(heard[1], "start 2 System scan");
    // Both ends come, in whichever order the two workers return.
    EXPECT_NE(std::find(heard.begin(), heard.end(), "end 1 Browser scan"), heard.end());
    EXPECT_NE(std::find(heard.begin(), heard.end(), "end 2 System scan"), heard.end());
    EXPECT_EQ(recorder.active(), 0);
}

TEST_F(Observers, AnObserverRemovedOrARunnerGoneHearsNothingMore) {
    const auto task = specFor(h.frontend, Category::Browsers, TaskKind::Scan, MainButton::Browsers);
    // A worker that needs nothing from the main thread: its end is still queued there when the
    // runner goes.
    runner->buttonClicked(task, Sender::Button, [] {});
    runner->joinAll();
    runner.reset();
    main.drain();
    EXPECT_EQ(recorder.summary(), std::vector<std::string>{"start 1 Browser scan"});

    runner = std::make_unique<TaskRunner>(h.ctx);
    runner->addObserver(recorder);
    runner->removeObserver(recorder);
    h.flags.setRunning(task.category, task.kind, false);
    runner->buttonClicked(task, Sender::Button, normalWorker(h.ctx, *runner, task));
    main.runUntil([&] { return !h.flags.running(task.category, task.kind) && runner->idle(); });
    main.drain();
    EXPECT_EQ(recorder.heard.size(), 1u);
}

// ---- Abort check points ----

TEST(CheckPoints, APresetCleanIsWoundDownOnlyOnceAskedToAbort) {
    ImmediateMainThread main;
    FakeClock clock;
    TaskHarness h(main, clock);
    TaskRunner runner(h.ctx);
    auto task = specFor(h.frontend, Category::Presets, TaskKind::Clean, MainButton::AutoClean);
    task.abortHandlingTestsFlag = false;
    h.flags.setRunning(task.category, task.kind, true);
    core::WorkerProgress progress(h.ctx, runner, task);

    // Its abort handling would run whatever the flag says; the check point tests it first.
    EXPECT_FALSE(progress.aborted());
    EXPECT_TRUE(h.frontend.events().empty());
    EXPECT_TRUE(h.flags.running(task.category, task.kind));

    h.flags.setAbort(task.category, task.kind, true);
    EXPECT_TRUE(progress.abortRequested());
    EXPECT_TRUE(progress.aborted());
    EXPECT_FALSE(h.flags.running(task.category, task.kind));
    EXPECT_FALSE(h.frontend.progressWindowShown());
}

// ---- A worker that throws ----

class Failures : public ::testing::Test {
protected:
    ImmediateMainThread main;
    FakeClock clock;
    TaskHarness h{main, clock};
    TaskRunner runner{h.ctx};

    std::vector<std::string> uiActions() const {
        std::vector<std::string> out;
        for (const auto& e : h.frontend.events())
            if (e.type == Type::Ui || e.type == Type::Window)
                out.push_back(e.type == Type::Window ? "window " + e.action : e.action);
        return out;
    }
    bool logged(const std::string& line) const {
        const auto lines = h.log.lines();
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }
};

TEST_F(Failures, AThrowingWorkerIsLoggedAndItsTaskEndsAsAborted) {
    const auto task = specFor(h.frontend, Category::System, TaskKind::Clean, MainButton::System);
    Recorder recorder(h.flags, std::this_thread::get_id());
    runner.addObserver(recorder);
    runner.buttonClicked(task, Sender::Button, [&] {
        core::WorkerProgress progress(h.ctx, runner, task);
        progress.prepare();
        progress.status("Cleaning...");
        throw std::runtime_error("disk on fire");
    });
    runner.joinAll();
    runner.removeObserver(recorder);

    EXPECT_TRUE(logged("Task System clean failed: disk on fire"));
    EXPECT_EQ(uiActions(), (std::vector<std::string>{"disable", "window begin", "window end",
                                                     "reenable", "reload"}));
    EXPECT_EQ(h.frontend.eventsOf(Type::Progress).back().progress.status, " ");
    EXPECT_FALSE(h.frontend.progressWindowShown());
    EXPECT_FALSE(h.flags.running(task.category, task.kind));
    EXPECT_FALSE(h.flags.aborting(task.category, task.kind));
    EXPECT_FALSE(h.flags.abortCleaning());
    EXPECT_TRUE(h.flags.allScansAndCleansAborted());
    EXPECT_EQ(recorder.summary(),
              (std::vector<std::string>{"start 1 System clean", "end 1 System clean"}));
}

TEST_F(Failures, AnythingThrownIsCaughtAndTheAbortHookRuns) {
    auto task = specFor(h.frontend, Category::Browsers, TaskKind::Scan, MainButton::Browsers);
    int hooked = 0;
    task.afterAbort = [&] {
        ++hooked;
    };
    runner.buttonClicked(task, Sender::Button, [] { throw 42; });
    runner.joinAll();
    EXPECT_TRUE(logged("Task Browser scan failed: unknown exception"));
    EXPECT_EQ(hooked, 1);
    EXPECT_FALSE(h.flags.running(task.category, task.kind));
}

TEST_F(Failures, AWorkerThatThrowsAfterItsEndIsNotEndedTwice) {
    const auto task = specFor(h.frontend, Category::Recents, TaskKind::Scan, MainButton::Recents);
    runner.buttonClicked(task, Sender::Button, [&] {
        core::WorkerProgress progress(h.ctx, runner, task);
        progress.prepare();
        progress.finish();
        throw std::logic_error("late");
    });
    runner.joinAll();
    EXPECT_TRUE(logged("Task Recents scan failed: late"));
    EXPECT_EQ(uiActions(), (std::vector<std::string>{"disable", "window begin", "window end",
                                                     "reenable", "reload"}));
    for (const auto& e : h.frontend.eventsOf(Type::Progress))
        EXPECT_NE(e.progress.status, std::optional<std::string>("Aborted..."));
}

TEST_F(Failures, AHelperThreadThatThrowsIsLoggedAndTheProgramGoesOn) {
    runner.startThread([] { throw std::runtime_error("helper \xff broke"); });
    runner.joinAll();
    // The text is shown with its invalid byte escaped.
    EXPECT_TRUE(logged("Worker thread failed: helper \\xFF broke"));
    EXPECT_TRUE(runner.idle());
}

} // namespace
} // namespace tpc::test
