// Sorting the presets and their sub lists, and rolling the scanned sizes up.

#include "presets/PresetModel.h"

#include "core/Keys.h"
#include "core/Record.h"
#include "core/SizeText.h"
#include "presets/PresetRecords.h"

#include <algorithm>

namespace tpc::presets {

using namespace core;

namespace {

// A first "Sort by Size" puts the biggest preset on top; a first "Sort by Name" is A to Z.
constexpr SortPolicy kPresetSortPolicy{true, false};

} // namespace

void PresetModel::sortMainList(SortChoice choice) {
    sortRows(presets(), choice, kPresetSortPolicy);
    selectedRow_ = -1;
    tell(kReloadPresetsMainList);
    save();
    tell(kReflectSubMenuCleanItems);
    tell(kReflectPopUpButtonsAddToPreset);
}

void PresetModel::sortSubList(SortChoice choice) {
    const ArrayRef categories = subList();
    if (!categories)
        return;
    sortRows(categories, choice, kPresetSortPolicy);
    tell(kReloadPresetsSubList);
    save();
}

SortChoice PresetModel::mainListSort() const {
    return currentSort(presets());
}

SortChoice PresetModel::subListSort() const {
    return currentSort(subList());
}

void PresetModel::sortPresetsArrayByPreviousSort() {
    // The selection follows its preset to wherever the sort puts it.
    const DictRef selected = selectedPreset();
    sortByPreviousSort(presets());
    selectedRow_ = records::indexOf(presets(), selected);
}

void PresetModel::sortPresetsArrayByTempDefaultSort() {
    const auto rows = presets();
    if (!rows)
        return;
    const DictRef selected = selectedPreset();
    std::stable_sort(rows->items.begin(), rows->items.end(), [](const Value& a, const Value& b) {
        const DictRef x = a.dict(), y = b.dict();
        return (x ? x->getInt(keys::ValueForDefaultSort) : 0) <
               (y ? y->getInt(keys::ValueForDefaultSort) : 0);
    });
    selectedRow_ = records::indexOf(rows, selected);
}

void PresetModel::resetSizesOfArray(const ArrayRef& records) {
    if (!records)
        return;
    for (const auto& record : records->dicts()) {
        setSize(record, 0);
        if (const auto children = core::subList(record))
            for (const auto& child : children->dicts())
                setSize(child, 0);
    }
}

void PresetModel::setPresetSizes(const DictRef& preset) {
    if (!preset)
        return;
    std::uint64_t total = 0;
    if (const auto categories = core::subList(preset)) {
        for (const auto& category : categories->dicts()) {
            std::uint64_t bytes = 0;
            if (const auto items = core::subList(category))
                for (const auto& item : items->dicts())
                    bytes += size(item);
            setSize(category, bytes);
            total += bytes;
        }
    }
    setSize(preset, total);
}

std::size_t PresetModel::getCountOfPresetElements() const {
    const auto rows = presets();
    if (!rows)
        return 0;
    std::size_t count = 0;
    for (const auto& preset : rows->dicts())
        if (isMarked(preset))
            if (const auto categories = core::subList(preset))
                count += categories->size();
    return count;
}

} // namespace tpc::presets
