#include "presets/PresetRunner.h"

#include "core/Clock.h"
#include "core/Frontend.h"
#include "core/Keys.h"
#include "core/MainThread.h"
#include "core/Record.h"
#include "core/SizeText.h"
#include "core/TaskFlags.h"
#include "core/TaskTexts.h"
#include "presets/PresetModel.h"

#include <chrono>
#include <utility>

namespace tpc::presets {

using core::Category;
using core::DictRef;
using core::TaskKind;

namespace {

constexpr auto kMenuPollInterval = std::chrono::milliseconds(500);
constexpr const char* kLastScheduledRun = "last scheduled run";

// The one-click button's subtitle after a preset scan: the size found, none when nothing was.
std::optional<std::string> presetSubtitle(std::uint64_t bytes) {
    if (bytes == 0)
        return std::nullopt;
    return "(" + core::getFormattedStringForSize(bytes) + ")";
}

std::uint64_t childrenSize(const DictRef& record) {
    std::uint64_t sum = 0;
    if (auto children = core::subList(record))
        for (const auto& child : children->dicts())
            sum += core::size(child);
    return sum;
}

} // namespace

// A preset and the category records it holds, as a worker walks them.
struct PresetRunner::Run {
    DictRef preset;
    bool marked = false;
    std::vector<std::pair<DictRef, bool>> records; // record, marked
};

PresetRunner::PresetRunner(core::Context& ctx, core::TaskRunner& runner, PresetModel& model,
                           std::function<std::vector<core::CategoryDispatch*>()> categories)
    : ctx_(ctx), runner_(runner), model_(model), categories_(std::move(categories)) {
    scanTask_ = hookedTask(ctx_.frontend, TaskKind::Scan, "Preset", "reloadPresetsListViews");
    cleanTask_ = hookedTask(ctx_.frontend, TaskKind::Clean, "Preset", "reloadPresetsListViews");
    // The preset clean winds down whenever its abort handling is reached.
    cleanTask_.abortHandlingTestsFlag = false;
}

PresetRunner::~PresetRunner() = default;

core::ArrayRef PresetRunner::list() const {
    return model_.presets();
}

core::CategoryDispatch* PresetRunner::driverFor(const std::string& description) const {
    if (!categories_)
        return nullptr;
    for (auto* category : categories_())
        if (category && category != this && category->drives(description))
            return category;
    return nullptr;
}

// ---- Buttons ----

void PresetRunner::buttonScanClicked(core::Sender sender) {
    runner_.buttonClicked(scanTask_, sender, [this] { scanPresets(); });
}

void PresetRunner::buttonCleanClicked(core::Sender sender) {
    runner_.cleanButtonClicked(
        cleanTask_, sender, [this] { cleanPresets(); },
        [this] { buttonScanClicked(core::Sender::Button); });
}

void PresetRunner::startClean() {
    runner_.buttonClicked(cleanTask_, core::Sender::Button, [this] { cleanPresets(); });
}

void PresetRunner::cleanFromSchedule(const std::string& presetName, const core::Date& now) {
    if (auto preset = model_.presetNamed(presetName)) {
        preset->set(kLastScheduledRun, core::Value(now));
        model_.save();
    }
    model_.markOnlyPreset(presetName);
    // A scheduled clean never asks about changes.
    startClean();
}

void PresetRunner::cleanFromMenu(const std::string& title) {
    const bool visible = mainWindowVisible ? mainWindowVisible() : true;
    if (!visible) {
        if (showMainWindow)
            showMainWindow();
        else
            ctx_.frontend.ui("showMainWindow");
    }
    runner_.startThread([this, title] { startThreadErasePresetFromMenu(title); });
}

void PresetRunner::startThreadErasePresetFromMenu(const std::string& name) {
    core::TaskFlags& flags = ctx_.flags;
    const bool anyRunning = flags.running(Category::Presets, TaskKind::Clean) ||
                            flags.otherTaskRunning(Category::Presets, TaskKind::Clean);
    if (anyRunning) {
        ctx_.mainThread.invoke([&flags] { flags.abortAllOtherScansAndCleans(); });
        while (!flags.allScansAndCleansAborted())
            ctx_.clock.sleepFor(kMenuPollInterval);
    }
    ctx_.mainThread.invoke([this, &name] { startErasePresetFromMenu(name); });
}

void PresetRunner::startErasePresetFromMenu(const std::string& name) {
    if (showPresetsPage)
        showPresetsPage();
    else
        ctx_.frontend.ui("showPresetsPage");
    model_.markOnlyPreset(name);
    buttonCleanClicked(core::Sender::Button);
}

void PresetRunner::startOneClickClean() {
    if (showPresetsPage)
        showPresetsPage();
    else
        ctx_.frontend.ui("showPresetsPage");
    if (hooks.reloadLists)
        hooks.reloadLists();
    buttonCleanClicked(core::Sender::Button);
}

void PresetRunner::scanOneClickCleanPreset(std::function<void(const OneClickResult&)> done) {
    model_.markOnlyPreset(kOneClickClean);
    OneClickResult result;
    // On the main thread, at start, before any task runs: the records are measured in place.
    core::WorkerProgress progress(ctx_, runner_, scanTask_);
    if (auto preset = model_.presetNamed(kOneClickClean)) {
        std::uint64_t presetBytes = 0;
        if (auto records = core::subList(preset)) {
            for (const auto& record : records->dicts()) {
                if (!core::isMarked(record))
                    continue;
                core::CategoryDispatch* driver = driverFor(core::description(record));
                if (!driver)
                    continue;
                const auto found = driver->countSelection(record, progress);
                if (!found)
                    break;
                result.bytes += found->bytes;
                result.items += found->count;
                core::setSize(record, childrenSize(record));
                presetBytes += core::size(record);
            }
        }
        core::setSize(preset, presetBytes);
        model_.save();
    }
    if (done)
        done(result);
    else
        ctx_.frontend.ui("showOneClickResult",
                         core::Value(core::DictObj::make({{"size", core::Value(result.bytes)},
                                                          {"items", core::Value(result.items)}})));
}

// ---- Workers ----

bool PresetRunner::measureAll(core::WorkerProgress& progress, std::uint64_t& count,
                              std::uint64_t& bytes) {
    std::vector<Run> runs;
    ctx_.mainThread.invoke([this, &runs] {
        for (const auto& preset : model_.presets()->dicts()) {
            Run run{preset, core::isMarked(preset), {}};
            if (auto records = core::subList(preset))
                for (const auto& record : records->dicts())
                    if (auto children = core::subList(record); children && !children->empty())
                        run.records.emplace_back(record, core::isMarked(record));
            runs.push_back(std::move(run));
        }
    });

    // Every preset is measured, marked or not.
    for (const auto& run : runs) {
        std::uint64_t presetBytes = 0;
        for (const auto& [record, marked] : run.records) {
            (void)marked;
            std::string description;
            ctx_.mainThread.invoke([&record = record, &description] {
                PresetModel::resetSizesOfArray(core::subList(record));
                core::setSize(record, 0);
                description = core::description(record);
            });
            progress.increment();
            if (progress.aborted())
                return false;
            if (core::CategoryDispatch* driver = driverFor(description)) {
                const auto found = driver->countSelection(record, progress);
                if (!found)
                    return false;
                count += found->count;
                bytes += found->bytes;
            }
            ctx_.mainThread.invoke([&record = record, &presetBytes] {
                core::setSize(record, childrenSize(record));
                presetBytes += core::size(record);
            });
        }
        ctx_.mainThread.invoke(
            [&preset = run.preset, presetBytes] { core::setSize(preset, presetBytes); });
    }
    ctx_.mainThread.post([this] { model_.save(); });
    return true;
}

void PresetRunner::scanPresets() {
    core::WorkerProgress progress(ctx_, runner_, scanTask_);
    progress.prepare();
    if (progress.aborted())
        return;

    std::uint64_t maximum = 0;
    ctx_.mainThread.invoke([this, &maximum] { maximum = model_.getCountOfPresetElements(); });
    progress.send(core::determinateMessage(maximum, false));
    progress.status("Scanning Presets...");

    std::uint64_t count = 0;
    std::uint64_t bytes = 0;
    if (!measureAll(progress, count, bytes))
        return;

    progress.closeBar(maximum);
    progress.finish([this, count, bytes] {
        ctx_.frontend.updateTextFieldResult(core::totalsText(bytes, count));
        ctx_.frontend.setSubtitle(core::MainButton::AutoClean, presetSubtitle(bytes));
        ctx_.flags.setChangesMade(false);
    });
}

void PresetRunner::cleanPresets() {
    core::WorkerProgress progress(ctx_, runner_, cleanTask_);
    progress.prepare();
    if (progress.aborted())
        return;

    std::uint64_t maximum = 0;
    std::vector<Run> runs;
    ctx_.mainThread.invoke([this, &maximum, &runs] {
        maximum = model_.getCountOfPresetElements();
        for (const auto& preset : model_.presets()->dicts()) {
            if (!core::isMarked(preset))
                continue;
            Run run{preset, true, {}};
            if (auto records = core::subList(preset))
                for (const auto& record : records->dicts())
                    if (core::isMarked(record))
                        run.records.emplace_back(record, true);
            runs.push_back(std::move(run));
        }
    });
    progress.send(core::determinateMessage(maximum, true));
    progress.status("Shredding Folders/Files...");

    for (const auto& run : runs) {
        for (const auto& [record, marked] : run.records) {
            (void)marked;
            progress.increment();
            if (progress.aborted())
                return;
            std::string description;
            ctx_.mainThread.invoke(
                [&record = record, &description] { description = core::description(record); });
            if (core::CategoryDispatch* driver = driverFor(description))
                if (!driver->cleanSelection(record, progress))
                    return;
        }
    }

    // What is left, measured under the clean's own sheet and flags.
    if (!ctx_.flags.aborting(Category::Presets, TaskKind::Clean)) {
        std::uint64_t count = 0;
        std::uint64_t bytes = 0;
        if (!measureAll(progress, count, bytes))
            return;
        ctx_.mainThread.invoke([this, bytes] {
            ctx_.frontend.setSubtitle(core::MainButton::AutoClean, presetSubtitle(bytes));
            ctx_.flags.setChangesMade(false);
        });
    }

    progress.closeBar(maximum);
    progress.finish([this] {
        if (onCleanEnded)
            onCleanEnded();
        ctx_.frontend.updateTextFieldResult(std::string("Cleaning Done"));
    });
}

// ---- The presets list ----

std::vector<std::string> PresetRunner::markOnly(const std::vector<std::string>& items) {
    std::vector<std::string> unknown;
    for (const auto& preset : model_.presets()->dicts())
        core::setMark(preset, false);
    for (const auto& name : items) {
        if (model_.presetNamed(name))
            model_.markPreset(name);
        else
            unknown.push_back(name);
    }
    model_.save();
    return unknown;
}

void PresetRunner::markAllRows(bool on) {
    model_.markAllPresetsMainList(on);
}

void PresetRunner::setRowMark(int row, bool on) {
    model_.setPresetMark(row, on);
}

core::CheckState PresetRunner::masterCheckState() const {
    return model_.mainListState();
}

void PresetRunner::sortRowsBy(core::SortChoice choice) {
    model_.sortMainList(choice);
}

core::SortChoice PresetRunner::currentSortChoice() const {
    return model_.mainListSort();
}

bool PresetRunner::canClean() const {
    return model_.canClean();
}

} // namespace tpc::presets
