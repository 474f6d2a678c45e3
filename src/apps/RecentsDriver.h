#pragma once
// The Recents page's engine: the scan that counts every listed application's traces and the
// clean that removes the marked ones', as worker threads of the task framework.

#include "core/CategoryEngine.h"
#include "core/Context.h"
#include "core/TaskRunner.h"

#include <string>
#include <vector>

namespace tpc::apps {

class AppCatalogue;
class AppTraces;

class RecentsDriver final : public core::CategoryEngine {
public:
    RecentsDriver(core::Context& ctx, core::TaskRunner& runner, AppCatalogue& catalogue,
                  AppTraces& traces);

    std::string name() const override { return "recents"; }
    core::Category category() const override { return core::Category::Recents; }
    core::MainButton button() const override { return core::MainButton::Recents; }
    core::ArrayRef list() const override;

    void buttonScanClicked(core::Sender sender) override;
    // Asks "Changes Made" first when the list changed since the last scan.
    void buttonCleanClicked(core::Sender sender) override;
    // Rows are named by "Description" (or "Path"). The marks are changed for this run only and
    // are not saved.
    std::vector<std::string> markOnly(const std::vector<std::string>& items) override;

    // The worker bodies.
    void scanRecents();
    void cleanRecents();

    const core::TaskSpec& scanTask() const { return scanTask_; }
    const core::TaskSpec& cleanTask() const { return cleanTask_; }

private:
    core::Context& ctx_;
    core::TaskRunner& runner_;
    AppCatalogue& catalogue_;
    AppTraces& traces_;
    core::TaskSpec scanTask_;
    core::TaskSpec cleanTask_;
};

} // namespace tpc::apps
