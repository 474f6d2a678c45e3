#include "core/WorkerProgress.h"

#include "core/Frontend.h"
#include "core/MainThread.h"
#include "core/TaskFlags.h"

namespace tpc::core {

ProgressMessage statusMessage(const std::string& status) {
    ProgressMessage m;
    m.status = status;
    return m;
}

ProgressMessage incrementMessage() {
    ProgressMessage m;
    m.increment = 1;
    return m;
}

ProgressMessage preparingMessage() {
    ProgressMessage m;
    m.hideUnhide = 1;
    m.indicatorType = 0;
    m.startStopAnimation = 0;
    m.status = "Preparing...";
    return m;
}

ProgressMessage determinateMessage(std::uint64_t maximum, bool startAnimation) {
    ProgressMessage m;
    m.indicatorType = 1;
    if (startAnimation)
        m.startStopAnimation = 0;
    m.minValue = 0;
    m.maxValue = maximum;
    m.doubleValue = 0;
    return m;
}

WorkerProgress::WorkerProgress(Context& ctx, TaskRunner& runner, const TaskSpec& task)
    : ctx_(ctx), runner_(runner), task_(task) {}

void WorkerProgress::send(const ProgressMessage& message) {
    ctx_.mainThread.invoke([this, &message] { ctx_.frontend.updateProgress(message); });
}

void WorkerProgress::prepare() {
    send(preparingMessage());
    runner_.waitForOtherTasks(task_);
}

bool WorkerProgress::aborted() {
    // The preset clean's abort handling runs its steps whenever called: it is called only once
    // the task was asked to abort.
    if (!task_.abortHandlingTestsFlag && !abortRequested())
        return false;
    return runner_.preProcessAbort(task_);
}

bool WorkerProgress::abortRequested() const {
    return ctx_.flags.aborting(task_.category, task_.kind);
}

void WorkerProgress::closeBar(std::uint64_t maximum) {
    ProgressMessage done;
    done.doubleValue = maximum;
    done.status = "Done...";
    send(done);
    ProgressMessage blank;
    blank.doubleValue = 0;
    blank.status = " ";
    send(blank);
    ProgressMessage hide;
    hide.hideUnhide = 0;
    send(hide);
}

void WorkerProgress::finish(const std::function<void()>& last) {
    ctx_.mainThread.invoke([this, &last] {
        Frontend& ui = ctx_.frontend;
        ui.endProgressWindow();
        ui.stopAnimating();
        if (task_.reenableUI)
            task_.reenableUI();
        if (task_.reloadLists)
            task_.reloadLists();
        // The abort flag first (a clean's also clears abortCleaning), the running flag last.
        ctx_.flags.setAbort(task_.category, task_.kind, false);
        ctx_.flags.setRunning(task_.category, task_.kind, false);
        if (last)
            last();
    });
}

} // namespace tpc::core
