#pragma once
// The Extensions manager: discovery and removal of add-ons and login items, and its category.
// Its lists are built by the scan that opening the page starts, so start-up has nothing to load.

#include "core/Module.h"
#include "extensions/ExtensionsDriver.h"

namespace tpc::erase {
class Deleter;
}

namespace tpc::extensions {

class ExtensionsModule final : public core::Module {
public:
    ExtensionsModule(core::Context& ctx, core::TaskRunner& tasks, erase::Deleter& deleter)
        : driver_(ctx, tasks, deleter) {}

    std::string name() const override { return "extensions"; }
    std::vector<core::CategoryEngine*> categories() override { return {&driver_}; }

    ExtensionsDriver& driver() { return driver_; }

private:
    ExtensionsDriver driver_;
};

} // namespace tpc::extensions
