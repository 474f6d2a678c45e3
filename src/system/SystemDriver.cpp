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

using core::Category;
using core::DictRef;
using core::MainButton;
using core::TaskKind;
using core::TaskSpec;

// A record's copy for the worker to read while the page keeps the original.
DictRef workerCopy(const DictRef& rec) {
    return core::Value(rec).deepCopy().dict();
}

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

bool SystemDriver::scan(core::WorkerProgress& progress, bool ownsBar) {
    const TaskSpec& task = progress.task();
    core::MainThread& main = ctx_.mainThread;
    core::Frontend& ui = ctx_.frontend;

    // Each row with the copy the count reads.
    std::vector<std::pair<DictRef, DictRef>> rows;
    main.invoke([this, &rows] {
        for (const auto& rec : arraySystem_->dicts())
            rows.emplace_back(rec, workerCopy(rec));
    });
    const std::uint64_t maximum = rows.size();
    progress.send(core::determinateMessage(maximum, false));
    progress.status("Scanning System...");

    const auto stopping = [this, &task] {
        return ctx_.flags.aborting(task.category, task.kind);
    };
    std::uint64_t totalCount = 0;
    std::uint64_t totalSize = 0;
    for (const auto& [rec, copy] : rows) {
        progress.increment();
        if (progress.aborted())
            return false;
        const SystemCount found = junk_.countSystemDetailsToClear(copy, stopping);
        // A folder walk cut short by the abort leaves nothing worth showing.
        if (stopping() && progress.aborted())
            return false;
        main.invoke([&rec, &found] {
            rec->set(core::keys::Count, core::itemsText(static_cast<std::int64_t>(found.count)));
            core::setSize(rec, found.size);
        });
        totalCount += found.count;
        totalSize += found.size;
    }

    const auto report = [this, &ui, totalSize, totalCount] {
        ui.updateTextFieldResult(core::totalsText(totalSize, totalCount));
        ui.setSubtitle(MainButton::System, core::foundSubtitle(totalSize, totalCount));
        ctx_.flags.setChangesMade(false);
    };
    if (ownsBar) {
        progress.closeBar(maximum);
        progress.finish(report);
    } else {
        main.invoke([&report, &task] {
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
    std::vector<std::pair<DictRef, bool>> plan;
    ctx_.mainThread.invoke([this, &plan] {
        for (const auto& rec : arraySystem_->dicts())
            plan.emplace_back(workerCopy(rec), core::isMarked(rec));
    });
    const std::uint64_t maximum = plan.size();
    progress.send(core::determinateMessage(maximum, true));
    progress.status("Cleaning Recents & Caches...");

    for (const auto& [copy, marked] : plan) {
        progress.increment();
        if (progress.aborted())
            return;
        if (marked)
            junk_.deleteSystemData(copy);
    }
    if (progress.aborted())
        return;

    // The rescan shows what is left, under the clean's own sheet and flags.
    if (!scan(progress, false))
        return;
    progress.closeBar(maximum);
    progress.finish([this] { ctx_.frontend.updateTextFieldResult(std::string("Cleaning Done")); });
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
