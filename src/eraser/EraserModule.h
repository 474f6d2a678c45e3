#pragma once
// The file eraser subsystem: the list of files to shred and its category.

#include "core/Module.h"
#include "eraser/EraserDriver.h"
#include "eraser/EraserList.h"

namespace tpc::erase {
class Deleter;
}

namespace tpc::eraser {

class EraserModule final : public core::Module {
public:
    EraserModule(core::Context& ctx, core::TaskRunner& tasks, erase::Deleter& deleter)
        : list_(ctx), driver_(ctx, tasks, list_, deleter) {}

    std::string name() const override { return "eraser"; }
    void start(core::StartupStep step, const core::StartupOptions&) override {
        if (step == core::StartupStep::Lists)
            list_.loadShredder();
    }
    std::vector<core::CategoryEngine*> categories() override { return {&driver_}; }

    EraserList& list() { return list_; }
    EraserDriver& driver() { return driver_; }

private:
    EraserList list_;
    EraserDriver driver_;
};

} // namespace tpc::eraser
