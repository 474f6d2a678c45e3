#pragma once
// Running presets: the preset scan measures what every preset's category records select, the
// preset clean removes what the marked presets' marked records select, then measures again. Each
// category record is handed to the category that drives its "Description" (CategoryDispatch), so
// this file knows no cleaner. The entry points of a preset clean: the Auto clean page's Clean
// button, a preset entry of the status menu's "Clean" submenu, the one-click button and the
// weekly schedule.

#include "core/CategoryEngine.h"
#include "core/Context.h"
#include "core/TaskRunner.h"
#include "core/WorkerProgress.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tpc::presets {

class PresetModel;

// What the one-click box on the start of the Auto clean page shows.
struct OneClickResult {
    std::uint64_t bytes = 0;
    std::uint64_t items = 0;
};

class PresetRunner final : public core::CategoryEngine {
public:
    // `categories` answers the categories that drive category records (asked at every run).
    PresetRunner(core::Context& ctx, core::TaskRunner& runner, PresetModel& model,
                 std::function<std::vector<core::CategoryDispatch*>()> categories);
    ~PresetRunner() override;

    std::string name() const override { return "presets"; }
    core::Category category() const override { return core::Category::Presets; }
    core::MainButton button() const override { return core::MainButton::AutoClean; }
    core::ArrayRef list() const override;

    // buttonPresetsScanClicked (also the abort button while the scan runs).
    void buttonScanClicked(core::Sender sender) override;
    // buttonPresetsCleanClicked from the page's Clean button (or the abort button): the
    // "Changes Made" prompt, then the clean of the marked presets.
    void buttonCleanClicked(core::Sender sender) override;
    // buttonPresetsCleanClicked from the weekly schedule: stamps `now` as the preset's "last
    // scheduled run", marks only that preset and cleans it, never prompting.
    void cleanFromSchedule(const std::string& presetName, const core::Date& now);
    // buttonPresetsCleanClicked from a status-menu entry titled `title`: shows the main window
    // and runs startThreadErasePresetFromMenu on a thread of its own (it aborts a running task
    // and waits for it in 0.5 s steps, then starts the clean of that preset alone).
    void cleanFromMenu(const std::string& title);
    // startOneClickClean: the one-click button.
    void startOneClickClean();
    // scanOneClickCleanPreset: marks only the built-in preset and measures its marked category
    // records; `done` gets the result on the main thread (the one-click box). Runs as the
    // presets' scan task does, without the progress sheet.
    void scanOneClickCleanPreset(std::function<void(const OneClickResult&)> done = {});

    std::vector<std::string> markOnly(const std::vector<std::string>& items) override;
    void markAllRows(bool on) override;
    void setRowMark(int row, bool on) override;
    core::CheckState masterCheckState() const override;
    void sortRowsBy(core::SortChoice choice) override;
    core::SortChoice currentSortChoice() const override;
    bool canClean() const override;

    // A preset inside a preset is not a thing: presets drive no category record.
    bool drives(const std::string&) const override { return false; }
    std::optional<core::SelectionTotals> countSelection(const core::DictRef&,
                                                        core::WorkerProgress&) override {
        return core::SelectionTotals{};
    }
    bool cleanSelection(const core::DictRef&, core::WorkerProgress&) override { return true; }

    // The status-menu path's steps, public for the front ends and tests.
    void startThreadErasePresetFromMenu(const std::string& name);
    void startErasePresetFromMenu(const std::string& name);

    // What the main window does for the one-click and status-menu paths (set by the desktop
    // application; the command line leaves them unset and hears Frontend::ui instead).
    std::function<void()> showMainWindow;
    std::function<bool()> mainWindowVisible;
    std::function<void()> showPresetsPage;
    // Runs on the main thread as a preset clean ends normally, before "Cleaning Done" (the weekly
    // schedule's last-run text and its clean-running flag).
    std::function<void()> onCleanEnded;

private:
    struct Run;
    void startClean();
    void scanPresets();
    void cleanPresets();
    bool measureAll(core::WorkerProgress& progress, std::uint64_t& count, std::uint64_t& bytes);
    core::CategoryDispatch* driverFor(const std::string& description) const;

    core::Context& ctx_;
    core::TaskRunner& runner_;
    PresetModel& model_;
    std::function<std::vector<core::CategoryDispatch*>()> categories_;
    core::TaskSpec scanTask_;
    core::TaskSpec cleanTask_;
};

} // namespace tpc::presets
