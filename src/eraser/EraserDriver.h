#pragma once
// The File Eraser page's engine: the scan that measures every listed path, the clean that passes
// the marked ones to the deletion engine, and the silent sizes update after paths are added.

#include "core/CategoryEngine.h"
#include "core/Context.h"
#include "core/TaskRunner.h"
#include "eraser/EraserList.h"

#include <atomic>
#include <cstdint>
#include <functional>
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
