// The presets list: selection, adding and removing presets and their items, the pop-ups and the
// status menu's "Clean" submenu.

#include "presets/PresetModel.h"

#include "core/Keys.h"
#include "core/Record.h"
#include "core/SizeText.h"
#include "core/TaskFlags.h"
#include "presets/PresetRecords.h"
#include "presets/PresetStore.h"

#include <algorithm>

namespace tpc::presets {

using namespace core;

namespace {

constexpr const char* kAddItemToPreset = "Add Item to Preset";

// Removes `record` (the same object) from `rows`; answers whether it was there.
bool removeRecordFromPresetList(const ArrayRef& rows, const DictRef& record) {
    const int at = records::indexOf(rows, record);
    if (at < 0)
        return false;
    rows->items.erase(rows->items.begin() + at);
    return true;
}

} // namespace

PresetModel::PresetModel(PresetStore& store, TaskFlags& flags) : store_(store), flags_(flags) {}

ArrayRef PresetModel::presets() const {
    return store_.presets();
}

void PresetModel::selectRow(int row) {
    const auto rows = presets();
    const bool inRange = rows && row >= 0 && static_cast<std::size_t>(row) < rows->size();
    selectedRow_ = inRange ? row : -1;
}

DictRef PresetModel::selectedPreset() const {
    const auto rows = presets();
    if (!rows || selectedRow_ < 0 || static_cast<std::size_t>(selectedRow_) >= rows->size())
        return nullptr;
    return rows->at(static_cast<std::size_t>(selectedRow_)).dict();
}

ArrayRef PresetModel::subList() const {
    return core::subList(selectedPreset());
}

DictRef PresetModel::presetNamed(const std::string& name) const {
    const auto rows = presets();
    if (!rows)
        return nullptr;
    for (const auto& preset : rows->dicts())
        if (description(preset) == name)
            return preset;
    return nullptr;
}

std::string PresetModel::nextPresetName(const ArrayRef& presets) {
    std::vector<std::string> taken;
    if (presets)
        for (const auto& preset : presets->dicts())
            taken.push_back(preset->getString(keys::PresetName));
    std::size_t number = presets ? presets->size() : 0;
    for (;;) {
        std::string name = "Preset #" + std::to_string(number);
        if (std::find(taken.begin(), taken.end(), name) == taken.end())
            return name;
        ++number;
    }
}

DictRef PresetModel::addPreset() {
    const auto rows = presets();
    const DictRef preset =
        records::newPreset(rows, nextPresetName(rows), records::kAddedPresetIcon);
    const std::int64_t position = preset->getInt(keys::ValueForDefaultSort);
    rows->append(Value(preset));
    flags_.setChangesMade(true);
    sortPresetsArrayByPreviousSort();
    selectRow(records::rowWithDefaultPosition(rows, position));
    tell(kReloadPresetsMainList);
    tell(kReloadScheduleTable);
    save();
    tell(kReflectSubMenuCleanItems);
    tell(kReflectPopUpButtonsAddToPreset);
    return preset;
}

void PresetModel::removeSelectedPreset() {
    const DictRef preset = selectedPreset();
    if (!preset)
        return;
    // The weekly schedule forgets the preset before it goes.
    for (const char* day : keys::Weekdays) {
        const DictRef entry = preset->getDict(day);
        if (entry && removeSchedule)
            removeSchedule(entry);
    }
    const auto rows = presets();
    rows->items.erase(rows->items.begin() + selectedRow_);
    flags_.setChangesMade(true);
    renumberDefaultSort(rows);
    sortByPreviousSort(rows);
    selectedRow_ = -1;
    tell(kReloadPresetsMainList);
    tell(kReloadScheduleTable);
    save();
    tell(kReflectSubMenuCleanItems);
    tell(kReflectPopUpButtonsAddToPreset);
}

void PresetModel::removeSubListItem(const DictRef& row) {
    const DictRef preset = selectedPreset();
    if (!preset)
        return;
    const ArrayRef categories = core::subList(preset);
    if (!categories || categories->empty()) {
        setSize(preset, 0);
    } else if (removeRecordFromPresetList(categories, row)) {
        flags_.setChangesMade(true);
        setPresetSizes(preset);
    } else if (const DictRef holder = parent(row);
               holder && removeRecordFromPresetList(core::subList(holder), row)) {
        flags_.setChangesMade(true);
        // A category left empty has nothing to clean: it goes with its last item.
        if (core::subList(holder)->empty())
            removeRecordFromPresetList(categories, holder);
        setPresetSizes(preset);
    }
    tell(kReloadPresetsSubList);
    save();
}

bool PresetModel::removePresetEnabled() const {
    const DictRef preset = selectedPreset();
    return preset && description(preset) != kOneClickClean;
}

bool PresetModel::removeItemEnabled(const DictRef& subListRow, bool current) const {
    const DictRef preset = selectedPreset();
    // The built-in preset's items stay removable exactly as the button already was.
    if (preset && description(preset) == kOneClickClean)
        return current;
    return preset && subListRow && subListRow->getBool(keys::IsRootItem);
}

std::vector<std::string> PresetModel::addToPresetEntries() const {
    std::vector<std::string> entries{kAddItemToPreset, std::string()};
    if (const auto rows = presets())
        for (const auto& preset : rows->dicts())
            if (description(preset) != kOneClickClean)
                entries.push_back(description(preset));
    return entries;
}

DictRef PresetModel::popUpTarget(int position, const std::string& title,
                                 const DictRef& pageRow) const {
    const auto rows = presets();
    // Positions 0 and 1 are the pop-up's title and separator.
    if (position < 2 || !pageRow || !rows || rows->empty())
        return nullptr;
    DictRef preset = presetNamed(title);
    return preset ? preset : rows->at(0).dict();
}

bool PresetModel::addRowToPreset(int position, const std::string& title, const DictRef& pageRow) {
    const DictRef preset = popUpTarget(position, title, pageRow);
    if (!preset || records::holdsCategory(preset, description(pageRow)))
        return false;
    records::ensureSubList(preset)->append(Value(records::copyCategoryRecord(pageRow, false)));
    tell(kReloadPresetsSubList);
    tell(kReloadPresetsMainList);
    save();
    return true;
}

std::vector<std::string> PresetModel::rebuildCleanMenu(std::vector<std::string> entries) const {
    // The removal pass as the menu has always done it: remove at a position, step on, and go on
    // while (the position just used - 1) < (entries left - 2). Removing shifts the next entry
    // into the position just used, so every second old entry survives.
    std::size_t position = 2;
    for (;;) {
        if (position < entries.size())
            entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(position));
        const std::size_t used = position++;
        const auto left = static_cast<std::ptrdiff_t>(entries.size());
        if (!(static_cast<std::ptrdiff_t>(used) - 1 < left - 2))
            break;
    }
    if (const auto rows = presets())
        for (const auto& preset : rows->dicts())
            if (description(preset) != kOneClickClean)
                entries.push_back(description(preset));
    return entries;
}

void PresetModel::setParentsArrayPresets() {
    PresetStore::linkPresetParents(presets());
}

bool PresetModel::save() {
    return store_.save();
}

void PresetModel::tell(const char* what) const {
    if (notify)
        notify(what);
}

} // namespace tpc::presets
