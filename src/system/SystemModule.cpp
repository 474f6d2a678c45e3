#include "system/SystemModule.h"

#include "core/Frontend.h"
#include "core/MainThread.h"

namespace tpc::system {

SystemModule::SystemModule(core::Context& ctx, core::TaskRunner& tasks, erase::Deleter& deleter)
    : junk_(ctx.platform, deleter, ctx.log,
            [&ctx] { ctx.mainThread.post([&ctx] { ctx.frontend.bringMainWindowToFront(); }); }),
      driver_(ctx, tasks, junk_) {}

} // namespace tpc::system
