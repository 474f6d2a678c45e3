#pragma once
// The system junk subsystem: the cleaner of the five system categories and its category.

#include "core/Module.h"
#include "system/SystemDriver.h"
#include "system/SystemJunk.h"

namespace tpc::system {

class SystemModule final : public core::Module {
public:
    SystemModule(core::Context& ctx, core::TaskRunner& tasks, erase::Deleter& deleter);

    std::string name() const override { return "system"; }
    void start(core::StartupStep step, const core::StartupOptions&) override {
        if (step == core::StartupStep::Lists)
            driver_.populateSystemData();
    }
    std::vector<core::CategoryEngine*> categories() override { return {&driver_}; }

    SystemJunk& junk() { return junk_; }
    SystemDriver& driver() { return driver_; }

private:
    SystemJunk junk_;
    SystemDriver driver_;
};

} // namespace tpc::system
