#pragma once
// The Browsers page's engine: the catalogue of installed browsers and their items, the scan that
// sizes every item and the clean that runs the marked items' delete operations, marking and
// sorting of the two lists.
//
// Threads: everything here except the two worker bodies runs on the main thread, and the lists'
// records are changed on the main thread only (the workers compute on their own thread and apply
// through MainThread::invoke). The workers run on threads owned by the TaskRunner, which must be
// joined before the driver goes away.

#include "browsers/BrowserCatalogue.h"
#include "browsers/sqlite/SQLite.h"
#include "core/CategoryEngine.h"
#include "core/CheckList.h"
#include "core/Context.h"
#include "core/ProgressMessage.h"
#include "core/TaskRunner.h"

#include <cstdint>
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

    // The worker bodies (started by the button handlers; the flags must be set as they set
    // them). The scan owns the progress bar when the bar is determinate and at 0.
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

    // The scan's body: `task` is the task it runs under (its own, or the clean's for the clean's
    // rescan); `ownsBar` whether it sets up and closes the progress bar. False when the task was
    // aborted (and has been wound down).
    bool scan(const core::TaskSpec& task, bool ownsBar);
    // Sends a progress message on the main thread (waiting) and follows it in the bar mirror.
    void progress(const core::ProgressMessage& message);
    void closeBar(std::uint64_t maximum);
    // An abort check point: true when the task was aborted and wound down.
    bool aborted(const core::TaskSpec& task);
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
    // The progress bar as the driver's own messages (and its abort handling) left it; read and
    // written on the main thread only.
    core::ProgressState bar_;
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
