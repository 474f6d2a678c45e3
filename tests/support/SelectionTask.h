#pragma once
// A caller's own task around a category's selection count or clean, as a preset runs them: a
// presets task started like a page's button, its worker handing its progress to the category.
// The check-point front end presses the abort button at a chosen abort check point of the task,
// so an abort lands in the middle of a category's work.

#include "core/CategoryEngine.h"
#include "core/TaskFlags.h"
#include "core/TaskRunner.h"
#include "core/WorkerProgress.h"
#include "support/EngineHarness.h"

#include <functional>
#include <optional>
#include <string>

namespace tpc::test {

// Every abort check point (preProcessAbort) first clears the task's button subtitle; this front
// end counts those clears for the presets' button and presses the abort button at the chosen
// one. On the immediate main thread the press lands inside that very check point.
class CheckpointFrontend : public AbortingFrontend {
public:
    int abortAtCheckpoint = 0; // 0: never
    int checkpoints = 0;
    void setSubtitle(core::MainButton button, const std::optional<std::string>& text) override {
        AbortingFrontend::setSubtitle(button, text);
        if (button != core::MainButton::AutoClean || text)
            return;
        if (++checkpoints == abortAtCheckpoint)
            pressAbortButton();
    }
};

inline core::TaskSpec presetTask(core::TaskKind kind) {
    core::TaskSpec task{core::Category::Presets, kind, core::MainButton::AutoClean, {}, {}, {}};
    return task;
}

// Runs `body` inside a presets task of `kind` and serves the main thread until the task has
// ended. `body` answers false when the task was aborted (it has then been wound down); otherwise
// the task ends normally. The first abort check point is the task's own, right after it waited
// for other tasks.
template <class Harness>
void runInPresetTask(Harness& h, core::TaskKind kind,
                     const std::function<bool(core::WorkerProgress&)>& body) {
    auto& runner = h.app->tasks();
    const core::TaskSpec task = presetTask(kind);
    runner.buttonClicked(task, core::Sender::Button, [&runner, &task, &body] {
        core::WorkerProgress progress(runner.context(), runner, task);
        progress.prepare();
        if (progress.aborted())
            return;
        if (body(progress))
            progress.finish();
    });
    h.serveUntil([&h, kind] {
        return !h.flags().running(core::Category::Presets, kind) && h.app->tasks().idle();
    });
}

// The category's count of `record` inside a presets scan; nullopt when it was aborted.
template <class Harness>
std::optional<core::SelectionTotals> countInPresetTask(Harness& h, core::CategoryEngine& engine,
                                                       const core::DictRef& record) {
    std::optional<core::SelectionTotals> answer;
    runInPresetTask(h, core::TaskKind::Scan, [&](core::WorkerProgress& progress) {
        answer = engine.countSelection(record, progress);
        return answer.has_value();
    });
    return answer;
}

// The category's clean of `record` inside a presets clean; false when it was aborted.
template <class Harness>
bool cleanInPresetTask(Harness& h, core::CategoryEngine& engine, const core::DictRef& record) {
    bool finished = false;
    runInPresetTask(h, core::TaskKind::Clean, [&](core::WorkerProgress& progress) {
        finished = engine.cleanSelection(record, progress);
        return finished;
    });
    return finished;
}

} // namespace tpc::test
