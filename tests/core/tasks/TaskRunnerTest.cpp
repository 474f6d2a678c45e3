#include "core/TaskRunner.h"
#include "support/FakeClock.h"
#include "support/ImmediateMainThread.h"
#include "support/RecordingFrontend.h"

#include "TaskHarness.h"

#include <gtest/gtest.h>

#include <atomic>
#include <utility>
#include <vector>

namespace tpc::core {
namespace {

using test::FakeClock;
using test::FrontendEvent;
using test::ImmediateMainThread;
using test::RecordingFrontend;

using test::SteppedClock;
using test::TaskHarness;
using Type = FrontendEvent::Type;

// Runs every main-thread task through an inner main thread and, right after each, notes the
// watched task's abort and running flags (on the main thread, so without races).
class WatchingMainThread final : public MainThread {
public:
    explicit WatchingMainThread(MainThread& inner) : inner_(inner) {}
    void watch(TaskFlags& flags, Category c, TaskKind k) {
        after_ = [&flags, c, k, this] {
            states.emplace_back(flags.aborting(c, k), flags.running(c, k));
        };
    }
    void invoke(Task task) override { inner_.invoke(wrap(std::move(task))); }
    void post(Task task) override { inner_.post(wrap(std::move(task))); }
    bool isMainThread() const override { return inner_.isMainThread(); }

    std::vector<std::pair<bool, bool>> states; // (abort, running)

private:
    Task wrap(Task task) {
        return [this, task = std::move(task)] {
            task();
            if (after_)
                after_();
        };
    }
    MainThread& inner_;
    std::function<void()> after_;
};

TaskSpec specFor(RecordingFrontend& ui, Category c, TaskKind k, MainButton button) {
    auto note = [&ui](const char* what) {
        return [&ui, what] {
            ui.ui(what);
        };
    };
    return TaskSpec{c, k, button, note("disable"), note("reenable"), note("reload")};
}

// One line per event, so a whole run compares as a list.
std::vector<std::string> describe(const std::vector<FrontendEvent>& events) {
    std::vector<std::string> out;
    for (const auto& e : events) {
        const ProgressMessage& p = e.progress;
        std::string line = e.type == Type::Window      ? "window " + e.action
                           : e.type == Type::Animation ? "animation " + e.action
                           : e.type == Type::Front     ? "front"
                           : e.type == Type::Progress  ? "progress"
                                                       : e.action;
        if (e.type == Type::AbortButton)
            line = "abort button " + e.text.value_or("");
        if (e.type == Type::Subtitle)
            line = std::string("subtitle ") + mainButtonName(e.button) + " " +
                   e.text.value_or("cleared");
        if (p.hideUnhide)
            line += " hide=" + std::to_string(*p.hideUnhide);
        if (p.status)
            line += " status=" + *p.status;
        if (p.maxValue)
            line += " max=" + std::to_string(*p.maxValue);
        if (p.doubleValue)
            line += " value=" + std::to_string(*p.doubleValue);
        out.push_back(line);
    }
    return out;
}

const std::vector<std::string> kAbortSequence = {"progress hide=0 status=Aborted...",
                                                 "progress max=100 value=0",
                                                 "progress status= ",
                                                 "window end",
                                                 "animation stop",
                                                 "reenable",
                                                 "reload"};

TEST(TaskRun, UserAbortOfAScanWindsDownInOrderAndClearsAbortBeforeRunning) {
    QueueMainThread queue;
    WatchingMainThread main(queue);
    FakeClock clock(FakeClock::Mode::Manual);
    TaskHarness h(main, clock);
    const auto task = specFor(h.frontend, Category::Browsers, TaskKind::Scan, MainButton::Browsers);
    main.watch(h.flags, task.category, task.kind);
    TaskRunner runner(h.ctx);
    std::atomic<bool> workerEnded{false};

    runner.buttonClicked(task, Sender::Button, [&] {
        runner.waitForOtherTasks(task);
        if (!runner.preProcessAbort(task)) {
            clock.sleepFor(Clock::seconds(1)); // one item's work
            EXPECT_TRUE(runner.preProcessAbort(task));
        }
        workerEnded = true;
    });
    EXPECT_EQ(h.frontend.abortButtonTitle(), "Abort Scan");
    EXPECT_TRUE(h.flags.running(task.category, task.kind));
    EXPECT_TRUE(h.flags.scanOrCleanRunning());

    clock.waitForSleepers(1);
    h.frontend.pressAbortButton();
    EXPECT_TRUE(h.flags.aborting(task.category, task.kind));
    EXPECT_TRUE(h.flags.abortCleaning());
    EXPECT_FALSE(h.flags.scanOrCleanRunning());

    clock.advance(Clock::seconds(1));
    queue.runUntil([&] { return workerEnded && !h.flags.running(task.category, task.kind); });
    runner.joinAll();

    EXPECT_EQ(describe(h.frontend.events()),
              (std::vector<std::string>{
                  "disable", "window begin", "front", "abort button Abort Scan", "animation start",
                  "subtitle Browsers cleared", "subtitle Browsers cleared", kAbortSequence[0],
                  kAbortSequence[1], kAbortSequence[2], kAbortSequence[3], kAbortSequence[4],
                  kAbortSequence[5], kAbortSequence[6]}));
    EXPECT_TRUE(h.flags.allScansAndCleansAborted());
    EXPECT_FALSE(h.frontend.progressWindowShown());

    // The last main-thread steps leave the abort flag clear while the task still runs, and only
    // then clear the running flag.
    ASSERT_GE(main.states.size(), 2u);
    auto last = main.states.size() - 1;
    EXPECT_EQ(main.states[last - 1], std::make_pair(false, true));
    EXPECT_EQ(main.states[last], std::make_pair(false, false));
}

TEST(TaskRun, AbortedCleanAlsoClearsAbortCleaning) {
    ImmediateMainThread main;
    FakeClock clock(FakeClock::Mode::Manual);
    TaskHarness h(main, clock);
    const auto task = specFor(h.frontend, Category::System, TaskKind::Clean, MainButton::System);
    TaskRunner runner(h.ctx);
    std::atomic<bool> aborted{false};

    runner.buttonClicked(task, Sender::Button, [&] {
        while (!runner.preProcessAbort(task))
            clock.sleepFor(Clock::seconds(0.5));
        aborted = true;
    });
    EXPECT_EQ(h.frontend.abortButtonTitle(), "Abort Clean");
    clock.waitForSleepers(1);
    runner.buttonClicked(task, Sender::AbortButton, {});
    EXPECT_TRUE(h.flags.abortCleaning());
    clock.advance(Clock::seconds(0.5));
    runner.joinAll();

    EXPECT_TRUE(aborted);
    EXPECT_FALSE(h.flags.running(task.category, task.kind));
    EXPECT_FALSE(h.flags.aborting(task.category, task.kind));
    EXPECT_FALSE(h.flags.abortCleaning());
}

TEST(TaskRun, StartingATaskAbortsTheRunningOneAndResetsItsOwnFlags) {
    ImmediateMainThread main;
    FakeClock clock;
    TaskHarness h(main, clock);
    h.flags.setRunning(Category::Recents, TaskKind::Scan, true);
    h.flags.setAbort(Category::Presets, TaskKind::Clean, true); // left over
    const auto task =
        specFor(h.frontend, Category::Presets, TaskKind::Clean, MainButton::AutoClean);
    TaskRunner runner(h.ctx);

    runner.buttonClicked(task, Sender::Button, [] {});
    runner.joinAll();
    EXPECT_TRUE(h.flags.aborting(Category::Recents, TaskKind::Scan));
    EXPECT_TRUE(h.flags.running(task.category, task.kind));
    EXPECT_FALSE(h.flags.aborting(task.category, task.kind));
    EXPECT_FALSE(h.flags.abortCleaning());
}

TEST(PreProcessAbort, WithoutAbortOnlyClearsTheSubtitleUnlessItIsThePresetClean) {
    ImmediateMainThread main;
    FakeClock clock;
    TaskHarness h(main, clock);
    TaskRunner runner(h.ctx);
    auto task = specFor(h.frontend, Category::Presets, TaskKind::Clean, MainButton::AutoClean);
    h.flags.setRunning(task.category, task.kind, true);

    EXPECT_FALSE(runner.preProcessAbort(task));
    EXPECT_EQ(describe(h.frontend.events()),
              (std::vector<std::string>{"subtitle Auto clean cleared"}));
    EXPECT_TRUE(h.flags.running(task.category, task.kind));

    h.frontend.clear();
    task.abortHandlingTestsFlag = false;
    task.reloadLists = nullptr;
    EXPECT_TRUE(runner.preProcessAbort(task));
    auto expected = std::vector<std::string>{"subtitle Auto clean cleared"};
    expected.insert(expected.end(), kAbortSequence.begin(), kAbortSequence.end() - 1);
    EXPECT_EQ(describe(h.frontend.events()), expected);
    EXPECT_FALSE(h.flags.running(task.category, task.kind));
}

TEST(ChangesMade, PromptDecidesBetweenCleanScanAndNothing) {
    ImmediateMainThread main;
    FakeClock clock;
    TaskHarness h(main, clock);
    TaskRunner runner(h.ctx);
    const auto task =
        specFor(h.frontend, Category::Shredder, TaskKind::Clean, MainButton::FileEraser);
    int scans = 0;
    std::atomic<int> cleans{0};
    auto clean = [&] {
        ++cleans;
    };
    auto scan = [&] {
        ++scans;
    };
    h.flags.setChangesMade(true);

    h.frontend.scriptAlertAnswers({AlertOther, AlertAlternate, AlertDefault});
    runner.cleanButtonClicked(task, Sender::Button, clean, scan);
    EXPECT_FALSE(h.flags.running(task.category, task.kind));
    EXPECT_EQ(scans, 0);
    runner.cleanButtonClicked(task, Sender::Button, clean, scan);
    EXPECT_EQ(scans, 1);
    EXPECT_TRUE(h.flags.changesMade());
    EXPECT_FALSE(h.frontend.progressWindowShown());
    runner.cleanButtonClicked(task, Sender::Button, clean, scan);
    runner.joinAll();
    EXPECT_EQ(cleans, 1);
    EXPECT_FALSE(h.flags.changesMade());
    EXPECT_TRUE(h.flags.running(task.category, task.kind));

    auto alerts = h.frontend.eventsOf(Type::Alert);
    ASSERT_EQ(alerts.size(), 3u);
    EXPECT_EQ(alerts[0].alert.title, "Changes Made");
    EXPECT_EQ(alerts[0].alert.message,
              "Changes have been made which were not scanned. Click \"Scan\" to reflect those "
              "changes, or click \"Clean\" to clean directly");
    EXPECT_EQ(alerts[0].alert.buttons(), (std::vector<std::string>{"Clean", "Scan"}));

    // The abort button never prompts.
    h.flags.setChangesMade(true);
    runner.cleanButtonClicked(task, Sender::AbortButton, clean, scan);
    EXPECT_EQ(h.frontend.eventsOf(Type::Alert).size(), 3u);
    EXPECT_TRUE(h.flags.aborting(task.category, task.kind));
}

TEST(WaitForOtherTasks, PollsEveryHalfSecondUntilTheOtherTaskStops) {
    ImmediateMainThread main;
    SteppedClock clock;
    TaskHarness h(main, clock);
    TaskRunner runner(h.ctx);
    const auto task = specFor(h.frontend, Category::Ext, TaskKind::Scan, MainButton::Extensions);
    h.flags.setRunning(task.category, task.kind, true);

    runner.waitForOtherTasks(task);
    EXPECT_EQ(clock.sleepCalls(), 0u) << "its own running flag does not hold it up";

    h.flags.setRunning(Category::Browsers, TaskKind::Clean, true);
    h.flags.setAbort(Category::Browsers, TaskKind::Clean, true);
    std::vector<Clock::Duration> wakes;
    clock.afterSleep = [&](Clock::Duration t) {
        wakes.push_back(t);
        if (t >= Clock::seconds(2))
            h.flags.setRunning(Category::Browsers, TaskKind::Clean, false);
    };
    runner.waitForOtherTasks(task);
    EXPECT_EQ(wakes, (std::vector<Clock::Duration>{Clock::seconds(0.5), Clock::seconds(1),
                                                   Clock::seconds(1.5), Clock::seconds(2)}));
}

TEST(Alerts, WorkerWaitsForTheAnswerButAlertThreadPostsAfterOneAndAHalfSeconds) {
    QueueMainThread main;
    FakeClock clock(FakeClock::Mode::Manual);
    TaskHarness h(main, clock);
    TaskRunner runner(h.ctx);
    AlertRequest request;
    request.title = "Done";
    request.defaultButton = "OK";
    request.alternateButton = "Show";

    h.frontend.scriptAlertAnswers({AlertAlternate});
    std::atomic<int> answer{99};
    runner.startThread([&] { answer = runner.showAlertFromWorker(request); });
    main.runUntil([&] { return answer != 99; });
    EXPECT_EQ(answer, AlertAlternate);

    runner.alertThread(request);
    clock.waitForSleepers(1);
    clock.advance(Clock::seconds(1));
    main.drain();
    EXPECT_EQ(h.frontend.eventsOf(Type::Alert).size(), 1u);
    clock.advance(Clock::seconds(0.5));
    // The alert thread ends without waiting for the main thread to show the alert.
    runner.joinAll();
    EXPECT_EQ(h.frontend.eventsOf(Type::Alert).size(), 1u);
    main.drain();
    auto alerts = h.frontend.eventsOf(Type::Alert);
    ASSERT_EQ(alerts.size(), 2u);
    EXPECT_EQ(alerts[1].alert.title, "Done");
}

} // namespace
} // namespace tpc::core
