#pragma once
// What a scan or clean worker says to the progress sheet, and how it ends: the messages every
// category sends, sent on the main thread and waited for, and the normal and aborted endings of
// the task framework. A category's selection count and clean (CategoryDispatch) report through
// the caller's WorkerProgress.

#include "core/Context.h"
#include "core/ProgressMessage.h"
#include "core/TaskRunner.h"

#include <cstdint>
#include <functional>
#include <string>

namespace tpc::core {

ProgressMessage statusMessage(const std::string& status);
ProgressMessage incrementMessage();
// Shows the bar and the text, indeterminate and animated, with "Preparing...".
ProgressMessage preparingMessage();
// Determinate from 0 to `maximum` at 0; `startAnimation` also starts the animation.
ProgressMessage determinateMessage(std::uint64_t maximum, bool startAnimation);

class WorkerProgress {
public:
    // `task` must outlive this object (the categories keep theirs as members).
    WorkerProgress(Context& ctx, TaskRunner& runner, const TaskSpec& task);

    // Sends one message on the main thread and waits for it.
    void send(const ProgressMessage& message);
    void status(const std::string& text) { send(statusMessage(text)); }
    void increment() { send(incrementMessage()); }
    // "Preparing..." on a shown, indeterminate bar, then waits until no other task runs.
    void prepare();
    // An abort check point (preProcessAbort): true when the task was aborted and has been
    // wound down; the worker then returns at once. A task whose abort handling does not test
    // its flag (the preset clean) is wound down only once its abort flag is set.
    bool aborted();
    // Whether the task has been asked to abort, without winding it down (for the stop test of a
    // long walk, which the next aborted() then ends).
    bool abortRequested() const;
    // "Done..." at `maximum`, then " " at 0, then the bar hidden.
    void closeBar(std::uint64_t maximum);
    // The normal end, on the main thread and waited for: the sheet ends, the busy animation
    // stops, the page is re-enabled and its lists reloaded, the abort flag and then the running
    // flag are cleared, and `last` runs (the result text, the subtitle).
    void finish(const std::function<void()>& last = {});

    const TaskSpec& task() const { return task_; }

private:
    Context& ctx_;
    TaskRunner& runner_;
    const TaskSpec& task_;
};

} // namespace tpc::core
