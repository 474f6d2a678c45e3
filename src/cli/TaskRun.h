#pragma once
// Running a page's scan or clean from the command line until it and every thread it started have
// ended, and printing the outcome in the scan/clean shape: {"category", "list", "result",
// "subtitle"}.

#include "cli/Session.h"
#include "core/CategoryEngine.h"

#include <functional>

namespace tpc::cli {

// Calls `start` (a button press) on the main thread, which is this thread, then serves the
// workers' main-thread requests until `ended` answers true and every thread the task runner
// started has finished; the notices those threads queued last (a task's end) are served too.
// Ctrl-C meanwhile presses the progress sheet's abort button, once a sheet is up.
void runTaskToEnd(Session& session, const std::function<void()>& start,
                  const std::function<bool()>& ended);

// The page's Scan or Clean button of `engine`, run to its end.
void runCategoryTask(Session& session, core::CategoryEngine& engine, core::TaskKind kind);

// Prints the engine's list, the last result line and the engine's main button subtitle.
int printTaskResult(Session& session, const core::CategoryEngine& engine);

} // namespace tpc::cli
