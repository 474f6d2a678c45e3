#pragma once
// The Recents page's engine: the scan that counts every listed application's traces and the
// clean that removes the marked ones', as worker threads of the task framework; and the count and
// clean of a preset's "Clean App Junk" record, whose children are application records.

#include "core/CategoryEngine.h"
#include "core/Context.h"
#include "core/TaskRunner.h"

#include <cstdint>
#include <functional>
#include <optional>
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

    // The list operations are the application list's own (markAllRecents, setRowMark,
    // reflectMarkStatusInRecents, recentsPopUpButtonClicked, reflectPopUpButtonTitleInRecents,
    // enableOrDisableRecentsScanAndCleanButton); each change is saved.
    void markAllRows(bool on) override;
    void setRowMark(int row, bool on) override;
    core::CheckState masterCheckState() const override;
    void sortRowsBy(core::SortChoice choice) override;
    core::SortChoice currentSortChoice() const override;
    bool canClean() const override;

    // "Clean App Junk": each child application is counted (countAppDetailsToClear, "Count",
    // "Size") and, when marked, cleaned (deleteAppData).
    bool drives(const std::string& description) const override;
    std::optional<core::SelectionTotals> countSelection(const core::DictRef& record,
                                                        core::WorkerProgress& progress) override;
    bool cleanSelection(const core::DictRef& record, core::WorkerProgress& progress) override;

    // The worker bodies.
    void scanRecents();
    void cleanRecents();

    const core::TaskSpec& scanTask() const { return scanTask_; }
    const core::TaskSpec& cleanTask() const { return cleanTask_; }

private:
    // The list's rows as the worker sees them (read on the main thread).
    std::vector<core::RowSnapshot> snapshot();
    // Counts every row and stores the results in the records; false when the task was aborted
    // (and has been wound down). The clean's rescan runs it under the clean's task.
    bool scan(core::WorkerProgress& progress);
    // The rows' counts under `progress`'s task, stored in the records ("Count", "Size");
    // `stepBar` moves the bar one step after each row. nullopt when the task was aborted.
    std::optional<core::SelectionTotals> countRows(const std::vector<core::RowSnapshot>& rows,
                                                   core::WorkerProgress& progress, bool stepBar);
    // Cleans the marked rows' applications; false when the task was aborted.
    bool cleanRows(const std::vector<core::RowSnapshot>& rows, core::WorkerProgress& progress,
                   bool stepBar);
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
