#pragma once
// The System page's engine: the list of the five categories, the scan that counts each and the
// clean that empties the marked ones, with marking and sorting of the list; and the count and
// clean of a preset's "Clean System Junk" record, whose children are copies of the list's rows.
//
// Threads: everything but the worker bodies and the selection count and clean runs on the main
// thread; the workers count on their own thread and store results in the records through
// MainThread::invoke.

#include "core/CategoryEngine.h"
#include "core/CheckList.h"
#include "core/Context.h"
#include "core/TaskRunner.h"
#include "core/WorkerProgress.h"

#include <optional>
#include <string>
#include <vector>

namespace tpc::system {

class SystemJunk;

class SystemDriver final : public core::CategoryEngine {
public:
    SystemDriver(core::Context& ctx, core::TaskRunner& runner, SystemJunk& junk);

    std::string name() const override { return "system"; }
    core::Category category() const override { return core::Category::System; }
    core::MainButton button() const override { return core::MainButton::System; }
    core::ArrayRef list() const override { return arraySystem_; }

    // Builds the five records (start-up).
    void populateSystemData();

    void buttonScanClicked(core::Sender sender) override;
    // Asks "Changes Made" first when the list changed since the last scan.
    void buttonCleanClicked(core::Sender sender) override;
    // Marks exactly the named rows for this run (shows the Downloads notice when "User
    // Downloads" is among them).
    std::vector<std::string> markOnly(const std::vector<std::string>& items) override;

    // The list operations: markAllSystem, setRowMark, reflectMarkStatusInSystem,
    // systemPopUpButtonClicked, reflectPopUpButtonTitleInSystem,
    // enableOrDisableSystemScanAndCleanButton.
    void markAllRows(bool on) override { markAllSystem(on); }
    core::CheckState masterCheckState() const override { return reflectMarkStatusInSystem(); }
    void sortRowsBy(core::SortChoice choice) override { systemPopUpButtonClicked(choice); }
    core::SortChoice currentSortChoice() const override {
        return reflectPopUpButtonTitleInSystem();
    }
    bool canClean() const override { return enableOrDisableSystemScanAndCleanButton(); }

    // "Clean System Junk": each child is counted (countSystemDetailsToClear, "Count", "Size")
    // and, when marked, emptied (deleteSystemData).
    bool drives(const std::string& description) const override;
    std::optional<core::SelectionTotals> countSelection(const core::DictRef& record,
                                                        core::WorkerProgress& progress) override;
    bool cleanSelection(const core::DictRef& record, core::WorkerProgress& progress) override;

    // The worker bodies.
    void scanSystem();
    void cleanSystem();

    // Marking. `shown` is the state the select-all box shows after the click (a mixed state is
    // advanced to on). Turning it on first shows the Downloads notice.
    void systemCheckBoxButtonClicked(core::CheckState shown);
    void markAllSystem(bool on);
    // A row's own check box; marking "User Downloads" shows the Downloads notice first.
    void setRowMark(int row, bool on) override;
    core::CheckState reflectMarkStatusInSystem() const;
    bool enableOrDisableSystemScanAndCleanButton() const;

    // Sorting: "Sort by Name" first sorts ascending, "Sort by Size" descending.
    void systemPopUpButtonClicked(core::SortChoice choice);
    core::SortChoice reflectPopUpButtonTitleInSystem() const;

    const core::TaskSpec& scanTask() const { return scanTask_; }
    const core::TaskSpec& cleanTask() const { return cleanTask_; }

    // The notice shown before the Downloads folder is marked for cleaning.
    core::AlertRequest downloadsNotice() const;

private:
    // The scan's body under `progress`'s task (its own, or the clean's for the clean's rescan);
    // `ownsBar` whether it sets up the bar and ends the task. False when the task was aborted
    // (and has been wound down).
    bool scan(core::WorkerProgress& progress, bool ownsBar);
    // The rows' counts under `progress`'s task, stored in the records; `stepBar` moves the bar
    // one step before each row (the page's scan). nullopt when the task was aborted.
    std::optional<core::SelectionTotals> countRows(const std::vector<core::RowSnapshot>& rows,
                                                   core::WorkerProgress& progress, bool stepBar);
    // Empties the marked rows' categories; false when the task was aborted.
    bool cleanRows(const std::vector<core::RowSnapshot>& rows, core::WorkerProgress& progress,
                   bool stepBar);
    std::vector<core::RowSnapshot> snapshot();
    void reload();

    core::Context& ctx_;
    core::TaskRunner& runner_;
    SystemJunk& junk_;
    core::ArrayRef arraySystem_;
    core::TaskSpec scanTask_;
    core::TaskSpec cleanTask_;
};

} // namespace tpc::system
