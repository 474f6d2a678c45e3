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
#include "eraser/EraserPaths.h"
#include "fs/Folders.h"
#include "fs/TreeMeasure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace tpc::eraser {

namespace {

using core::Category;
using core::DictRef;
using core::MainButton;
using core::RowSnapshot;
using core::SelectionTotals;
using core::TaskKind;

constexpr core::Clock::Duration kPollInterval = core::Clock::seconds(0.5);
constexpr const char* kFileEraser = "File Eraser";

// Only absolute paths are measured or shredded: a relative one (from a damaged file) would be
// taken from wherever the program was started.
bool usablePath(const std::string& path) {
    return !path.empty() && path.front() == '/';
}

bool contentsOnly(const DictRef& rec) {
    const core::Value& option = rec->get(keys::DeleteOption);
    return option.isBool() && option.toBool();
}

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

std::vector<EraserDriver::Row> EraserDriver::rowsOf(const std::vector<RowSnapshot>& rows) {
    std::vector<Row> out;
    for (const auto& row : rows)
        out.push_back(Row{row.record, core::path(row.copy)});
    return out;
}

std::vector<EraserDriver::Shred> EraserDriver::shredsOf(const std::vector<RowSnapshot>& rows) {
    std::vector<Shred> out;
    for (const auto& row : rows)
        if (row.marked)
            out.push_back(Shred{core::path(row.copy), contentsOnly(row.copy)});
    return out;
}

std::optional<SelectionTotals> EraserDriver::measureRows(const std::vector<Row>& rows,
                                                         core::WorkerProgress& progress) {
    core::TaskFlags& flags = ctx_.flags;
    // The page's own tasks also stop for each other's abort; a caller's task for its own.
    const bool ownTask = progress.task().category == Category::Shredder;
    auto stop = [&flags, &progress, ownTask] {
        if (ownTask)
            return flags.aborting(Category::Shredder, TaskKind::Scan) ||
                   flags.aborting(Category::Shredder, TaskKind::Clean);
        return progress.abortRequested();
    };
    SelectionTotals totals;
    for (const auto& row : rows) {
        if (progress.aborted())
            return std::nullopt;
        const auto measured =
            usablePath(row.path) ? fs::measureTreeNoFollow(row.path, stop) : fs::TreeTotals{};
        if (!measured.complete && progress.aborted())
            return std::nullopt;
        ctx_.mainThread.invoke([&row, &measured] { core::setSize(row.record, measured.bytes); });
        totals.bytes += measured.bytes;
        totals.count += measured.count;
    }
    return totals;
}

void EraserDriver::scanShredder() {
    core::WorkerProgress progress(ctx_, runner_, scanTask_);
    progress.prepare();
    if (progress.aborted())
        return;
    progress.status("Scanning Folders/Files...");

    const auto totals = measureRows(readRows(), progress);
    if (!totals)
        return;

    ctx_.mainThread.post([this] { list_.save(); });
    core::ProgressMessage done = core::determinateMessage(100, false);
    done.startStopAnimation = 1;
    done.doubleValue = 100;
    progress.send(done);
    progress.closeBar(100);
    progress.finish([this, totalBytes = totals->bytes, totalItems = totals->count] {
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
    if (!usablePath(item.path) || ::lstat(item.path.c_str(), &st) != 0)
        return;
    if (S_ISDIR(st.st_mode) && item.contentsOnly) {
        const auto entries = fs::listFolderNoFollow(item.path);
        if (!entries.empty())
            deleter_.deleteFiles(entries);
        return;
    }
    deleter_.deleteFiles({item.path});
}

bool EraserDriver::shredAll(const std::vector<Shred>& items, core::WorkerProgress& progress) {
    for (const auto& item : items) {
        if (progress.aborted())
            return false;
        shred(item);
    }
    return !progress.aborted();
}

void EraserDriver::cleanShredder() {
    core::WorkerProgress progress(ctx_, runner_, cleanTask_);
    progress.prepare();
    if (progress.aborted())
        return;
    progress.status("Shredding Folders/Files...");

    // The marks and options as the page shows them; its controls stay disabled meanwhile.
    std::vector<RowSnapshot> rows;
    ctx_.mainThread.invoke([this, &rows] { rows = core::rowSnapshots(list_.arrayFolders()); });
    if (!shredAll(shredsOf(rows), progress))
        return;

    progress.status("Done...");
    progress.status(" ");
    core::ProgressMessage hide;
    hide.hideUnhide = 0;
    progress.send(hide);
    progress.finish([this] { ctx_.frontend.updateTextFieldResult(std::string("Cleaning Done")); });
}

// ---- A preset's selection ----

bool EraserDriver::drives(const std::string& description) const {
    return description == kFileEraser;
}

std::optional<SelectionTotals> EraserDriver::countSelection(const DictRef& record,
                                                            core::WorkerProgress& progress) {
    return core::countRowSelection(ctx_.mainThread, record, kFileEraser, [&](const auto& rows) {
        return measureRows(rowsOf(rows), progress);
    });
}

bool EraserDriver::cleanSelection(const DictRef& record, core::WorkerProgress& progress) {
    return core::cleanRowSelection(ctx_.mainThread, record, kFileEraser, [&](const auto& rows) {
        return shredAll(shredsOf(rows), progress);
    });
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
        const auto totals = fs::measureTreeNoFollow(row.path, stop);
        if (!totals.complete)
            return release(false);
        main.invoke([&row, &totals] { core::setSize(row.record, totals.bytes); });
    }
    release(true);
}

} // namespace tpc::eraser
