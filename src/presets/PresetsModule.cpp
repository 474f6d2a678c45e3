#include "presets/PresetsModule.h"

#include <utility>

namespace tpc::presets {

PresetsModule::PresetsModule(core::Context& ctx, core::TaskRunner& runner, Categories categories)
    : categories_(std::move(categories)), store_(ctx.settings), model_(store_, ctx.flags),
      runner_(ctx, runner, model_, [this] {
          std::vector<core::CategoryDispatch*> drivers;
          if (categories_)
              for (auto* category : categories_())
                  drivers.push_back(category);
          return drivers;
      }) {}

core::CategoryEngine* PresetsModule::category(const char* name) const {
    if (categories_)
        for (auto* category : categories_())
            if (category && category->name() == name)
                return category;
    return nullptr;
}

void PresetsModule::start(core::StartupStep step, const core::StartupOptions& options) {
    switch (step) {
    case core::StartupStep::Lists:
        store_.loadPresets();
        break;
    case core::StartupStep::DefaultPreset: {
        auto* browsers = category("browsers");
        auto* system = category("system");
        model_.ensureDefaultPreset(browsers ? browsers->list() : core::ArrayObj::make(),
                                   system ? system->list() : core::ArrayObj::make());
        break;
    }
    case core::StartupStep::PresetSizing:
        // The one-click box belongs to the window: the command line does not size it.
        if (!options.headless)
            runner_.scanOneClickCleanPreset(oneClickDone);
        break;
    default:
        break;
    }
}

} // namespace tpc::presets
