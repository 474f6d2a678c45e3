#include "system/SystemDriver.h"

#include "core/Frontend.h"
#include "core/Keys.h"
#include "core/MainThread.h"
#include "core/Record.h"
#include "core/SizeText.h"
#include "core/TaskFlags.h"
#include "core/TaskTexts.h"
#include "platform/Platform.h"
#include "system/SystemJunk.h"

#include <utility>

namespace tpc::system {

namespace {

using core::DictRef;
using core::MainButton;
using core::RowSnapshot;
using core::SelectionTotals;
using core::TaskKind;
using core::TaskSpec;

constexpr const char* kCleanSystemJunk = "Clean System Junk";

} // namespace

SystemDriver::SystemDriver(core::Context& ctx, core::TaskRunner& runner, SystemJunk& junk)
    : ctx_(ctx), runner_(runner), junk_(junk), arraySystem_(core::ArrayObj::make()) {
    scanTask_ = hookedTask(ctx_.frontend, TaskKind::Scan, "System", "reloadSystemTable");
    cleanTask_ = hookedTask(ctx_.frontend, TaskKind::Clean, "System", "reloadSystemTable");
}

void SystemDriver::reload() {
    hook(ctx_.frontend, hooks.reloadLists, "reloadSystemTable");
}

void SystemDriver::populateSystemData() {
    // The page keeps the list object; only its rows are made here.
    arraySystem_->items = junk_.populateSystemData()->items;
}

// ---- Buttons ----

void SystemDriver::buttonScanClicked(core::Sender sender) {
    runner_.buttonClicked(scanTask_, sender, [this] { scanSystem(); });
}

void SystemDriver::buttonCleanClicked(core::Sender sender) {
    runner_.cleanButtonClicked(
        cleanTask_, sender, [this] { cleanSystem(); },
        [this] { buttonScanClicked(core::Sender::Button); });
}

// ---- Workers ----

void SystemDriver::scanSystem() {
    core::WorkerProgress progress(ctx_, runner_, scanTask_);
    progress.prepare();
    if (progress.aborted())
        return;
    scan(progress, true);
}

std::vector<RowSnapshot> SystemDriver::snapshot() {
    std::vector<RowSnapshot> rows;
    ctx_.mainThread.invoke([this, &rows] { rows = core::rowSnapshots(arraySystem_); });
    return rows;
}

std::optional<SelectionTotals> SystemDriver::countRows(const std::vector<RowSnapshot>& rows,
                                                       core::WorkerProgress& progress,
                                                       bool stepBar) {
    const auto stopping = [&progress] {
        return progress.abortRequested();
    };
    SelectionTotals totals;
    for (const auto& row : rows) {
        if (stepBar)
            progress.increment();
        if (progress.aborted())
            return std::nullopt;
        const SystemCount found = junk_.countSystemDetailsToClear(row.copy, stopping);
        // A folder walk cut short by the abort leaves nothing worth showing.
        if (stopping() && progress.aborted())
            return std::nullopt;
        ctx_.mainThread.invoke([&row, &found] {
            row.record->set(core::keys::Count,
                            core::itemsText(static_cast<std::int64_t>(found.count)));
            core::setSize(row.record, found.size);
        });
        totals.count += found.count;
        totals.bytes += found.size;
    }
    return totals;
}

bool SystemDriver::cleanRows(const std::vector<RowSnapshot>& rows, core::WorkerProgress& progress,
                             bool stepBar) {
    for (const auto& row : rows) {
        if (stepBar)
            progress.increment();
        if (progress.aborted())
            return false;
        if (row.marked)
            junk_.deleteSystemData(row.copy);
    }
    return !progress.aborted();
}

bool SystemDriver::scan(core::WorkerProgress& progress, bool ownsBar) {
    const TaskSpec& task = progress.task();
    core::Frontend& ui = ctx_.frontend;

    const auto rows = snapshot();
    const std::uint64_t maximum = rows.size();
    progress.send(core::determinateMessage(maximum, false));
    progress.status("Scanning System...");
    const auto totals = countRows(rows, progress, true);
    if (!totals)
        return false;

    const auto report = [this, &ui, totalSize = totals->bytes, totalCount = totals->count] {
        ui.updateTextFieldResult(core::totalsText(totalSize, totalCount));
        ui.setSubtitle(MainButton::System, core::foundSubtitle(totalSize, totalCount));
        ctx_.flags.setChangesMade(false);
    };
    if (ownsBar) {
        progress.closeBar(maximum);
        progress.finish(report);
    } else {
        ctx_.mainThread.invoke([&report, &task] {
            report();
            task.reloadLists();
        });
    }
    return true;
}

void SystemDriver::cleanSystem() {
    core::WorkerProgress progress(ctx_, runner_, cleanTask_);
    progress.prepare();
    if (progress.aborted())
        return;

    // The marks as the page shows them now; its controls stay disabled until the clean ends.
    const auto rows = snapshot();
    const std::uint64_t maximum = rows.size();
    progress.send(core::determinateMessage(maximum, true));
    progress.status("Cleaning Recents & Caches...");
    if (!cleanRows(rows, progress, true))
        return;

    // The rescan shows what is left, under the clean's own sheet and flags.
    if (!scan(progress, false))
        return;
    progress.closeBar(maximum);
    progress.finish([this] { ctx_.frontend.updateTextFieldResult(std::string("Cleaning Done")); });
}

// ---- A preset's selection ----

bool SystemDriver::drives(const std::string& description) const {
    return description == kCleanSystemJunk;
}

std::optional<SelectionTotals> SystemDriver::countSelection(const DictRef& record,
                                                            core::WorkerProgress& progress) {
    return core::countRowSelection(
        ctx_.mainThread, record, kCleanSystemJunk,
        [&](const auto& rows) { return countRows(rows, progress, false); });
}

bool SystemDriver::cleanSelection(const DictRef& record, core::WorkerProgress& progress) {
    return core::cleanRowSelection(
        ctx_.mainThread, record, kCleanSystemJunk,
        [&](const auto& rows) { return cleanRows(rows, progress, false); });
}

// ---- Marking ----

core::AlertRequest SystemDriver::downloadsNotice() const {
    core::AlertRequest notice;
    notice.title = "Information";
    notice.message = "This option will delete every file in the \"" +
                     ctx_.platform.downloads().string() + "\" folder.";
    notice.defaultButton = "OK";
    return notice;
}

void SystemDriver::systemCheckBoxButtonClicked(core::CheckState shown) {
    const bool on = shown != core::CheckState::Off;
    if (on)
        ctx_.frontend.showAlert(downloadsNotice());
    markAllSystem(on);
}

void SystemDriver::markAllSystem(bool on) {
    core::markAll(arraySystem_, on);
    reload();
}

void SystemDriver::setRowMark(int row, bool on) {
    if (row < 0 || static_cast<std::size_t>(row) >= arraySystem_->size())
        return;
    auto rec = arraySystem_->at(static_cast<std::size_t>(row)).dict();
    if (!rec)
        return;
    if (on && core::description(rec) == kUserDownloads)
        ctx_.frontend.showAlert(downloadsNotice());
    core::setMark(rec, on);
    reload();
}

std::vector<std::string> SystemDriver::markOnly(const std::vector<std::string>& items) {
    core::markAll(arraySystem_, false);
    std::vector<std::string> unknown;
    bool downloadsMarked = false;
    for (const auto& name : items) {
        bool found = false;
        for (const auto& rec : arraySystem_->dicts()) {
            if (core::description(rec) != name)
                continue;
            core::setMark(rec, true);
            found = true;
            downloadsMarked = downloadsMarked || name == kUserDownloads;
        }
        if (!found)
            unknown.push_back(name);
    }
    if (downloadsMarked)
        ctx_.frontend.showAlert(downloadsNotice());
    reload();
    return unknown;
}

core::CheckState SystemDriver::reflectMarkStatusInSystem() const {
    return core::masterState(arraySystem_);
}

bool SystemDriver::enableOrDisableSystemScanAndCleanButton() const {
    return core::countMarked(arraySystem_) > 0;
}

// ---- Sorting ----

void SystemDriver::systemPopUpButtonClicked(core::SortChoice choice) {
    core::sortRows(arraySystem_, choice, core::SortPolicy{true, false});
    reload();
}

core::SortChoice SystemDriver::reflectPopUpButtonTitleInSystem() const {
    return core::currentSort(arraySystem_);
}

} // namespace tpc::system
