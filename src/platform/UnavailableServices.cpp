#include "platform/Services.h"

namespace tpc::platform {

ScriptRunner::Result UnavailableScriptRunner::run(const std::string&) {
    Result result;
    result.compiled = false;
    result.succeeded = false;
    result.error = "GUI scripting is not available on this system";
    return result;
}

} // namespace tpc::platform
