#pragma once
// The Presets settings dictionary and the presets array it holds.

#include "core/Value.h"

#include <functional>

namespace tpc::core {
class Settings;
}

namespace tpc::presets {

class PresetStore {
public:
    explicit PresetStore(core::Settings& settings);

    // dictPresets and its "Array Of Presets".
    const core::DictRef& dict() const { return dict_; }
    const core::ArrayRef& presets() const { return presets_; }

    // Reads Presets.plist, or creates it with an empty "Array Of Presets". `applySchedule` runs
    // after a file was loaded (the schedule switch and the weekday entries are applied there);
    // `rebuildCleanMenu` runs in both cases.
    void loadPresets(const std::function<void()>& applySchedule = {},
                     const std::function<void()>& rebuildCleanMenu = {});
    bool save();

    static core::DictRef emptyPresets();

    // Points every item record of every preset at its category record. The category records
    // themselves are left without a holder: marking walks up from an item and stops there, never
    // reaching the preset.
    static void linkPresetParents(const core::ArrayRef& presets);

private:
    core::Settings& settings_;
    core::DictRef dict_;
    core::ArrayRef presets_;
};

} // namespace tpc::presets
