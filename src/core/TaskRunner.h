#pragma once
// Starting, ending and aborting scans and cleans: the pattern every category follows, written
// once. A category describes its task with a TaskSpec; the runner owns the worker threads.

#include "core/Alert.h"
#include "core/Context.h"
#include "core/Frontend.h"
#include "core/TaskFlags.h"
#include "core/ThreadGroup.h"

#include <atomic>
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
    // show the progress sheet, point its button at this action, set the flags and start `worker`
    // on a new thread.
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

    // Starts a helper thread owned by the runner (joined by joinAll and the destructor). Threads
    // that have finished are joined here, so a long session does not pile them up.
    void startThread(std::function<void()> body);
    // Waits for every thread this runner started, including threads they start meanwhile. Never
    // call it from one of those threads, nor from the main thread while a worker may be waiting
    // for it in MainThread::invoke.
    void joinAll();
    // True when every thread this runner started has finished its work.
    bool idle();

    Context& context() { return ctx_; }

private:
    Context& ctx_;
    ThreadGroup threads_;
};

} // namespace tpc::core
