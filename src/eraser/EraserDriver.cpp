#include "eraser/EraserDriver.h"

#include "core/Clock.h"
#include "core/Frontend.h"
#include "core/MainThread.h"
#include "core/Record.h"
#include "core/SizeText.h"
#include "core/TaskFlags.h"
#include "core/TaskTexts.h"
#include "core/WorkerProgress.h"
#include "erase/Deleter.h"
#include "erase/FolderEntries.h"
#include "erase/TreeMeasure.h"
#include "eraser/EraserPaths.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace tpc::eraser {

namespace {

using core::Category;
using core::MainButton;
using core::TaskKind;
using core::TaskSpec;

constexpr core::Clock::Duration kPollInterval = core::Clock::seconds(0.5);

} // namespace

EraserDriver::EraserDriver(core::Context& ctx, core::TaskRunner& runner, EraserList& list,
                           erase::Deleter& deleter)
    : ctx_(ctx), runner_(runner), list_(list), deleter_(deleter) {
    scanTask_ = hookedTask(ctx_.frontend, TaskKind::Scan, "Shredder", "reloadFoldersTable");
    cleanTask_ = hookedTask(ctx_.frontend, TaskKind::Clean, "Shredder", "reloadFoldersTable");
}

core::ArrayRef EraserDriver::list() const {
    return list_.arrayFolders();
}

// ---- Buttons ----

void EraserDriver::buttonScanClicked(core::Sender sender) {
    if (sender == core::Sender::Button) {
        ++scanEpoch_;
        sizesUpdateHoldsFlags_ = false;
    }
    runner_.buttonClicked(scanTask_, sender, [this] { scanShredder(); });
}

void EraserDriver::buttonCleanClicked(core::Sender sender) {
    runner_.cleanButtonClicked(
        cleanTask_, sender, [this] { cleanShredder(); },
        [this] { buttonScanClicked(core::Sender::Button); });
}

std::vector<std::string> EraserDriver::markOnly(const std::vector<std::string>& items) {
    const auto rows = list_.arrayFolders()->dicts();
    for (const auto& row : rows)
        core::setMark(row, false);
    std::vector<std::string> unknown;
    for (const auto& name : items) {
        const std::string asPath = name.empty() ? name : normalisedPath(name);
        bool found = false;
        for (const auto& row : rows) {
            if ((!asPath.empty() && normalisedPath(core::path(row)) == asPath) ||
                core::description(row) == name) {
                core::setMark(row, true);
                found = true;
            }
        }
        if (!found)
            unknown.push_back(name);
    }
    scanTask_.reloadLists();
    return unknown;
}

EraserList::AddOutcome EraserDriver::addPaths(const std::vector<std::string>& paths) {
    const auto outcome = list_.addPaths(paths);
    scanTask_.reloadLists();
    if (const std::string refused = EraserList::refusalMessage(outcome); !refused.empty()) {
        core::AlertRequest alert;
        alert.title = "Path(s) not added !";
        alert.message = refused;
        alert.defaultButton = "OK";
        ctx_.frontend.showAlert(alert);
    }
    const std::string message = EraserList::inconsistencyMessage(outcome);
    if (!message.empty()) {
        core::AlertRequest alert;
        alert.title = "Path(s) inconsistencies !";
        alert.message = message;
        alert.defaultButton = "OK";
        ctx_.frontend.showAlert(alert);
    }
    // Rows that were only removed keep nothing to measure.
    if (outcome.added > 0)
        startSizesUpdate();
    return outcome;
}

// ---- Workers ----

std::vector<EraserDriver::Row> EraserDriver::readRows() {
    std::vector<Row> rows;
    ctx_.mainThread.invoke([this, &rows] {
        for (const auto& rec : list_.arrayFolders()->dicts())
            rows.push_back(Row{rec, core::path(rec)});
    });
    return rows;
}

void EraserDriver::scanShredder() {
    core::TaskFlags& flags = ctx_.flags;
    core::WorkerProgress progress(ctx_, runner_, scanTask_);
    progress.prepare();
    if (progress.aborted())
        return;
    progress.status("Scanning Folders/Files...");

    auto stop = [&flags] {
        return flags.aborting(Category::Shredder, TaskKind::Scan) ||
               flags.aborting(Category::Shredder, TaskKind::Clean);
    };
    std::uint64_t totalBytes = 0;
    std::uint64_t totalItems = 0;
    for (const auto& row : readRows()) {
        if (progress.aborted())
            return;
        const auto totals = erase::measureTree(row.path, stop);
        if (!totals.complete && progress.aborted())
            return;
        ctx_.mainThread.invoke([&row, &totals] { core::setSize(row.record, totals.bytes); });
        totalBytes += totals.bytes;
        totalItems += totals.count;
    }

    ctx_.mainThread.post([this] { list_.save(); });
    core::ProgressMessage done = core::determinateMessage(100, false);
    done.startStopAnimation = 1;
    done.doubleValue = 100;
    progress.send(done);
    progress.closeBar(100);
    progress.finish([this, totalBytes, totalItems] {
        core::Frontend& ui = ctx_.frontend;
        ui.updateTextFieldResult(core::totalsText(totalBytes, totalItems));
        if (totalBytes != 0)
            ui.setSubtitle(MainButton::FileEraser,
                           "(" + core::getFormattedStringForSize(totalBytes) + ")");
        else
            ui.setSubtitle(MainButton::FileEraser, std::nullopt);
    });
}

void EraserDriver::shred(const Shred& item) {
    struct stat st {};
    if (::lstat(item.path.c_str(), &st) != 0)
        return;
    if (S_ISDIR(st.st_mode) && item.contentsOnly) {
        const auto entries = erase::topLevelEntries(item.path);
        if (!entries.empty())
            deleter_.deleteFiles(entries);
        return;
    }
    deleter_.deleteFiles({item.path});
}

void EraserDriver::cleanShredder() {
    core::WorkerProgress progress(ctx_, runner_, cleanTask_);
    progress.prepare();
    if (progress.aborted())
        return;
    progress.status("Shredding Folders/Files...");

    // The marks and options as the page shows them; its controls stay disabled meanwhile.
    std::vector<Shred> marked;
    ctx_.mainThread.invoke([this, &marked] {
        for (const auto& rec : list_.arrayFolders()->dicts())
            if (core::isMarked(rec)) {
                const auto* option =
                    rec->get(keys::DeleteOption).isBool() ? &rec->get(keys::DeleteOption) : nullptr;
                marked.push_back(Shred{core::path(rec), option && option->toBool()});
            }
    });
    for (const auto& item : marked) {
        if (progress.aborted())
            return;
        if (!item.path.empty())
            shred(item);
    }
    if (progress.aborted())
        return;

    progress.status("Done...");
    progress.status(" ");
    core::ProgressMessage hide;
    hide.hideUnhide = 0;
    progress.send(hide);
    progress.finish([this] { ctx_.frontend.updateTextFieldResult(std::string("Cleaning Done")); });
}

// ---- Sizes update ----

void EraserDriver::startSizesUpdate() {
    core::TaskFlags& flags = ctx_.flags;
    // A scan of the page holds the flags: its controls are disabled, so nothing was added
    // behind its back that it would miss.
    if (flags.running(Category::Shredder, TaskKind::Scan) && !sizesUpdateHoldsFlags_)
        return;
    const std::uint64_t epoch = ++scanEpoch_;
    sizesUpdateHoldsFlags_ = true;
    flags.setAbort(Category::Shredder, TaskKind::Scan, false);
    flags.setRunning(Category::Shredder, TaskKind::Scan, true);
    runner_.startThread([this, epoch] { sizesUpdate(epoch); });
}

void EraserDriver::shredderSizesUpdateThread() {
    sizesUpdate(scanEpoch_.load());
}

void EraserDriver::sizesUpdate(std::uint64_t epoch) {
    core::TaskFlags& flags = ctx_.flags;
    core::MainThread& main = ctx_.mainThread;
    auto overtaken = [this, epoch] {
        return scanEpoch_.load() != epoch;
    };
    auto stop = [&flags, &overtaken] {
        return overtaken() || flags.aborting(Category::Shredder, TaskKind::Scan) ||
               flags.aborting(Category::Shredder, TaskKind::Clean);
    };
    // Ends the update; the flags are cleared only while they are still this update's. Given up,
    // it does not wait for the main thread, which may be waiting for it to end.
    auto release = [this, &main, epoch](bool finished) {
        auto end = [this, epoch, finished] {
            if (scanEpoch_.load() != epoch)
                return;
            if (finished) {
                list_.save();
                scanTask_.reloadLists();
            }
            sizesUpdateHoldsFlags_ = false;
            ctx_.flags.setAbort(Category::Shredder, TaskKind::Scan, false);
            ctx_.flags.setRunning(Category::Shredder, TaskKind::Scan, false);
        };
        if (finished)
            main.invoke(end);
        else
            main.post(end);
    };

    // Like the scan it waits for other tasks, but it gives up when asked to abort meanwhile, so
    // a task waiting for it is never left waiting in turn.
    while (flags.otherTaskRunning(Category::Shredder, TaskKind::Scan) && !stop())
        ctx_.clock.sleepFor(kPollInterval);
    if (stop())
        return release(false);

    for (const auto& row : readRows()) {
        if (stop())
            return release(false);
        const auto totals = erase::measureTree(row.path, stop);
        if (!totals.complete)
            return release(false);
        main.invoke([&row, &totals] { core::setSize(row.record, totals.bytes); });
    }
    release(true);
}

} // namespace tpc::eraser
