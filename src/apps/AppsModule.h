#pragma once
// The applications subsystem: the application list, each application's traces and the recents
// category.

#include "apps/AppCatalogue.h"
#include "apps/AppTraces.h"
#include "apps/RecentsDriver.h"
#include "core/Module.h"

namespace tpc::apps {

class AppsModule final : public core::Module {
public:
    AppsModule(core::Context& ctx, core::TaskRunner& tasks, erase::Deleter& deleter)
        : catalogue_(ctx), traces_(ctx.platform, deleter, ctx.log),
          driver_(ctx, tasks, catalogue_, traces_) {}

    std::string name() const override { return "apps"; }
    // The list is loaded with the others; a list made at this start-up is filled once with the
    // installed applications after first run.
    void start(core::StartupStep step, const core::StartupOptions&) override {
        if (step == core::StartupStep::Lists)
            created_ = catalogue_.loadRecents();
        if (step == core::StartupStep::AfterFirstRun && created_) {
            created_ = false;
            catalogue_.recentsFirstRunForAddingApps();
        }
    }
    std::vector<core::CategoryEngine*> categories() override { return {&driver_}; }

    AppCatalogue& catalogue() { return catalogue_; }
    AppTraces& traces() { return traces_; }
    RecentsDriver& driver() { return driver_; }

private:
    AppCatalogue catalogue_;
    AppTraces traces_;
    RecentsDriver driver_;
    bool created_ = false;
};

} // namespace tpc::apps
