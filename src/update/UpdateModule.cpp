#include "update/UpdateModule.h"

#include "update/InfoPlist.h"

namespace tpc::update {

namespace {

std::optional<std::filesystem::path> ownInfoPlist() {
    const auto folder = runningProgramFolder();
    return folder ? findInfoPlist(*folder) : std::nullopt;
}

} // namespace

UpdateModule::UpdateModule(core::Context& ctx)
    : check_(ctx.frontend, ctx.log, ownInfoPlist(), runningProgramFolder()) {}

} // namespace tpc::update
