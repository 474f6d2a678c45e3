#pragma once
// The helper's deletion: the application's own deletion engine, run as root, without any further
// helper to hand items to.

#include "helper/RequestHandler.h"

namespace tpc::core {
class Clock;
class SystemLog;
} // namespace tpc::core

namespace tpc::helper {

// Plain removal without a method; with one, overwrite by that erase method and then removal.
RemoveItem deleterRemoval(core::Clock& clock, core::SystemLog& log);

} // namespace tpc::helper
