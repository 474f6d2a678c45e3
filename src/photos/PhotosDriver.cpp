#include "photos/PhotosDriver.h"

#include "core/Frontend.h"
#include "core/Keys.h"
#include "core/MainThread.h"
#include "core/SizeText.h"
#include "core/TaskFlags.h"
#include "core/TaskTexts.h"
#include "fs/Entries.h"
#include "photos/LibraryLocation.h"
#include "photos/PhotoKeys.h"
#include "platform/Platform.h"

namespace tpc::photos {

namespace {

using core::Category;
using core::TaskKind;

std::string withFolderSlash(const std::filesystem::path& folder) {
    return folder.string() + "/";
}

core::DictRef photoRecordRow(const std::string& description, const std::string& path,
                             std::int64_t mark, std::uint64_t size) {
    auto display = core::DictObj::make({{core::keys::Description, description}});
    if (!path.empty())
        display->set(core::keys::Path, path);
    auto row = core::DictObj::make(
        {{core::keys::DescriptionDictionary, display}, {core::keys::Mark, mark}});
    core::setSize(row, size);
    return row;
}

} // namespace

namespace texts {

std::string occupiedText(const std::string& size, bool still) {
    return std::string("There is ") + (still ? "still " : "") + size +
           " occupied by hidden service copies of photos, which cannot be deleted automatically "
           "by iPhoto";
}

} // namespace texts

PhotosDriver::PhotosDriver(core::Context& ctx, core::TaskRunner& runner, erase::Deleter& deleter)
    : ctx_(ctx), runner_(runner), deleter_(deleter) {
    scanTask_ = hookedTask(ctx_.frontend, TaskKind::Scan, "IPhoto", "reloadIPhotoResultsView");
    cleanTask_ = hookedTask(ctx_.frontend, TaskKind::Clean, "IPhoto", "reloadIPhotoResultsView");
    scanWindDown_ = scanTask_;
    scanWindDown_.abortHandlingTestsFlag = false;
}

// ---- The page ----

void PhotosDriver::changed() {
    if (showPageState)
        showPageState();
}

void PhotosDriver::collapseResultsView(bool collapsed) {
    if (setZeroOutlineViewIPhoto)
        setZeroOutlineViewIPhoto(collapsed);
    else
        ctx_.frontend.ui("setZeroOutlineViewIPhoto", core::Value(collapsed));
}

void PhotosDriver::reload() {
    hook(ctx_.frontend, hooks.reloadLists, "reloadIPhotoResultsView");
}

void PhotosDriver::openPage() {
    clearIPhotoScanResults();
    detectDefaultIPhotoLibrary();
    page_.detailedResultsShown = false;
    changed();
}

void PhotosDriver::showLibrary(const std::filesystem::path& library, const std::string& location) {
    page_.iconPath = library.string();
    page_.libraryName = library.filename().string();
    page_.libraryLocation = location;
    page_.libraryShown = true;
    page_.scanEnabled = true;
    page_.detailedResultsEnabled = false;
    page_.statusLine.clear();
    page_.resultLine.clear();
}

void PhotosDriver::showNoLibrary(const std::string& message) {
    page_.iconPath.clear();
    page_.libraryName = message;
    page_.libraryLocation = texts::ChangeLibraryHint;
    page_.libraryShown = false;
    page_.scanEnabled = false;
    page_.detailedResultsEnabled = false;
    page_.statusLine.clear();
    page_.resultLine.clear();
}

void PhotosDriver::detectDefaultIPhotoLibrary() {
    const auto pictures = ctx_.platform.pictures();
    if (auto library = findDefaultIPhotoLibrary(pictures))
        showLibrary(*library, withFolderSlash(pictures));
    else
        showNoLibrary(texts::DefaultLibraryNotFound);
    changed();
}

std::filesystem::path PhotosDriver::buttonChangeLibraryClicked() {
    clearIPhotoScanResults();
    return ctx_.platform.pictures();
}

void PhotosDriver::libraryChosen(const std::filesystem::path& chosen) {
    // A folder picked with a trailing separator still has its own name.
    const auto library = chosen.has_filename() ? chosen : chosen.parent_path();
    showLibrary(library, withFolderSlash(library.parent_path()));
    page_.detailedResultsShown = false;
    changed();
}

void PhotosDriver::clearIPhotoScanResults() {
    results_.clear();
    reload();
}

void PhotosDriver::showDetailedResults(bool shown) {
    page_.detailedResultsShown = shown;
    changed();
}

void PhotosDriver::updateResultsBox(const ResultsBox& box) {
    page_.statusLine = box.status;
    page_.resultLine = box.result;
    if (box.enableDetailedResults)
        page_.detailedResultsEnabled = *box.enableDetailedResults;
    changed();
}

std::filesystem::path PhotosDriver::libraryPath() const {
    return page_.libraryLocation + page_.libraryName;
}

std::optional<std::filesystem::path> PhotosDriver::chosenLibrary() const {
    if (!page_.libraryShown)
        return std::nullopt;
    return libraryPath();
}

bool PhotosDriver::iPhotoRunning() {
    return ctx_.platform.runningApps().isRunning(kIPhotoBundleId);
}

void PhotosDriver::alert(const std::string& title, const std::string& message) {
    core::AlertRequest request;
    request.title = title;
    request.message = message;
    request.defaultButton = "OK";
    ctx_.frontend.showAlert(request);
}

void PhotosDriver::buttonScanLibraryClicked(core::Sender sender) {
    if (sender == core::Sender::AbortButton) {
        ctx_.flags.setAbort(Category::IPhoto, TaskKind::Scan, true);
        return;
    }
    clearIPhotoScanResults();
    if (!tpc::fs::isFolderFollowingLinks(libraryPath())) {
        showNoLibrary(texts::LibraryNotFound);
        changed();
        return;
    }
    if (iPhotoRunning()) {
        alert(texts::RunningTitle, texts::RunningBeforeScan);
        return;
    }
    runner_.buttonClicked(scanTask_, core::Sender::Button, [this] { scanIPhotoLibrary(); });
}

void PhotosDriver::buttonCleanLibraryClicked(core::Sender sender) {
    if (sender == core::Sender::AbortButton) {
        ctx_.flags.setAbort(Category::IPhoto, TaskKind::Clean, true);
        ctx_.flags.setAbortCleaning(true);
        return;
    }
    if (!tpc::fs::isFolderFollowingLinks(libraryPath())) {
        alert(texts::CannotProceedTitle, texts::CannotProceed);
        return;
    }
    if (iPhotoRunning()) {
        alert(texts::RunningTitle, texts::RunningBeforeClean);
        return;
    }
    collapseResultsView(true);
    reload();
    runner_.buttonClicked(cleanTask_, core::Sender::Button, [this] { cleanIPhotoLibrary(); });
}

// ---- Marks ----

core::ArrayRef PhotosDriver::list() const {
    auto rows = core::ArrayObj::make();
    for (const auto& root : results_.roots()) {
        auto row = photoRecordRow(root->name, {}, root->selected, root->size);
        row->set(core::keys::Count, core::itemsText(static_cast<std::int64_t>(root->items)));
        auto photos = core::ArrayObj::make();
        for (const auto& photo : root->photos()) {
            const auto& record = photo->contents;
            auto sub =
                photoRecordRow(record ? record->getString(keys::ImageKey) : std::string(),
                               record ? record->getString(keys::OriginalPath) : std::string(),
                               photo->selected, photo->size);
            sub->parent = row;
            photos->append(sub);
        }
        row->set(core::keys::SubListArray, photos);
        rows->append(row);
    }
    return rows;
}

std::vector<std::string> PhotosDriver::markForClean(const std::vector<std::string>& categories,
                                                    const std::vector<std::string>& imageKeys) {
    results_.markAllIPhoto(false);
    std::vector<std::string> unknown;
    for (const auto& name : categories) {
        bool found = false;
        for (const auto& root : results_.roots())
            if (root->name == name) {
                results_.markAllIPhoto(true, *root);
                found = true;
            }
        if (!found)
            unknown.push_back(name);
    }
    for (const auto& key : imageKeys) {
        bool found = false;
        for (const auto& root : results_.roots())
            for (const auto& photo : root->photos())
                if (photo->contents && photo->contents->getString(keys::ImageKey) == key) {
                    results_.checkBoxIPhotoClicked(*photo, true);
                    found = true;
                }
        if (!found)
            unknown.push_back(key);
    }
    reload();
    return unknown;
}

std::vector<std::string> PhotosDriver::markOnly(const std::vector<std::string>& items) {
    std::vector<std::string> categories;
    std::vector<std::string> imageKeys;
    for (const auto& item : items) {
        const auto slash = item.rfind('/');
        if (slash == std::string::npos)
            categories.push_back(item);
        else
            imageKeys.push_back(item.substr(slash + 1));
    }
    return markForClean(categories, imageKeys);
}

void PhotosDriver::markAllRows(bool on) {
    results_.markAllIPhoto(on);
    reload();
}

void PhotosDriver::setRowMark(int row, bool on) {
    const auto& roots = results_.roots();
    if (row < 0 || static_cast<std::size_t>(row) >= roots.size())
        return;
    results_.markAllIPhoto(on, *roots[static_cast<std::size_t>(row)]);
    reload();
}

core::CheckState PhotosDriver::masterCheckState() const {
    return results_.reflectMarkStatusInIPhotoMainList();
}

bool PhotosDriver::canClean() const {
    return results_.enableOrDisableIPhotoCleanButton();
}

} // namespace tpc::photos
