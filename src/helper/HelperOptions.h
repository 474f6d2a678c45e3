#pragma once
// The helper's command line.

#include "helper/Install.h"
#include "helper/PeerAuth.h"

#include <optional>
#include <ostream>
#include <string>
#include <sys/types.h>
#include <variant>
#include <vector>

namespace tpc::helper {

struct HelperOptions {
    // Where to listen when systemd passes no socket.
    std::optional<std::string> socketPath;
    std::vector<uid_t> allowUids;
    std::vector<std::string> allowGroups;
    std::string pkcheckPath = kDefaultPkcheckPath;
    // Log lines go to standard error instead of syslog.
    bool logToStderr = false;
    bool install = false;
    std::string unitDir = kSystemUnitDir;
    bool version = false;
};

// The options, or the exit status when the program is done (help, or a usage error, both
// written to `out` / `err`).
std::variant<HelperOptions, int> parseHelperOptions(int argc, const char* const* argv,
                                                    std::ostream& out, std::ostream& err);

} // namespace tpc::helper
