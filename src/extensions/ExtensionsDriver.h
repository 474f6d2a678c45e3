#pragma once
// The Extensions page's engine: the scan that finds the installed add-ons and fills the two lists
// (one root per category, its items as the root's "Sub List Array"), the clean that removes the
// marked items of the marked categories and rescans, and the marking and sorting of both lists.
// The lists are built only by a scan, so opening the page empties them and scans. No preset
// record is driven by this category.
//
// Threads: everything but the two worker bodies runs on the main thread; the workers look at the
// file system on their own thread and change the lists only through MainThread::invoke and post.
// The workers run on threads owned by the TaskRunner, joined before the driver goes away.

#include "core/CategoryEngine.h"
#include "core/CheckList.h"
#include "core/Context.h"
#include "core/TaskRunner.h"
#include "core/WorkerProgress.h"
#include "extensions/ExtensionRemoval.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tpc::erase {
class Deleter;
}

namespace tpc::extensions {

struct CategorySource;

class ExtensionsDriver final : public core::CategoryEngine {
public:
    ExtensionsDriver(core::Context& ctx, core::TaskRunner& runner, erase::Deleter& deleter);

    std::string name() const override { return "extensions"; }
    core::Category category() const override { return core::Category::Ext; }
    core::MainButton button() const override { return core::MainButton::Extensions; }
    core::ArrayRef list() const override { return arrayExtMainList_; }

    // buttonExtScanClicked / buttonExtCleanClicked (no "Changes Made" prompt).
    void buttonScanClicked(core::Sender sender) override;
    void buttonCleanClicked(core::Sender sender) override;
    // The page was opened: both lists emptied and reloaded, changes-made cleared, and a scan
    // started at once, so every visit rescans.
    void extManagerPageOpened();
    // "Login Items/Foo" names an item (and marks its root), "Login Items" only the root.
    std::vector<std::string> markOnly(const std::vector<std::string>& items) override;

    // The main list's operations: markAllExtMainList, a root's own mark,
    // reflectMarkStatusInExtMainList, extMainListPopUpButtonClicked,
    // reflectPopUpButtonTitleInExtMainList, enableOrDisableExtScanAndCleanButton.
    void markAllRows(bool on) override { markAllExtMainList(on); }
    // The root's "Mark" only; its items keep theirs.
    void setRowMark(int row, bool on) override;
    core::CheckState masterCheckState() const override { return reflectMarkStatusInExtMainList(); }
    void sortRowsBy(core::SortChoice choice) override { extMainListPopUpButtonClicked(choice); }
    core::SortChoice currentSortChoice() const override {
        return reflectPopUpButtonTitleInExtMainList();
    }
    bool canClean() const override { return enableOrDisableExtScanAndCleanButton(); }

    // No preset record is an Extensions record: nothing is counted or cleaned.
    bool drives(const std::string&) const override { return false; }
    std::optional<core::SelectionTotals> countSelection(const core::DictRef&,
                                                        core::WorkerProgress&) override {
        return core::SelectionTotals{};
    }
    bool cleanSelection(const core::DictRef&, core::WorkerProgress&) override { return true; }

    // The worker bodies (started by the button handlers, which set the flags).
    void scanExtensions();
    void cleanExtensions();

    // The shown sub list: the selected root's own "Sub List Array" (-1: none selected, an empty
    // list shown).
    void selectMainRow(int row);
    int selectedMainRow() const { return selectedMainRow_; }
    core::ArrayRef subList() const { return arrayExtSubList_; }
    // An item's own check box in the shown sub list.
    void setSubRowMark(int row, bool on);

    // Marking. `shown` is the state the master check box shows after the user's click; a mixed
    // state is advanced to the next one (on) first. The sub list's operations do nothing while
    // no root is selected.
    void extMainListCheckBoxButtonClicked(core::CheckState shown);
    void extSubListCheckBoxButtonClicked(core::CheckState shown);
    void markAllExtMainList(bool on);
    void markAllExtSubList(bool on);
    core::CheckState reflectMarkStatusInExtMainList() const;
    core::CheckState reflectMarkStatusInExtSubList() const;
    // The Clean button is enabled exactly when at least one root is marked.
    bool enableOrDisableExtScanAndCleanButton() const;

    // Sorting: "Sort by Name" first sorts A to Z, "Sort by Size" largest first; the sort in force,
    // chosen again, reverses. Sorting the main list clears its selection (and so the sub list);
    // the sub list sorts only while a root is selected.
    void extMainListPopUpButtonClicked(core::SortChoice choice);
    void extSubListPopUpButtonClicked(core::SortChoice choice);
    core::SortChoice reflectPopUpButtonTitleInExtMainList() const;
    core::SortChoice reflectPopUpButtonTitleInExtSubList() const;

    const core::TaskSpec& scanTask() const { return scanTask_; }
    const core::TaskSpec& cleanTask() const { return cleanTask_; }

private:
    struct Totals {
        std::uint64_t count = 0;
        std::uint64_t bytes = 0;
    };
    struct CategoryPlan {
        std::string title;
        bool marked = false;
        std::vector<MarkedItem> items; // the marked ones, in list order
    };

    // The scan's body under `progress`'s task (its own, or the clean's for the clean's rescan);
    // `ownsBar` whether it shows and closes the progress bar and ends the task. False when the
    // task was aborted (and has been wound down).
    bool scan(core::WorkerProgress& progress, bool ownsBar);
    // One category's folders (and login items); false when the task was aborted.
    bool scanCategory(const CategorySource& source, core::WorkerProgress& progress, Totals& totals);
    // Appends `root` to the main list (main thread), numbering it.
    void appendRoot(const core::DictRef& root);
    // Appends an item to `root`'s sub list and counts it (main thread).
    void appendItem(const core::DictRef& root, const std::string& name, const std::string& path,
                    std::uint64_t size, bool sessionLoginItem, Totals& totals);
    // What the clean removes, read on the main thread.
    std::vector<CategoryPlan> cleanPlan();
    void emptyLists();
    void reload();

    core::Context& ctx_;
    core::TaskRunner& runner_;
    ExtensionRemoval removal_;
    core::ArrayRef arrayExtMainList_;
    core::ArrayRef arrayExtSubList_;
    int selectedMainRow_ = -1;
    core::TaskSpec scanTask_;
    core::TaskSpec cleanTask_;
};

} // namespace tpc::extensions
