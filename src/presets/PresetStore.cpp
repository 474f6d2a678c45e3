#include "presets/PresetStore.h"

#include "core/Keys.h"
#include "core/Record.h"
#include "core/Settings.h"
#include "presets/PresetRecords.h"

namespace tpc::presets {

using namespace core;

PresetStore::PresetStore(Settings& settings)
    : settings_(settings), dict_(emptyPresets()), presets_(dict_->getArray(keys::ArrayOfPresets)) {}

DictRef PresetStore::emptyPresets() {
    return DictObj::make({{keys::PresetIndex, 0},
                          {keys::PresetName, keys::PresetsName},
                          {keys::ArrayOfPresets, Value::newArray()}});
}

void PresetStore::loadPresets(const std::function<void()>& applySchedule,
                              const std::function<void()>& rebuildCleanMenu) {
    if (!settings_.folderExists()) {
        settings_.ensureFolder();
    } else if (settings_.fileExists(keys::PresetsName)) {
        auto loaded = settings_.load(keys::PresetsName);
        if (loaded.status == Settings::LoadStatus::Loaded) {
            dict_ = loaded.dict;
            if (dict_->getString(keys::PresetName) != keys::PresetsName)
                dict_->set(keys::PresetName, keys::PresetsName);
            presets_ = dict_->getArray(keys::ArrayOfPresets);
            if (!presets_) {
                presets_ = ArrayObj::make();
                dict_->set(keys::ArrayOfPresets, Value(presets_));
            }
            linkPresetParents(presets_);
            if (applySchedule)
                applySchedule();
            if (rebuildCleanMenu)
                rebuildCleanMenu();
            return;
        }
    }
    dict_ = emptyPresets();
    presets_ = dict_->getArray(keys::ArrayOfPresets);
    save();
    if (rebuildCleanMenu)
        rebuildCleanMenu();
}

void PresetStore::linkPresetParents(const ArrayRef& presets) {
    if (!presets)
        return;
    for (const auto& preset : presets->dicts()) {
        preset->parent.reset();
        auto categories = subList(preset);
        if (!categories)
            continue;
        for (const auto& category : categories->dicts())
            records::linkCategoryRecord(category);
    }
}

bool PresetStore::save() {
    return settings_.flushPresetData(dict_);
}

} // namespace tpc::presets
