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

using core::Category;
using core::DictRef;
using core::MainButton;
using core::TaskKind;
using core::TaskSpec;

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

std::vector<RecentsDriver::Snapshot> RecentsDriver::snapshot() {
    std::vector<Snapshot> rows;
    ctx_.mainThread.invoke([this, &rows] {
        for (const auto& rec : catalogue_.arrayRecents()->dicts())
            rows.push_back({rec, core::Value(rec).deepCopy().dict(), core::isMarked(rec)});
    });
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
    const TaskSpec& task = progress.task();
    const auto rows = snapshot();
    rowCount_ = rows.size();
    progress.send(core::determinateMessage(rowCount_, false));
    progress.status("Scanning Recents & Caches...");

    totalCount_ = 0;
    totalSize_ = 0;
    auto abortRequested = [this, &task] {
        return ctx_.flags.aborting(task.category, task.kind);
    };
    for (const auto& row : rows) {
        if (progress.aborted())
            return false;
        const AppCount count = traces_.countAppDetailsToClear(row.copy, abortRequested);
        if (progress.aborted())
            return false;
        const std::uint64_t bytes = bytesOf(count);
        if (count.count > 0)
            totalCount_ += static_cast<std::uint64_t>(count.count);
        totalSize_ += bytes;
        ctx_.mainThread.invoke([&row, &count, bytes] {
            row.record->set(core::keys::Count, core::itemsText(count.count));
            core::setSize(row.record, bytes);
        });
        progress.increment();
    }
    return true;
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
    for (const auto& row : rows) {
        if (progress.aborted())
            return;
        if (row.marked)
            traces_.deleteAppData(row.copy);
        progress.increment();
    }
    if (progress.aborted())
        return;

    // The rescan shows what is left, on a bar of its own length.
    if (!scan(progress))
        return;
    ctx_.mainThread.invoke([this] { showTotals(); });
    progress.closeBar(rowCount_);
    progress.finish([this] { ctx_.frontend.updateTextFieldResult(std::string("Cleaning Done")); });
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

} // namespace tpc::apps
