#include "erase/EraseModule.h"

#include "core/GeneralPrefs.h"
#include "core/TaskFlags.h"
#include "core/TaskRunner.h"
#include "erase/PatternBlocks.h"
#include "erase/UnixHelperConnection.h"

namespace tpc::erase {

EraseModule::EraseModule(core::Context& ctx, core::TaskRunner& tasks, core::GeneralPrefs& general)
    : ctx_(ctx), tasks_(tasks), general_(general),
      helper_(HelperClientEnv{ctx.clock, ctx.log, ctx.flags.abortCleaningFlag(),
                              [this] { return general_.fileDeletionOption(); },
                              UnixHelperConnection::factory(), installer_}),
      deleter_(deleterEnv()) {}

DeleterEnv EraseModule::deleterEnv() {
    return DeleterEnv{ctx_.flags.abortCleaningFlag(),
                      [this] { return general_.fileDeletionOption(); }, ctx_.clock, ctx_.log,
                      &helper_};
}

void EraseModule::start(core::StartupStep step, const core::StartupOptions& options) {
    if (step == core::StartupStep::BeforeWindow && !options.headless)
        tasks_.startThread([this] { helper_.initialConnectionWithHelperToolThread(); });
    if (step == core::StartupStep::Resources)
        PatternBlocks::shared();
}

} // namespace tpc::erase
