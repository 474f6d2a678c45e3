#pragma once
// The presets subsystem: the stored presets.

#include "core/Module.h"
#include "presets/PresetStore.h"

namespace tpc::presets {

class PresetsModule final : public core::Module {
public:
    explicit PresetsModule(core::Settings& settings) : store_(settings) {}

    std::string name() const override { return "presets"; }
    void start(core::StartupStep step, const core::StartupOptions&) override {
        if (step == core::StartupStep::Lists)
            store_.loadPresets();
    }

    PresetStore& store() { return store_; }

private:
    PresetStore store_;
};

} // namespace tpc::presets
