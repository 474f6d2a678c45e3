#pragma once
// The File Eraser page's engine: the scan that measures every listed path, the clean that passes
// the marked ones to the deletion engine, and the silent sizes update after paths are added; and
// the count and clean of a preset's "File Eraser" record, whose children are copies of the
// list's rows.

#include "core/CategoryEngine.h"
#include "core/Context.h"
#include "core/TaskRunner.h"
#include "eraser/EraserList.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tpc::erase {
class Deleter;
}

namespace tpc::eraser {

class EraserDriver final : public core::CategoryEngine {
public:
    EraserDriver(core::Context& ctx, core::TaskRunner& runner, EraserList& list,
                 erase::Deleter& deleter);

    std::string name() const override { return "eraser"; }
    core::Category category() const override { return core::Category::Shredder; }
    core::MainButton button() const override { return core::MainButton::FileEraser; }
    core::ArrayRef list() const override;

    void buttonScanClicked(core::Sender sender) override;
    // Asks "Changes Made" first when the list changed since the last scan.
    void buttonCleanClicked(core::Sender sender) override;
    // Rows are named by "Path" (or "Description"). The marks are changed for this run only and
    // are not saved.
    std::vector<std::string> markOnly(const std::vector<std::string>& items) override;

    // The list operations are the eraser list's own (markAllFolders, setRowMark,
    // reflectMarkStatusInFolders, foldersPopUpButtonClicked, reflectPopUpButtonTitleInFolders,
    // enableOrDisableFoldersCleanButton); each change is saved.
    void markAllRows(bool on) override { list_.markAllFolders(on); }
    void setRowMark(int row, bool on) override { list_.setRowMark(row, on); }
    core::CheckState masterCheckState() const override {
        return list_.reflectMarkStatusInFolders();
    }
    void sortRowsBy(core::SortChoice choice) override { list_.foldersPopUpButtonClicked(choice); }
    core::SortChoice currentSortChoice() const override {
        return list_.reflectPopUpButtonTitleInFolders();
    }
    bool canClean() const override { return list_.enableOrDisableFoldersCleanButton(); }

    // "File Eraser": each child's "Path" is measured as the scan measures a row and, when marked,
    // shredded as the clean shreds a row (its "Delete Option" keeping a folder). Only absolute
    // paths are looked at.
    bool drives(const std::string& description) const override;
    std::optional<core::SelectionTotals> countSelection(const core::DictRef& record,
                                                        core::WorkerProgress& progress) override;
    bool cleanSelection(const core::DictRef& record, core::WorkerProgress& progress) override;

    // The open panel's confirmation: the add rule, the "Path(s) inconsistencies !" alert when a
    // flag was set, then the sizes update when a row was added. Main thread.
    EraserList::AddOutcome addPaths(const std::vector<std::string>& paths);

    // The worker bodies.
    void scanShredder();
    void cleanShredder();
    // The scan without the progress sheet, result line or subtitle: sizes the rows and saves.
    // Runs under the shredder scan's flags, which its starter sets on the main thread; gives up
    // (clearing them) when asked to abort, and quietly when a scan of the page takes over.
    void shredderSizesUpdateThread();

    const core::TaskSpec& scanTask() const { return scanTask_; }
    const core::TaskSpec& cleanTask() const { return cleanTask_; }

private:
    struct Row {
        core::DictRef record;
        std::string path;
    };
    struct Shred {
        std::string path;
        bool contentsOnly = false;
    };

    // Every row with its path, read on the main thread.
    std::vector<Row> readRows();
    static std::vector<Row> rowsOf(const std::vector<core::RowSnapshot>& rows);
    // What the clean does for the marked rows.
    static std::vector<Shred> shredsOf(const std::vector<core::RowSnapshot>& rows);
    // Measures the rows under `progress`'s task and stores their sizes; nullopt when the task
    // was aborted.
    std::optional<core::SelectionTotals> measureRows(const std::vector<Row>& rows,
                                                     core::WorkerProgress& progress);
    // Shreds the items; false when the task was aborted.
    bool shredAll(const std::vector<Shred>& items, core::WorkerProgress& progress);
    // Sets the scan's flags and starts the sizes update (main thread).
    void startSizesUpdate();
    void sizesUpdate(std::uint64_t epoch);
    // Hands one marked row to the deletion engine.
    void shred(const Shred& item);

    core::Context& ctx_;
    core::TaskRunner& runner_;
    EraserList& list_;
    erase::Deleter& deleter_;
    core::TaskSpec scanTask_;
    core::TaskSpec cleanTask_;
    // Who holds the shredder scan's flags: bumped by every page scan and sizes update start, so a
    // sizes update that was overtaken leaves the flags to their new owner.
    std::atomic<std::uint64_t> scanEpoch_{0};
    // Main thread only: the scan's flags are held by a sizes update, not by a page scan.
    bool sizesUpdateHoldsFlags_ = false;
};

} // namespace tpc::eraser
