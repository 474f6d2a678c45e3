#include "core/TaskRunner.h"

#include "core/Clock.h"
#include "core/MainThread.h"
#include "core/ProgressMessage.h"
#include "core/SystemLog.h"
#include "core/Utf8.h"

#include <algorithm>
#include <exception>
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

std::string taskName(Category category, TaskKind kind) {
    return std::string(categoryName(category)) + (kind == TaskKind::Scan ? " scan" : " clean");
}

} // namespace

// The observers, kept apart from the runner so that an end notice still queued for the main
// thread when the runner goes finds them closed instead of a dead runner.
struct TaskRunner::Observers {
    std::mutex mutex;
    std::vector<TaskObserver*> list;
    bool closed = false;

    void add(TaskObserver& o) {
        std::lock_guard lock(mutex);
        if (std::find(list.begin(), list.end(), &o) == list.end())
            list.push_back(&o);
    }
    void remove(TaskObserver& o) {
        std::lock_guard lock(mutex);
        list.erase(std::remove(list.begin(), list.end(), &o), list.end());
    }
    bool any() {
        std::lock_guard lock(mutex);
        return !list.empty();
    }
    void close() {
        std::lock_guard lock(mutex);
        closed = true;
        list.clear();
    }
    // Calls outside the lock, on a copy, so an observer may remove itself meanwhile.
    void notify(const TaskEvent& event, bool started) {
        std::vector<TaskObserver*> now;
        {
            std::lock_guard lock(mutex);
            if (closed)
                return;
            now = list;
        }
        for (auto* o : now) {
            if (started)
                o->taskStarted(event);
            else
                o->taskEnded(event);
        }
    }
};

TaskRunner::TaskRunner(Context& ctx) : ctx_(ctx), observers_(std::make_shared<Observers>()) {}

TaskRunner::~TaskRunner() {
    joinAll();
    observers_->close();
}

void TaskRunner::addObserver(TaskObserver& observer) {
    observers_->add(observer);
}

void TaskRunner::removeObserver(TaskObserver& observer) {
    observers_->remove(observer);
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

    const TaskEvent event{++lastTaskId_, task.category, task.kind};
    observers_->notify(event, true);
    threads_.start([this, task, event, worker = std::move(worker)] {
        runWorker(task, worker);
        // Queued behind every request the worker made, so the end is heard after them; nothing
        // is queued while nobody listens.
        if (observers_->any())
            ctx_.mainThread.post(
                [observers = observers_, event] { observers->notify(event, false); });
    });
}

void TaskRunner::runWorker(const TaskSpec& task, const std::function<void()>& worker) {
    std::string failure;
    try {
        if (worker)
            worker();
        return;
    } catch (const std::exception& e) {
        failure = e.what();
    } catch (...) {
        failure = "unknown exception";
    }
    ctx_.log.log("Task " + taskName(task.category, task.kind) + " failed: " + displayText(failure));
    endFailedTask(task);
}

void TaskRunner::endFailedTask(const TaskSpec& task) {
    TaskFlags& flags = ctx_.flags;
    // Read on the main thread, behind what the worker posted: a task that already ended (or
    // wound itself down) before it threw is not ended twice.
    bool running = false;
    ctx_.mainThread.invoke(
        [&flags, &task, &running] { running = flags.running(task.category, task.kind); });
    if (!running)
        return;
    flags.setAbort(task.category, task.kind, true);
    if (task.kind == TaskKind::Clean)
        flags.setAbortCleaning(true);
    preProcessAbort(task);
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
    if (task.afterAbort)
        main.invoke([&task] { task.afterAbort(); });
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
    threads_.start([&log = ctx_.log, body = std::move(body)] {
        try {
            if (body)
                body();
        } catch (const std::exception& e) {
            log.log("Worker thread failed: " + displayText(e.what()));
        } catch (...) {
            log.log("Worker thread failed: unknown exception");
        }
    });
}

void TaskRunner::joinAll() {
    threads_.joinAll();
}

bool TaskRunner::idle() {
    return threads_.idle();
}

} // namespace tpc::core
