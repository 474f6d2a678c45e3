#include "helper/HelperOptions.h"

#include <CLI/CLI.hpp>

namespace tpc::helper {

std::variant<HelperOptions, int> parseHelperOptions(int argc, const char* const* argv,
                                                    std::ostream& out, std::ostream& err) {
    HelperOptions options;
    CLI::App app{"Tavrin Privacy Cleaner's privileged helper: deletes or erases, as root, the "
                 "items the application may not change",
                 "tpc-helper"};
    std::string socketPath;
    auto* socketOption =
        app.add_option("--socket", socketPath, "listen at this path when systemd passes no socket");
    app.add_option("--allow-uid", options.allowUids, "allow this user id (repeatable)")->take_all();
    app.add_option("--allow-group", options.allowGroups,
                   "allow the members of this group (repeatable)")
        ->take_all();
    app.add_option("--pkcheck", options.pkcheckPath,
                   "the pkcheck program asked when no user or group is allowed");
    app.add_flag("--log-to-stderr", options.logToStderr,
                 "write log lines to standard error, not to syslog");
    app.add_flag("--install", options.install, "install the systemd units that start the helper");
    app.add_option("--unit-dir", options.unitDir, "where --install puts the units");
    app.add_flag("--version", options.version, "print the helper's version");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e, out, err);
    }
    if (*socketOption)
        options.socketPath = socketPath;
    return options;
}

} // namespace tpc::helper
