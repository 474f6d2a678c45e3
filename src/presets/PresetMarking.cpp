// Marking the presets: the main list's check boxes (one level) and the selected preset's sub
// list (category records and their items).

#include "presets/PresetModel.h"

#include "core/Keys.h"
#include "core/Record.h"

namespace tpc::presets {

using namespace core;

void PresetModel::setPresetMark(int row, bool on) {
    const auto rows = presets();
    if (!rows || row < 0 || static_cast<std::size_t>(row) >= rows->size())
        return;
    if (const DictRef preset = rows->at(static_cast<std::size_t>(row)).dict())
        setMark(preset, on);
    tell(kReloadPresetsMainList);
    save();
}

void PresetModel::markPreset(const std::string& name) {
    const DictRef preset = presetNamed(name);
    if (!preset)
        return;
    setMark(preset, true);
    tell(kReloadPresetsMainList);
    save();
}

void PresetModel::markOnlyPreset(const std::string& name) {
    const auto rows = presets();
    if (!rows)
        return;
    for (const auto& preset : rows->dicts())
        setMark(preset, description(preset) == name);
    tell(kReloadPresetsMainList);
    save();
}

void PresetModel::markAllPresetsMainList(bool on) {
    markAll(presets(), on);
    tell(kReloadPresetsMainList);
    save();
}

CheckState PresetModel::clickMainMaster(CheckState current) {
    const CheckState next = clickMaster(presets(), current);
    tell(kReloadPresetsMainList);
    save();
    return next;
}

CheckState PresetModel::mainListState() const {
    return masterState(presets());
}

void PresetModel::markAllPresetsSubList(bool on) {
    const ArrayRef categories = subList();
    if (!categories)
        return;
    // Two levels: the category records and their items.
    for (const auto& category : categories->dicts()) {
        setMark(category, on);
        markAll(core::subList(category), on);
    }
    tell(kReloadPresetsSubList);
    save();
}

CheckState PresetModel::clickSubMaster(CheckState current) {
    if (!selectedPreset())
        return CheckState::Off;
    const CheckState next = current == CheckState::On ? CheckState::Off : CheckState::On;
    markAllPresetsSubList(next == CheckState::On);
    return next;
}

CheckState PresetModel::subListState() const {
    const ArrayRef categories = subList();
    if (!categories)
        return CheckState::Off;
    std::size_t total = 0, marked = 0;
    for (const auto& category : categories->dicts()) {
        ++total;
        marked += isMarked(category) ? 1 : 0;
        if (const auto items = core::subList(category)) {
            total += items->dicts().size();
            marked += countMarked(items);
        }
    }
    if (total == 0 || marked == 0)
        return CheckState::Off;
    return marked == total ? CheckState::On : CheckState::Mixed;
}

void PresetModel::clickSubListRow(const DictRef& row, bool on) {
    if (!row)
        return;
    CheckController(row, on).run();
    tell(kReloadPresetsSubList);
    save();
}

bool PresetModel::canClean() const {
    const auto rows = presets();
    if (!rows)
        return false;
    for (const auto& preset : rows->dicts())
        if (mark(preset) != 0)
            return true;
    return false;
}

} // namespace tpc::presets
