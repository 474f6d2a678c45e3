#pragma once
// The presets subsystem: the stored presets, their model (marking, sorting, adding and removing)
// and the runner that scans and cleans them through the other subsystems' categories.

#include "core/CategoryEngine.h"
#include "core/Context.h"
#include "core/Module.h"
#include "core/TaskRunner.h"
#include "presets/PresetModel.h"
#include "presets/PresetRunner.h"
#include "presets/PresetStore.h"

#include <functional>
#include <vector>

namespace tpc::presets {

class PresetsModule final : public core::Module {
public:
    // `categories` answers every cleaning category of the program (the browsers' and the
    // system's lists fill the built-in preset; the others count and clean preset records).
    using Categories = std::function<std::vector<core::CategoryEngine*>()>;

    PresetsModule(core::Context& ctx, core::TaskRunner& runner, Categories categories);

    std::string name() const override { return "presets"; }
    void start(core::StartupStep step, const core::StartupOptions& options) override;
    std::vector<core::CategoryEngine*> categories() override { return {&runner_}; }

    PresetStore& store() { return store_; }
    PresetModel& model() { return model_; }
    PresetRunner& runner() { return runner_; }

    // Hears the one-click result that start-up measures (set by the desktop application before
    // start-up; unset, the front end hears it through Frontend::ui).
    std::function<void(const OneClickResult&)> oneClickDone;

private:
    core::CategoryEngine* category(const char* name) const;

    Categories categories_;
    PresetStore store_;
    PresetModel model_;
    PresetRunner runner_;
};

} // namespace tpc::presets
