#include "core/TaskRunner.h"

#include "core/Clock.h"
#include "core/MainThread.h"
#include "core/ProgressMessage.h"

#include <utility>

namespace tpc::core {

namespace {

constexpr Clock::Duration kPollInterval = Clock::seconds(0.5);
constexpr Clock::Duration kAlertDelay = Clock::seconds(1.5);

// The user's abort: the task's own flag, and the request that stops an erase between passes.
void userAbort(TaskFlags& flags, Category category, TaskKind kind) {
    flags.setAbort(category, kind, true);
    flags.setAbortCleaning(true);
}

AlertRequest changesMadeAlert() {
    AlertRequest r;
    r.title = "Changes Made";
    r.message = "Changes have been made which were not scanned. Click \"Scan\" to reflect those "
                "changes, or click \"Clean\" to clean directly";
    r.defaultButton = "Clean";
    r.alternateButton = "Scan";
    return r;
}

} // namespace

TaskRunner::TaskRunner(Context& ctx) : ctx_(ctx) {}

TaskRunner::~TaskRunner() {
    joinAll();
}

void TaskRunner::buttonClicked(const TaskSpec& task, Sender sender, std::function<void()> worker) {
    TaskFlags& flags = ctx_.flags;
    if (sender == Sender::AbortButton) {
        userAbort(flags, task.category, task.kind);
        return;
    }

    Frontend& ui = ctx_.frontend;
    if (task.disableUI)
        task.disableUI();
    flags.abortAllOtherScansAndCleans();
    ui.beginProgressWindow();
    ui.bringMainWindowToFront();
    // While the task runs the sheet's button is this same action sent by the abort button,
    // which only ever sets flags; it holds the flags, not the runner, so it stays harmless if
    // the front end keeps it longer than the runner lives.
    ui.setAbortButton(
        task.kind == TaskKind::Scan ? "Abort Scan" : "Abort Clean",
        [&flags, category = task.category, kind = task.kind] { userAbort(flags, category, kind); });

    flags.setAbort(task.category, task.kind, false);
    flags.setRunning(task.category, task.kind, true);
    flags.setAbortCleaning(false);
    ui.startAnimating();
    startThread(std::move(worker));
}

void TaskRunner::cleanButtonClicked(const TaskSpec& task, Sender sender,
                                    std::function<void()> worker,
                                    const std::function<void()>& startScan) {
    if (sender == Sender::Button && ctx_.flags.changesMade()) {
        switch (askChangesMade()) {
        case ChangesMadeAnswer::Clean:
            break;
        case ChangesMadeAnswer::Scan:
            if (startScan)
                startScan();
            return;
        case ChangesMadeAnswer::Nothing:
            return;
        }
    }
    buttonClicked(task, sender, std::move(worker));
}

ChangesMadeAnswer TaskRunner::askChangesMade() {
    switch (ctx_.frontend.showAlert(changesMadeAlert())) {
    case AlertDefault:
        ctx_.flags.setChangesMade(false);
        return ChangesMadeAnswer::Clean;
    case AlertAlternate:
        return ChangesMadeAnswer::Scan;
    default:
        return ChangesMadeAnswer::Nothing;
    }
}

void TaskRunner::waitForOtherTasks(const TaskSpec& task) {
    while (ctx_.flags.otherTaskRunning(task.category, task.kind))
        ctx_.clock.sleepFor(kPollInterval);
}

bool TaskRunner::preProcessAbort(const TaskSpec& task) {
    Frontend& ui = ctx_.frontend;
    TaskFlags& flags = ctx_.flags;
    MainThread& main = ctx_.mainThread;
    const Category category = task.category;
    const TaskKind kind = task.kind;

    main.post([&ui, button = task.button] { ui.setSubtitle(button, std::nullopt); });
    if (task.abortHandlingTestsFlag && !flags.aborting(category, kind))
        return false;

    main.invoke([&ui] {
        ProgressMessage m;
        m.hideUnhide = 0;
        m.status = "Aborted...";
        ui.updateProgress(m);
    });
    main.invoke([&ui] {
        ProgressMessage m;
        m.maxValue = 100;
        m.doubleValue = 0;
        ui.updateProgress(m);
    });
    main.invoke([&ui] {
        ProgressMessage m;
        m.status = " ";
        ui.updateProgress(m);
    });
    main.invoke([&ui, &task] {
        ui.endProgressWindow();
        ui.stopAnimating();
        if (task.reenableUI)
            task.reenableUI();
        if (task.reloadLists)
            task.reloadLists();
    });
    // Cleared last, so allScansAndCleansAborted turns true only once the sheet has closed and
    // the controls are back; the abort flag goes before the running flag.
    main.post([&flags, category, kind] { flags.setAbort(category, kind, false); });
    main.post([&flags, category, kind] { flags.setRunning(category, kind, false); });
    if (kind == TaskKind::Clean)
        main.invoke([&flags] { flags.setAbortCleaning(false); });
    return true;
}

int TaskRunner::showAlertFromWorker(const AlertRequest& request) {
    int answer = AlertOther;
    ctx_.mainThread.invoke([&] { answer = ctx_.frontend.showAlert(request); });
    return answer;
}

void TaskRunner::alertThread(const AlertRequest& request) {
    startThread([&ctx = ctx_, request] {
        ctx.clock.sleepFor(kAlertDelay);
        ctx.mainThread.post([&ui = ctx.frontend, request] { ui.showAlert(request); });
    });
}

void TaskRunner::startThread(std::function<void()> body) {
    threads_.start(std::move(body));
}

void TaskRunner::joinAll() {
    threads_.joinAll();
}

bool TaskRunner::idle() {
    return threads_.idle();
}

} // namespace tpc::core
