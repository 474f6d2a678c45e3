// The built-in "One Click Clean" preset: every browser of the browser page and the system junk.

#include "presets/PresetModel.h"

#include "core/Keys.h"
#include "core/Record.h"
#include "core/SizeText.h"
#include "presets/PresetRecords.h"

namespace tpc::presets {

using namespace core;

namespace {

DictRef presetWithStoredName(const ArrayRef& presets, const std::string& name) {
    for (const auto& preset : presets->dicts())
        if (preset->getString(keys::PresetName) == name)
            return preset;
    return nullptr;
}

} // namespace

DictRef PresetModel::buildSystemJunkRecord(const ArrayRef& systemRows) const {
    const auto rows = presets();
    ArrayRef items = systemRows ? Value(systemRows).deepCopy().array() : ArrayObj::make();
    auto record = DictObj::make(
        {{keys::DescriptionDictionary,
          Value(DictObj::make(
              {{keys::Description, kCleanSystemJunk}, {keys::Icon, records::kSystemJunkIcon}}))},
         {keys::Mark, 1},
         {keys::IsRootItem, true},
         {keys::SortedByItem, keys::DefaultSort},
         {keys::ValueForDefaultSort, Value(static_cast<std::int64_t>(rows ? rows->size() : 0))},
         {keys::SubListArray, Value(items)}});
    setSize(record, 0);
    // The junk locations keep their marks and icons; only their sizes start over.
    for (const auto& item : items->dicts()) {
        item->remove(keys::Parent);
        setSize(item, 0);
    }
    records::linkCategoryRecord(record);
    return record;
}

void PresetModel::ensureDefaultPreset(const ArrayRef& browserRows, const ArrayRef& systemRows) {
    const auto rows = presets();
    DictRef preset = presetWithStoredName(rows, kOneClickClean);
    if (!preset) {
        preset = records::newPreset(rows, kOneClickClean, records::kOneClickCleanIcon);
        const ArrayRef categories = records::ensureSubList(preset);
        if (browserRows)
            for (const auto& browser : browserRows->dicts())
                categories->append(Value(records::copyCategoryRecord(browser, true)));
        categories->append(Value(buildSystemJunkRecord(systemRows)));
        const std::int64_t position = preset->getInt(keys::ValueForDefaultSort);
        rows->append(Value(preset));
        sortPresetsArrayByPreviousSort();
        selectRow(records::rowWithDefaultPosition(rows, position));
    } else {
        // Browsers installed since the preset was made join it at the top.
        const ArrayRef categories = records::ensureSubList(preset);
        if (browserRows)
            for (const auto& browser : browserRows->dicts())
                if (!records::holdsCategory(preset, description(browser)))
                    categories->items.insert(categories->items.begin(),
                                             Value(records::copyCategoryRecord(browser, true)));
        if (!records::holdsCategory(preset, kCleanSystemJunk))
            categories->append(Value(buildSystemJunkRecord(systemRows)));
        selectRow(records::indexOf(rows, preset));
    }
    tell(kReloadPresetsMainList);
    tell(kReloadPresetsSubList);
    tell(kReloadScheduleTable);
    save();
}

} // namespace tpc::presets
