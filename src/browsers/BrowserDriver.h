#pragma once
// The Browsers page's engine: the catalogue of installed browsers and their items, the scan that
// sizes every item and the clean that runs the marked items' delete operations, marking and
// sorting of the two lists; and the count and clean of a preset's browser record (a copy of a
// root of the main list).
//
// Threads: everything here except the two worker bodies and the selection count and clean runs
// on the main thread, and the lists' records are changed on the main thread only (the workers
// compute on their own thread and apply through MainThread::invoke). The workers run on threads
// owned by the TaskRunner, which must be joined before the driver goes away.

#include "browsers/BrowserCatalogue.h"
#include "browsers/sqlite/SQLite.h"
#include "core/CategoryEngine.h"
#include "core/CheckList.h"
#include "core/Context.h"
#include "core/TaskRunner.h"
#include "core/WorkerProgress.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tpc::browsers {

class BrowserCleaners;
class CookieLists;

class BrowserDriver final : public core::CategoryEngine {
public:
    BrowserDriver(core::Context& ctx, core::TaskRunner& runner, BrowserCleaners& cleaners,
                  CookieLists& cookies);

    std::string name() const override { return "browsers"; }
    core::Category category() const override { return core::Category::Browsers; }
    core::MainButton button() const override { return core::MainButton::Browsers; }
    core::ArrayRef list() const override { return arrayBrowserMainList_; }

    // Builds the main list from the catalogue: one root per installed browser. The list object
    // stays the same; its rows are replaced.
    void populateBrowserData();

    // buttonBrowserScanClicked / buttonBrowserCleanClicked. No "Changes Made" prompt.
    void buttonScanClicked(core::Sender sender) override;
    void buttonCleanClicked(core::Sender sender) override;
    // "Firefox/Cookies" names a sub item (and marks its root), "Firefox" only the root row.
    std::vector<std::string> markOnly(const std::vector<std::string>& items) override;

    // The main list's operations: markAllBrowserMainList, a root's own mark,
    // reflectMarkStatusInBrowserMainList, browserMainListPopUpButtonClicked,
    // reflectPopUpButtonTitleInBrowsersMainList, enableOrDisableBrowserScanAndCleanButton.
    void markAllRows(bool on) override { markAllBrowserMainList(on); }
    // The root's "Mark" only; its items keep theirs.
    void setRowMark(int row, bool on) override;
    core::CheckState masterCheckState() const override {
        return reflectMarkStatusInBrowserMainList();
    }
    void sortRowsBy(core::SortChoice choice) override { browserMainListPopUpButtonClicked(choice); }
    core::SortChoice currentSortChoice() const override {
        return reflectPopUpButtonTitleInBrowsersMainList();
    }
    bool canClean() const override { return enableOrDisableBrowserScanAndCleanButton(); }

    // A browser of the layout's catalogue, by name. The count measures a browser only while it
    // is installed, by its count operations in scan order, and sizes the record's items (the
    // auto-quit item keeps "-") and the record; the clean quits the browser first when the
    // auto-quit item is marked, then runs the marked items' delete operations in list order.
    bool drives(const std::string& description) const override;
    std::optional<core::SelectionTotals> countSelection(const core::DictRef& record,
                                                        core::WorkerProgress& progress) override;
    bool cleanSelection(const core::DictRef& record, core::WorkerProgress& progress) override;

    // The worker bodies (started by the button handlers; the flags must be set as they set
    // them). The scan owns the progress bar: it shows it, sets it up and closes it.
    void scanBrowsers();
    // Ends with the rescan, on the same thread, which then does not own the bar.
    void cleanBrowsers();

    // The sub list shows the items of the selected main row (-1: none): the root's own
    // "Sub List Array", so sorting the sub list orders the root's items.
    void selectMainRow(int row);
    int selectedMainRow() const { return selectedMainRow_; }
    core::ArrayRef subList() const { return arrayBrowserSubList_; }

    // Marking. `shown` is the state the master check box shows after the user's click; a mixed
    // state is advanced to the next one (on) first.
    void browserMainListCheckBoxButtonClicked(core::CheckState shown);
    void browserSubListCheckBoxButtonClicked(core::CheckState shown);
    void markAllBrowserMainList(bool on);
    // Only while a main row is selected.
    void markAllBrowserSubList(bool on);
    core::CheckState reflectMarkStatusInBrowserMainList() const;
    core::CheckState reflectMarkStatusInBrowserSubList() const;
    // Whether the clean button is enabled: at least one root marked.
    bool enableOrDisableBrowserScanAndCleanButton() const;

    // Sorting. Both clear the main row selection (and so empty the sub list) or, for the sub
    // list, leave the selection of the main list alone.
    void browserMainListPopUpButtonClicked(core::SortChoice choice);
    void browserSubListPopUpButtonClicked(core::SortChoice choice);
    core::SortChoice reflectPopUpButtonTitleInBrowsersMainList() const;

    // The clean's progress maximum for the current list and marks: the weights of the installed
    // browsers plus the marked sub items.
    std::uint64_t cleanProgressMaximum() const;
    // The scan's progress maximum: the weights of the installed browsers.
    std::uint64_t scanProgressMaximum() const;

    // The task descriptions the button handlers and the abort checks use.
    const core::TaskSpec& scanTask() const { return scanTask_; }
    const core::TaskSpec& cleanTask() const { return cleanTask_; }

private:
    // What the clean does for one marked root, read from the records on the main thread.
    struct CleanPlan {
        std::string browser;
        bool quit = false;
        std::vector<std::string> items; // marked sub items in list order
    };
    using Counts = std::map<std::string, CountPair>;

    // The scan's body under `progress`'s task (its own, or the clean's for the clean's rescan);
    // `ownsBar` whether it sets up and closes the progress bar and ends the task. False when the
    // task was aborted (and has been wound down).
    bool scan(core::WorkerProgress& progress, bool ownsBar);
    // One browser's count operations in scan order, testing the abort before each; `stepBar`
    // moves the bar one step after each. nullopt when the task was aborted.
    std::optional<Counts> countBrowser(const CatalogueEntry& entry, core::WorkerProgress& progress,
                                       bool stepBar);
    // Main thread: the counts into a root's items (the auto-quit item left alone) and the
    // browser's bytes into the root.
    static void storeCounts(const core::DictRef& root, const CatalogueEntry& entry,
                            const Counts& counts, std::uint64_t bytes);
    // The plan for a browser's marked items.
    CleanPlan planFor(const std::string& browser,
                      const std::vector<core::RowSnapshot>& items) const;
    // Quits the browser when asked, then runs the plan's deletes, testing the abort after each
    // step; `stepBar` moves the bar one step after each. False when the task was aborted.
    bool runPlan(const CleanPlan& plan, core::WorkerProgress& progress, bool stepBar);
    // Appends a fresh root for every installed browser missing from the main list (main thread).
    bool appendMissingBrowsers();
    std::vector<const CatalogueEntry*> installedBrowsers() const;
    core::DictRef rootNamed(const std::string& name) const;

    core::Context& ctx_;
    core::TaskRunner& runner_;
    BrowserCleaners& cleaners_;
    CookieLists& cookies_;
    core::ArrayRef arrayBrowserMainList_;
    core::ArrayRef arrayBrowserSubList_;
    int selectedMainRow_ = -1;
    core::TaskSpec scanTask_;
    core::TaskSpec cleanTask_;
};

// Sub items, over all roots, whose "Mark" is 1.
std::uint32_t countMarkedInSubArrayOfArray(const core::ArrayRef& roots);

// Lookup helpers: the first matching index, or 4294967295 when the list is empty or nothing
// matches.
std::uint32_t indexOfUniqueObjectContainedInArray(const core::ArrayRef& array,
                                                  const std::string& object);
std::uint32_t indexOfUniqueObjectContainedInDictArray(const core::ArrayRef& array,
                                                      const std::string& key,
                                                      const std::string& object);
std::uint32_t indexOfUniqueObjectContainedInDictArray(const core::ArrayRef& array,
                                                      const std::string& key1,
                                                      const std::string& key2,
                                                      const std::string& object);

// A count pair's size as the byte count the records keep: sizes summed in 32 bits come back as
// signed numbers and are read as the unsigned sum they are.
std::uint64_t bytesOf(const CountPair& pair);

} // namespace tpc::browsers
