#include "apps/RecentsDriver.h"

#include "apps/AppCatalogue.h"
#include "apps/AppTraces.h"
#include "core/Frontend.h"
#include "core/Keys.h"
#include "core/MainThread.h"
#include "core/Record.h"
#include "core/SizeText.h"
#include "core/TaskFlags.h"
#include "core/TaskTexts.h"
#include "core/WorkerProgress.h"

#include <utility>

namespace tpc::apps {

namespace {

using core::DictRef;
using core::MainButton;
using core::SelectionTotals;
using core::TaskKind;

constexpr const char* kCleanAppJunk = "Clean App Junk";

// A count's size as the byte count the records keep: a sum that wrapped past 2 GiB comes back
// negative and is read as the unsigned number it is.
std::uint64_t bytesOf(const AppCount& count) {
    return static_cast<std::uint32_t>(count.size);
}

} // namespace

RecentsDriver::RecentsDriver(core::Context& ctx, core::TaskRunner& runner, AppCatalogue& catalogue,
                             AppTraces& traces)
    : ctx_(ctx), runner_(runner), catalogue_(catalogue), traces_(traces) {
    scanTask_ = hookedTask(ctx_.frontend, TaskKind::Scan, "Recents", "reloadRecentsTableView");
    cleanTask_ = hookedTask(ctx_.frontend, TaskKind::Clean, "Recents", "reloadRecentsTableView");
}

core::ArrayRef RecentsDriver::list() const {
    return catalogue_.arrayRecents();
}

// ---- Buttons ----

void RecentsDriver::buttonScanClicked(core::Sender sender) {
    runner_.buttonClicked(scanTask_, sender, [this] { scanRecents(); });
}

void RecentsDriver::buttonCleanClicked(core::Sender sender) {
    runner_.cleanButtonClicked(
        cleanTask_, sender, [this] { cleanRecents(); },
        [this] { buttonScanClicked(core::Sender::Button); });
}

// ---- Workers ----

std::vector<core::RowSnapshot> RecentsDriver::snapshot() {
    std::vector<core::RowSnapshot> rows;
    ctx_.mainThread.invoke([this, &rows] { rows = core::rowSnapshots(catalogue_.arrayRecents()); });
    return rows;
}

void RecentsDriver::scanRecents() {
    core::WorkerProgress progress(ctx_, runner_, scanTask_);
    progress.prepare();
    if (progress.aborted())
        return;
    if (!scan(progress))
        return;
    progress.closeBar(rowCount_);
    progress.finish([this] { showTotals(); });
}

bool RecentsDriver::scan(core::WorkerProgress& progress) {
    const auto rows = snapshot();
    rowCount_ = rows.size();
    progress.send(core::determinateMessage(rowCount_, false));
    progress.status("Scanning Recents & Caches...");
    totalCount_ = 0;
    totalSize_ = 0;
    const auto totals = countRows(rows, progress, true);
    if (!totals)
        return false;
    totalCount_ = totals->count;
    totalSize_ = totals->bytes;
    return true;
}

std::optional<SelectionTotals> RecentsDriver::countRows(const std::vector<core::RowSnapshot>& rows,
                                                        core::WorkerProgress& progress,
                                                        bool stepBar) {
    auto abortRequested = [&progress] {
        return progress.abortRequested();
    };
    SelectionTotals totals;
    for (const auto& row : rows) {
        if (progress.aborted())
            return std::nullopt;
        const AppCount count = traces_.countAppDetailsToClear(row.copy, abortRequested);
        if (progress.aborted())
            return std::nullopt;
        const std::uint64_t bytes = bytesOf(count);
        if (count.count > 0)
            totals.count += static_cast<std::uint64_t>(count.count);
        totals.bytes += bytes;
        ctx_.mainThread.invoke([&row, &count, bytes] {
            row.record->set(core::keys::Count, core::itemsText(count.count));
            core::setSize(row.record, bytes);
        });
        if (stepBar)
            progress.increment();
    }
    return totals;
}

bool RecentsDriver::cleanRows(const std::vector<core::RowSnapshot>& rows,
                              core::WorkerProgress& progress, bool stepBar) {
    for (const auto& row : rows) {
        if (progress.aborted())
            return false;
        if (row.marked)
            traces_.deleteAppData(row.copy);
        if (stepBar)
            progress.increment();
    }
    return !progress.aborted();
}

// On the main thread: the totals of the last scan, which now reflects every change.
void RecentsDriver::showTotals() {
    ctx_.frontend.updateTextFieldResult(core::totalsText(totalSize_, totalCount_));
    ctx_.frontend.setSubtitle(MainButton::Recents, core::foundSubtitle(totalSize_, totalCount_));
    ctx_.flags.setChangesMade(false);
}

void RecentsDriver::cleanRecents() {
    core::WorkerProgress progress(ctx_, runner_, cleanTask_);
    progress.prepare();
    if (progress.aborted())
        return;

    // The records as the page shows them; its controls stay disabled until the clean ends.
    const auto rows = snapshot();
    progress.send(core::determinateMessage(rows.size(), true));
    progress.status("Cleaning Recents & Caches...");
    if (!cleanRows(rows, progress, true))
        return;

    // The rescan shows what is left, on a bar of its own length.
    if (!scan(progress))
        return;
    ctx_.mainThread.invoke([this] { showTotals(); });
    progress.closeBar(rowCount_);
    progress.finish([this] { ctx_.frontend.updateTextFieldResult(std::string("Cleaning Done")); });
}

// ---- A preset's selection ----

bool RecentsDriver::drives(const std::string& description) const {
    return description == kCleanAppJunk;
}

std::optional<SelectionTotals> RecentsDriver::countSelection(const DictRef& record,
                                                             core::WorkerProgress& progress) {
    return core::countRowSelection(ctx_.mainThread, record, kCleanAppJunk, [&](const auto& rows) {
        return countRows(rows, progress, false);
    });
}

bool RecentsDriver::cleanSelection(const DictRef& record, core::WorkerProgress& progress) {
    return core::cleanRowSelection(ctx_.mainThread, record, kCleanAppJunk, [&](const auto& rows) {
        return cleanRows(rows, progress, false);
    });
}

// ---- Marking ----

std::vector<std::string> RecentsDriver::markOnly(const std::vector<std::string>& items) {
    const auto rows = catalogue_.arrayRecents();
    core::markAll(rows, false);
    std::vector<std::string> unknown;
    for (const auto& name : items) {
        bool found = false;
        for (const auto& rec : rows->dicts())
            if (core::description(rec) == name || core::path(rec) == name) {
                core::setMark(rec, true);
                found = true;
            }
        if (!found)
            unknown.push_back(name);
    }
    scanTask_.reloadLists();
    return unknown;
}

void RecentsDriver::markAllRows(bool on) {
    catalogue_.markAllRecents(on);
}

void RecentsDriver::setRowMark(int row, bool on) {
    catalogue_.setRowMark(row, on);
}

core::CheckState RecentsDriver::masterCheckState() const {
    return catalogue_.reflectMarkStatusInRecents();
}

// ---- Sorting ----

void RecentsDriver::sortRowsBy(core::SortChoice choice) {
    catalogue_.recentsPopUpButtonClicked(choice);
}

core::SortChoice RecentsDriver::currentSortChoice() const {
    return catalogue_.reflectPopUpButtonTitleInRecents();
}

bool RecentsDriver::canClean() const {
    return catalogue_.enableOrDisableRecentsScanAndCleanButton();
}

} // namespace tpc::apps
