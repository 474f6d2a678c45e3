#pragma once
// The iPhoto page's engine: the chosen library and the page's lines, the scan of the library's
// hidden service copies into the result tree, the marking of that tree and the clean of the
// marked photos. The page (and `tpc iphoto`) drives it like the page's buttons.
//
// The photo library is no category of `tpc scan|clean` and drives no preset record: its results
// are a tree of photos, reached through its own page and `tpc iphoto`. Its list() shows that tree
// as check-box records for callers of the common interface.
//
// Threads: everything but the two worker bodies runs on the main thread; the workers reach the
// tree and the page's state only through MainThread::invoke.

#include "core/CategoryEngine.h"
#include "core/Context.h"
#include "core/TaskRunner.h"
#include "photos/IPhotoPageState.h"
#include "photos/IPhotoResults.h"
#include "photos/LibraryCheck.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tpc::erase {
class Deleter;
}

namespace tpc::core {
class WorkerProgress;
}

namespace tpc::photos {

// updateResultsBox: the status and result lines (absent: emptied) and, when given, whether the
// Detailed Results button is enabled.
struct ResultsBox {
    std::string status;
    std::string result;
    std::optional<bool> enableDetailedResults;
};

class PhotosDriver final : public core::CategoryEngine {
public:
    PhotosDriver(core::Context& ctx, core::TaskRunner& runner, erase::Deleter& deleter);

    std::string name() const override { return "iphoto"; }
    core::Category category() const override { return core::Category::IPhoto; }
    core::MainButton button() const override { return core::MainButton::IPhoto; }
    // One record per root ("Description" the category, "Mark" its `selected`), its photos in
    // "Sub List Array" ("Description" the image key, "Path" the original).
    core::ArrayRef list() const override;

    // ---- The page ----

    const IPhotoPageState& pageState() const { return page_; }
    // The page's hooks besides `hooks`: the fields and lines changed; the results view collapsed
    // (true) while a clean runs and shown again (false) after it. Main thread; may be empty.
    std::function<void()> showPageState;
    std::function<void(bool)> setZeroOutlineViewIPhoto;

    // The page was opened by its main button: the previous results go, the default library is
    // looked for and the Detailed Results box is hidden. No scan starts.
    void openPage();
    void detectDefaultIPhotoLibrary();
    // Change Library: the previous results go; answers the folder the open panel starts in.
    std::filesystem::path buttonChangeLibraryClicked();
    // The user confirmed `library` in the open panel (any folder; it is judged when scanned).
    void libraryChosen(const std::filesystem::path& library);
    void clearIPhotoScanResults();
    // The Detailed Results button shows or hides the box.
    void showDetailedResults(bool shown);
    void updateResultsBox(const ResultsBox& box);
    // The library the fields name: the location followed by the name.
    std::filesystem::path libraryPath() const;
    // The library when the fields name one.
    std::optional<std::filesystem::path> chosenLibrary() const;

    // Scan and Clean (also the progress sheet's abort button while their task runs).
    void buttonScanLibraryClicked(core::Sender sender);
    void buttonCleanLibraryClicked(core::Sender sender);
    void buttonScanClicked(core::Sender sender) override { buttonScanLibraryClicked(sender); }
    void buttonCleanClicked(core::Sender sender) override { buttonCleanLibraryClicked(sender); }

    // ---- The result tree and its marks ----

    IPhotoResults& results() { return results_; }
    const IPhotoResults& results() const { return results_; }
    // Marks exactly the photos of the named categories and the photos of the named image keys
    // ("ImageKey"); answers the names that matched nothing.
    std::vector<std::string> markForClean(const std::vector<std::string>& categories,
                                          const std::vector<std::string>& imageKeys);
    // "Category" marks a category, "Category/ImageKey" one photo.
    std::vector<std::string> markOnly(const std::vector<std::string>& items) override;
    void markAllRows(bool on) override;
    void setRowMark(int row, bool on) override;
    core::CheckState masterCheckState() const override;
    // The tree keeps the order the scan made it in.
    void sortRowsBy(core::SortChoice) override {}
    core::SortChoice currentSortChoice() const override { return core::SortChoice::Default; }
    bool canClean() const override;

    bool drives(const std::string&) const override { return false; }
    std::optional<core::SelectionTotals> countSelection(const core::DictRef&,
                                                        core::WorkerProgress&) override {
        return core::SelectionTotals{};
    }
    bool cleanSelection(const core::DictRef&, core::WorkerProgress&) override { return true; }

    // ---- The workers ----

    void scanIPhotoLibrary();
    void cleanIPhotoLibrary();

    const core::TaskSpec& scanTask() const { return scanTask_; }
    const core::TaskSpec& cleanTask() const { return cleanTask_; }

private:
    struct LibraryFields {
        std::string name;
        std::string location;
        std::filesystem::path path() const { return location + name; }
    };
    struct MarkedPhoto {
        NewDirRef node;
        std::string imageKey;
        std::string caption;
    };

    void changed();
    void reload();
    // setZeroOutlineViewIPhoto, or without a page the front end told by that name.
    void collapseResultsView(bool collapsed);
    void showLibrary(const std::filesystem::path& library, const std::string& location);
    void showNoLibrary(const std::string& message);
    bool iPhotoRunning();
    void alert(const std::string& title, const std::string& message);
    // Either abort flag of the photo library (the scan stops for both).
    bool abortRequested() const;
    LibraryFields readFields();
    std::vector<MarkedPhoto> markedPhotos();

    // A failed library check: the failing messages, the sheet closed, the lines of the failure,
    // then `ending`'s controls back and its flags cleared.
    void failLibraryCheck(core::WorkerProgress& progress, LibraryFailure failure,
                          const core::TaskSpec& ending);
    // "Done...", " " and the bar hidden.
    void closePhotoBar(core::WorkerProgress& progress, std::uint64_t maximum);
    void reportScan(bool aborted);
    void reportClean(bool aborted);

    core::Context& ctx_;
    core::TaskRunner& runner_;
    erase::Deleter& deleter_;
    IPhotoPageState page_;
    IPhotoResults results_;
    core::TaskSpec scanTask_;
    core::TaskSpec cleanTask_;
    // The scan's abort handling run without testing its flag (a clean's abort also stops it).
    core::TaskSpec scanWindDown_;
};

} // namespace tpc::photos
