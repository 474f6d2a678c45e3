#include "cli/CliApp.h"

#include "cli/Commands.h"
#include "cli/Session.h"
#include "core/Utf8.h"

#include <CLI/CLI.hpp>
#include <iostream>

namespace tpc::cli {

namespace {

// One line on standard error naming what was wrong. Names from outside (paths, arguments) may
// hold bytes that are not UTF-8: they are shown escaped.
void complain(const std::string& message) {
    std::cerr << "tpc: " << core::displayText(message) << "\n";
}

} // namespace

int run(int argc, char** argv) {
    CLI::App app{"Tavrin Privacy Cleaner from the command line", "tpc"};
    app.set_version_flag("--version", std::string("tpc ") + TPC_VERSION);
    app.require_subcommand(1);
    app.fallthrough();

    GlobalOptions options;
    app.add_option("--layout", options.layout,
                   "folder layout: macos or linux (default: the host's)");
    app.add_option("--home", options.home,
                   "the user's home folder (XDG variables are then ignored)");
    app.add_option("--root", options.root, "the file-system root for system-wide folders");
    app.add_flag("--json", options.json, "print the result as one JSON document");
    app.add_flag("--yes", options.yes, "answer every alert with its default button");
    app.add_option("--trace", options.trace, "append every interface event to FILE as JSON lines");

    Handler chosen;
    addSettingsCommands(app, chosen);
    addEraseCommand(app, chosen);
    addBrowserCommands(app, chosen);
    addScanCleanCommands(app, chosen);
    addRecentsCommands(app, chosen);
    addEraserCommands(app, chosen);
    addPresetCommands(app, chosen);
    addScheduleCommands(app, chosen);
    addUpdateCommands(app, chosen);
    addIPhotoCommands(app, chosen);

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        complain(e.what());
        return 2;
    }
    if (!chosen) {
        complain("no command given (see tpc --help)");
        return 2;
    }

    try {
        Session session(options);
        return chosen(session);
    } catch (const UsageError& e) {
        complain(e.what());
        return 2;
    } catch (const FatalError& e) {
        complain(e.what());
        return 1;
    } catch (const std::exception& e) {
        complain(e.what());
        return 1;
    }
}

} // namespace tpc::cli
