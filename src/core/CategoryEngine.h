#pragma once
// A cleaning category as the front ends drive it: a list of check-box records with the same list
// operations on every page, a scan and a clean started like the page's buttons, the hooks through
// which the category's page follows the task, and the count and clean of a preset's selection
// (CategoryDispatch). Every category page (and `tpc scan|clean CATEGORY`) works through one of
// these.

#include "core/CategoryDispatch.h"
#include "core/CheckList.h"
#include "core/Frontend.h"
#include "core/TaskRunner.h"
#include "core/Value.h"

#include <functional>
#include <string>
#include <vector>

namespace tpc::core {

struct PageHooks {
    // Called on the main thread; any may be empty (the command line sets none).
    std::function<void()> disableForScan;
    std::function<void()> enableAfterScan;
    std::function<void()> disableForClean;
    std::function<void()> enableAfterClean;
    std::function<void()> reloadLists;
};

class CategoryEngine : public CategoryDispatch {
public:
    // "browsers", "recents", "system", "eraser", "extensions", "presets".
    virtual std::string name() const = 0;
    virtual Category category() const = 0;
    virtual MainButton button() const = 0;
    // The main list's records (roots), as the page shows them.
    virtual ArrayRef list() const = 0;

    // The page's Scan and Clean buttons (also the progress sheet's abort button while the task
    // runs). Called on the main thread; the work runs on a worker started through the runner.
    virtual void buttonScanClicked(Sender sender) = 0;
    virtual void buttonCleanClicked(Sender sender) = 0;

    // Marks exactly the rows named by "Root/Item" (or "Root") descriptions and the roots holding
    // them, unmarking every other row. Answers the names that matched nothing.
    virtual std::vector<std::string> markOnly(const std::vector<std::string>& items) = 0;

    // The main list's operations, the same on every page; each is the category's own named
    // operation (markAllSystem, reflectMarkStatusInFolders, ...). Main thread.
    // Sets every row's "Mark" (roots only, where rows have items).
    virtual void markAllRows(bool on) = 0;
    // Sets one row's "Mark"; a row outside the list is ignored.
    virtual void setRowMark(int row, bool on) = 0;
    // The master check box over the rows.
    virtual CheckState masterCheckState() const = 0;
    // The sort pop-up's choice (a choice already in force reverses its direction).
    virtual void sortRowsBy(SortChoice choice) = 0;
    // The sort pop-up entry matching the list's recorded sort.
    virtual SortChoice currentSortChoice() const = 0;
    // Whether the Clean button is enabled: at least one row marked.
    virtual bool canClean() const = 0;

    PageHooks hooks;

protected:
    // Calls a page hook, or, without a page (the command line), tells the front end by the
    // operation's name.
    void hook(Frontend& ui, const std::function<void()>& fn, const std::string& name) const;
    // A task of this category whose page follows `hooks`: `who` names the operations a front
    // end without hooks hears ("System" gives "disableUIElementsForSystemScan", ...), `reload`
    // the list reload.
    TaskSpec hookedTask(Frontend& ui, TaskKind kind, const std::string& who,
                        const std::string& reload);
};

} // namespace tpc::core
