#pragma once
// The File Eraser page's engine: the scan that measures every listed path, the clean that passes
// the marked ones to the deletion engine, and the silent sizes update after paths are added.

#include "core/CategoryEngine.h"
#include "core/Context.h"
#include "core/TaskRunner.h"
#include "eraser/EraserList.h"

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
    // flag was set, then the sizes update. Main thread.
    EraserList::AddOutcome addPaths(const std::vector<std::string>& paths);

    // The worker bodies.
    void scanShredder();
    void cleanShredder();
    // The scan without the progress sheet, result line or subtitle: sizes the rows and saves.
    void shredderSizesUpdateThread();

    const core::TaskSpec& scanTask() const { return scanTask_; }
    const core::TaskSpec& cleanTask() const { return cleanTask_; }

private:
    core::Context& ctx_;
    core::TaskRunner& runner_;
    EraserList& list_;
    erase::Deleter& deleter_;
    core::TaskSpec scanTask_;
    core::TaskSpec cleanTask_;
};

} // namespace tpc::eraser
