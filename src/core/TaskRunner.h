#pragma once
// Starting, ending and aborting scans and cleans: the pattern every category follows, written
// once. A category describes its task with a TaskSpec; the runner owns the worker threads, tells
// its observers when a task starts and ends, and ends a task whose worker throws as aborted.

#include "core/Alert.h"
#include "core/Context.h"
#include "core/Frontend.h"
#include "core/TaskFlags.h"
#include "core/ThreadGroup.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace tpc::core {

struct TaskSpec {
    Category category;
    TaskKind kind;
    // The main button whose subtitle the abort handling clears.
    MainButton button;
    // disableUIElementsFor<Category>Scan / prepareUIElementsForCleaning.
    std::function<void()> disableUI;
    // The re-enable step of the abort handling (enableUIElementsAfter<Category>Scan,
    // restoreUIElementsAfterCleaning, ...).
    std::function<void()> reenableUI;
    // Reloads the category's list views.
    std::function<void()> reloadLists;
    // The preset clean's abort handling runs whenever it is called, without testing its flag.
    bool abortHandlingTestsFlag = true;
    // The abort handling's last step, on the main thread (the browsers' "Aborted" subtitle).
    std::function<void()> afterAbort = {};
};

// One task started by the runner.
struct TaskEvent {
    // Counts the runner's tasks from 1, so an observer can pair a task's start and end.
    std::uint64_t id = 0;
    Category category = Category::Browsers;
    TaskKind kind = TaskKind::Scan;
};

// Hears every task the runner starts through buttonClicked begin and end (sleep prevention holds
// sleep off while a scan or clean runs). Both calls come on the main thread: taskStarted from
// buttonClicked itself, right before the worker starts; taskEnded once the worker has returned
// (at its normal end, after its abort handling, or after it threw), posted to the main thread
// after every main-thread request the worker made (nothing is posted when no observer is
// registered as the worker returns). Tasks may overlap: a task started while
// another still winds down is heard starting before the other is heard ending, so an observer
// holding something while tasks run counts the tasks started and not yet ended.
class TaskObserver {
public:
    virtual ~TaskObserver() = default;
    virtual void taskStarted(const TaskEvent& task) = 0;
    virtual void taskEnded(const TaskEvent& task) = 0;
};

// Who pressed the task's button: the page's own button, or the progress sheet's abort button
// (which has the same action while the task runs).
enum class Sender { Button, AbortButton };

enum class ChangesMadeAnswer { Clean, Scan, Nothing };

class TaskRunner {
public:
    explicit TaskRunner(Context& ctx);
    ~TaskRunner();
    TaskRunner(const TaskRunner&) = delete;
    TaskRunner& operator=(const TaskRunner&) = delete;

    // The button action, on the main thread. From the abort button: set the task's abort flag and
    // abortCleaning. Otherwise: disable the category's controls, ask every other task to abort,
    // show the progress sheet, point its button at this action, set the flags, tell the
    // observers and start `worker` on a new thread. A worker that throws is logged and its task
    // is ended as an abort ends it (see runWorker).
    void buttonClicked(const TaskSpec& task, Sender sender, std::function<void()> worker);

    // A clean's button action: while changes were made since the last scan it first asks
    // "Changes Made"; "Clean" clears the flag and starts the clean, "Scan" runs `startScan`.
    void cleanButtonClicked(const TaskSpec& task, Sender sender, std::function<void()> worker,
                            const std::function<void()>& startScan);
    // The "Changes Made" prompt alone, on the main thread, for callers that start their clean
    // themselves. The answer "Clean" also clears changesMade.
    ChangesMadeAnswer askChangesMade();

    // The worker's first step: polls every 0.5 s until no other task is running.
    void waitForOtherTasks(const TaskSpec& task);

    // preProcessAbort<Category>Scan / Clean: called at every abort check point; answers true
    // when the task was aborted and has been wound down (the worker returns at once).
    bool preProcessAbort(const TaskSpec& task);

    // Shows an alert from a worker and waits for the answer (showAlertPanelWithData).
    int showAlertFromWorker(const AlertRequest& request);
    // alertThread: 1.5 s later, on its own thread, shows the alert without blocking anyone.
    void alertThread(const AlertRequest& request);

    // Observers of the tasks' starts and ends; added and removed on the main thread. An observer
    // must be removed before it goes away; ends posted after the runner went are dropped.
    void addObserver(TaskObserver& observer);
    void removeObserver(TaskObserver& observer);

    // Starts a helper thread owned by the runner (joined by joinAll and the destructor). Threads
    // that have finished are joined here, so a long session does not pile them up. A body that
    // throws is logged and its thread ends; nothing else is undone for it.
    void startThread(std::function<void()> body);
    // Waits for every thread this runner started, including threads they start meanwhile. Never
    // call it from one of those threads, nor from the main thread while a worker may be waiting
    // for it in MainThread::invoke.
    void joinAll();
    // True when every thread this runner started has finished its work.
    bool idle();

    Context& context() { return ctx_; }

private:
    struct Observers;
    // The worker body of a task, on its thread: a body that throws is logged through the
    // system log, and its task, unless it already ended, is ended as an abort ends it (the
    // progress sheet closed, the page re-enabled and its lists reloaded, the flags cleared).
    void runWorker(const TaskSpec& task, const std::function<void()>& worker);
    void endFailedTask(const TaskSpec& task);

    Context& ctx_;
    // Shared with the end notices still queued for the main thread.
    std::shared_ptr<Observers> observers_;
    // Main thread only.
    std::uint64_t lastTaskId_ = 0;
    ThreadGroup threads_;
};

} // namespace tpc::core
