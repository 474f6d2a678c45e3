#pragma once
// The power management subsystem: sleep prevention around every preset clean, however it was
// started (the presets page, the status menu, the weekly schedule). It hears the task runner's
// starts and ends and takes or releases sleep prevention through the layout's backend.

#include "core/Module.h"
#include "core/TaskRunner.h"
#include "power/SleepPrevention.h"

#include <cstdint>
#include <memory>

namespace tpc::core {
class GeneralPrefs;
}

namespace tpc::power {

class PowerModule final : public core::Module, public core::TaskObserver {
public:
    // `backend`: instead of the layout's own (tests).
    PowerModule(core::Context& ctx, core::TaskRunner& tasks, core::GeneralPrefs& general,
                std::unique_ptr<SleepBackend> backend = nullptr);
    ~PowerModule() override;
    PowerModule(const PowerModule&) = delete;
    PowerModule& operator=(const PowerModule&) = delete;

    std::string name() const override { return "power"; }
    void shutdown() override;

    void taskStarted(const core::TaskEvent& task) override;
    void taskEnded(const core::TaskEvent& task) override;

    SleepPrevention& sleepPrevention() { return prevention_; }

    // Power notifications on macos (none on a host without them), logind on linux.
    static std::unique_ptr<SleepBackend> layoutBackend(const core::Context& ctx);

private:
    core::TaskRunner& tasks_;
    SleepPrevention prevention_;
    // The preset clean sleep prevention was taken for; 0 when none runs.
    std::uint64_t cleanId_ = 0;
    bool observing_ = false;
};

} // namespace tpc::power
