// The iPhoto page's two workers: the scan that fills the result tree and the clean of the marked
// photos, with the ways they end.

#include "photos/PhotosDriver.h"

#include "core/Frontend.h"
#include "core/MainThread.h"
#include "core/PropertyList.h"
#include "core/SizeText.h"
#include "core/SystemLog.h"
#include "core/TaskFlags.h"
#include "core/TaskTexts.h"
#include "core/WorkerProgress.h"
#include "photos/IPhotoCleaner.h"
#include "photos/IPhotoScanner.h"
#include "photos/LibraryDatabase.h"
#include "photos/PhotoKeys.h"

namespace tpc::photos {

namespace {
using core::Category;
using core::TaskKind;
} // namespace

bool PhotosDriver::abortRequested() const {
    return ctx_.flags.aborting(Category::IPhoto, TaskKind::Scan) ||
           ctx_.flags.aborting(Category::IPhoto, TaskKind::Clean);
}

PhotosDriver::LibraryFields PhotosDriver::readFields() {
    LibraryFields fields;
    ctx_.mainThread.invoke([this, &fields] {
        fields.name = page_.libraryName;
        fields.location = page_.libraryLocation;
    });
    return fields;
}

void PhotosDriver::failLibraryCheck(core::WorkerProgress& progress, LibraryFailure failure,
                                    const core::TaskSpec& ending) {
    const auto shown = libraryFailureTexts(failure);
    core::ProgressMessage failing;
    failing.hideUnhide = 0;
    failing.startStopAnimation = 1;
    failing.status = shown.progressStatus;
    progress.send(failing);
    progress.send(core::determinateMessage(100, false));
    progress.send(core::statusMessage(" "));
    ctx_.mainThread.invoke([this, &shown, &ending] {
        ctx_.frontend.endProgressWindow();
        ctx_.frontend.stopAnimating();
        updateResultsBox(ResultsBox{shown.statusLine, shown.resultLine, std::nullopt});
        if (ending.reenableUI)
            ending.reenableUI();
        ctx_.flags.setAbort(ending.category, ending.kind, false);
        ctx_.flags.setRunning(ending.category, ending.kind, false);
    });
}

void PhotosDriver::closePhotoBar(core::WorkerProgress& progress, std::uint64_t maximum) {
    core::ProgressMessage done;
    done.doubleValue = maximum;
    done.status = "Done...";
    progress.send(done);
    progress.send(core::statusMessage(" "));
    core::ProgressMessage hide;
    hide.hideUnhide = 0;
    progress.send(hide);
}

void PhotosDriver::scanIPhotoLibrary() {
    core::WorkerProgress progress(ctx_, runner_, scanTask_);
    progress.prepare();
    if (abortRequested()) {
        ctx_.mainThread.invoke([this] {
            updateResultsBox(ResultsBox{texts::ScanAbortedStatus, texts::ScanAbortedResult, {}});
        });
        runner_.preProcessAbort(scanWindDown_);
        return;
    }

    const LibraryFields fields = readFields();
    const CheckedLibrary library = checkIPhotoLibrary(fields.path(), true);
    if (library.failure != LibraryFailure::None) {
        failLibraryCheck(progress, library.failure, scanTask_);
        return;
    }

    const std::uint64_t maximum = IPhotoScanner::eventPhotoCount(library.albumData);
    auto bar = core::determinateMessage(maximum, false);
    bar.status = "Scanning iPhoto Library...";
    progress.send(bar);

    LibraryDatabase database(library.databasePath, ctx_.log);
    IPhotoScanner scanner(database, fields.name, fields.location);
    ScanListener listener;
    listener.stopRequested = [this] {
        return abortRequested();
    };
    listener.albumStarted = [&progress](const std::string& album, std::uint64_t handled) {
        core::ProgressMessage message;
        message.status = "Scanning Album: " + album;
        message.doubleValue = handled;
        progress.send(message);
    };
    listener.photoFound = [this](FoundPhoto found) {
        ctx_.mainThread.invoke([this, &found] { results_.addPhoto(found.category, found.node); });
    };
    scanner.scanAlbums(library.albumData, listener);

    const bool aborted = abortRequested();
    closePhotoBar(progress, maximum);
    progress.finish([this, aborted] { reportScan(aborted); });
}

void PhotosDriver::reportScan(bool aborted) {
    const PhotoTotals total = results_.totals();
    ctx_.frontend.updateTextFieldResult(core::totalsText(total.size, total.items));
    const std::string size = core::getFormattedStringForSize(total.size);
    ResultsBox box{aborted ? texts::ScanAborted : texts::ScanComplete, {}, {}};
    if (total.size > 0) {
        box.result = texts::occupiedText(size, false);
        box.enableDetailedResults = true;
        ctx_.frontend.setSubtitle(core::MainButton::IPhoto, "(" + size + ")");
    } else {
        box.result = texts::NothingFound;
        box.enableDetailedResults = false;
        ctx_.frontend.setSubtitle(core::MainButton::IPhoto, std::nullopt);
    }
    updateResultsBox(box);
}

std::vector<PhotosDriver::MarkedPhoto> PhotosDriver::markedPhotos() {
    std::vector<MarkedPhoto> marked;
    ctx_.mainThread.invoke([this, &marked] {
        for (const auto& root : results_.roots())
            for (const auto& photo : root->photos())
                if (photo->selected == 1 && photo->contents)
                    marked.push_back(MarkedPhoto{photo, photo->contents->getString(keys::ImageKey),
                                                 photo->contents->getString(keys::Caption)});
    });
    return marked;
}

void PhotosDriver::cleanIPhotoLibrary() {
    core::WorkerProgress progress(ctx_, runner_, cleanTask_);
    progress.prepare();
    if (ctx_.flags.aborting(Category::IPhoto, TaskKind::Clean)) {
        runner_.preProcessAbort(cleanTask_);
        return;
    }

    const LibraryFields fields = readFields();
    const CheckedLibrary library = checkIPhotoLibrary(fields.path(), false);
    if (library.failure != LibraryFailure::None) {
        // An unreadable album file ends the clean as a failed scan ends (the scan's controls come
        // back); a missing file ends it as a clean. Either way the clean's own flags are cleared
        // too: a clean left marked running would keep every later task waiting for it and the
        // program from quitting.
        failLibraryCheck(progress, library.failure,
                         library.failure == LibraryFailure::Corrupt ? scanTask_ : cleanTask_);
        if (library.failure == LibraryFailure::Corrupt)
            ctx_.mainThread.invoke([this] {
                ctx_.flags.setAbort(Category::IPhoto, TaskKind::Clean, false);
                ctx_.flags.setRunning(Category::IPhoto, TaskKind::Clean, false);
            });
        return;
    }

    // A list that cannot be written back as it was read would leave the cleaned photos' records
    // naming files that are gone: nothing is cleaned then.
    std::string unwritable;
    if (core::plist::toXml(core::Value(library.albumData), &unwritable).empty()) {
        ctx_.log.log("Cannot rewrite " + (fields.path() / keys::AlbumDataFile).string() + ": " +
                     unwritable);
        failLibraryCheck(progress, LibraryFailure::Corrupt, cleanTask_);
        return;
    }

    const auto marked = markedPhotos();
    const std::uint64_t maximum = marked.size();
    auto bar = core::determinateMessage(maximum, false);
    bar.status = "Cleaning iPhoto Library...";
    progress.send(bar);

    const auto master = library.albumData->getDict(keys::MasterImageList);
    LibraryDatabase database(library.databasePath, ctx_.log);
    IPhotoCleaner cleaner(database, deleter_, ctx_.log, fields.name, fields.location);
    std::uint64_t cleaned = 0;
    std::vector<NewDirRef> replaced;
    for (const auto& photo : marked) {
        if (ctx_.flags.aborting(Category::IPhoto, TaskKind::Clean))
            break;
        core::ProgressMessage now;
        now.status = "Cleaning Photo: " + photo.caption;
        now.doubleValue = cleaned;
        progress.send(now);
        const auto record = master ? master->getDict(photo.imageKey) : nullptr;
        const PhotoCleanOutcome outcome = cleaner.cleanPhoto(photo.imageKey, record);
        if (outcome.cleaned)
            ++cleaned;
        if (outcome.filesReplaced)
            replaced.push_back(photo.node);
        core::ProgressMessage value;
        value.doubleValue = cleaned;
        progress.send(value);
    }
    const bool aborted = ctx_.flags.aborting(Category::IPhoto, TaskKind::Clean);

    if (cleaned > 0) {
        writeAlbumData(fields.path(), library.albumData, ctx_.log);
        ctx_.mainThread.invoke([this, &replaced] {
            for (const auto& node : replaced)
                node->contents->set(keys::Remove, true);
            results_.removeCleanedPhotos();
        });
    }

    closePhotoBar(progress, maximum);
    ctx_.mainThread.invoke([this, aborted] {
        ctx_.frontend.endProgressWindow();
        ctx_.frontend.stopAnimating();
        if (cleanTask_.reenableUI)
            cleanTask_.reenableUI();
        collapseResultsView(false);
        reload();
        ctx_.flags.setAbort(Category::IPhoto, TaskKind::Clean, false);
        ctx_.flags.setRunning(Category::IPhoto, TaskKind::Clean, false);
        reportClean(aborted);
    });
}

void PhotosDriver::reportClean(bool aborted) {
    const PhotoTotals left = results_.totals();
    ctx_.frontend.updateTextFieldResult(core::totalsText(left.size, left.items));
    const std::string size = core::getFormattedStringForSize(left.size);
    ResultsBox box{aborted ? texts::CleanAborted : texts::CleanComplete, {}, {}};
    if (left.size > 0) {
        box.result = texts::occupiedText(size, true);
        box.enableDetailedResults = true;
        ctx_.frontend.setSubtitle(core::MainButton::IPhoto, "(" + size + ")");
    } else {
        box.result = texts::AllRemoved;
        ctx_.frontend.setSubtitle(core::MainButton::IPhoto, std::nullopt);
    }
    updateResultsBox(box);
}

} // namespace tpc::photos
