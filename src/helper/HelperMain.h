#pragma once
// The helper program: its install action, or the daemon serving its socket until stopped.

#include "helper/HelperOptions.h"

#include <ostream>

namespace tpc::core {
class Clock;
class SystemLog;
} // namespace tpc::core

namespace tpc::helper {

// Serves requests until `stopFd` becomes readable; the exit status. Listens on the socket
// systemd passed, else at options.socketPath.
int runHelperDaemon(const HelperOptions& options, int stopFd, core::Clock& clock,
                    core::SystemLog& log, std::ostream& err);

} // namespace tpc::helper
