#pragma once
// The Recents page's engine: the scan that counts every listed application's traces and the
// clean that removes the marked ones', as worker threads of the task framework.

#include "core/CategoryEngine.h"
#include "core/Context.h"
#include "core/TaskRunner.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tpc::core {
class WorkerProgress;
}

namespace tpc::apps {

class AppCatalogue;
class AppTraces;

class RecentsDriver final : public core::CategoryEngine {
public:
    RecentsDriver(core::Context& ctx, core::TaskRunner& runner, AppCatalogue& catalogue,
                  AppTraces& traces);

    std::string name() const override { return "recents"; }
    core::Category category() const override { return core::Category::Recents; }
    core::MainButton button() const override { return core::MainButton::Recents; }
    core::ArrayRef list() const override;

    void buttonScanClicked(core::Sender sender) override;
    // Asks "Changes Made" first when the list changed since the last scan.
    void buttonCleanClicked(core::Sender sender) override;
    // Rows are named by "Description" (or "Path"). The marks are changed for this run only and
    // are not saved.
    std::vector<std::string> markOnly(const std::vector<std::string>& items) override;

    // The worker bodies.
    void scanRecents();
    void cleanRecents();

    const core::TaskSpec& scanTask() const { return scanTask_; }
    const core::TaskSpec& cleanTask() const { return cleanTask_; }

private:
    // One row as a worker sees it: the record (changed on the main thread only), a copy of it
    // taken on the main thread (read by the worker), and whether it was marked then.
    struct Snapshot {
        core::DictRef record;
        core::DictRef copy;
        bool marked = false;
    };
    std::vector<Snapshot> snapshot();
    // Counts every row and stores the results in the records; false when the task was aborted
    // (and has been wound down). The clean's rescan runs it under the clean's task.
    bool scan(core::WorkerProgress& progress);
    // Main thread: result line, subtitle, and the list counts as scanned again.
    void showTotals();

    core::Context& ctx_;
    core::TaskRunner& runner_;
    AppCatalogue& catalogue_;
    AppTraces& traces_;
    core::TaskSpec scanTask_;
    core::TaskSpec cleanTask_;
    // The last scan's numbers; written by the worker, read on the main thread through invoke.
    std::uint64_t rowCount_ = 0;
    std::uint64_t totalCount_ = 0;
    std::uint64_t totalSize_ = 0;
};

} // namespace tpc::apps
