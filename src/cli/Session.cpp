#include "cli/Session.h"

#include "fs/Entries.h"

#include <cstdio>
#include <iostream>
#include <unistd.h>

namespace tpc::cli {

Session::Session(const GlobalOptions& options) : options_(options) {
    platform::PlatformOptions popts;
    if (!options.layout.empty()) {
        auto layout = platform::parseLayout(options.layout);
        if (!layout)
            throw UsageError("unknown layout \"" + options.layout + "\" (use macos or linux)");
        popts.layout = *layout;
    }
    if (!options.home.empty()) {
        std::error_code ec;
        auto home = std::filesystem::absolute(options.home, ec);
        if (ec || !tpc::fs::isFolderFollowingLinks(home))
            throw UsageError("home folder \"" + options.home + "\" does not exist");
        popts.home = home;
    } else if (!getenv("HOME") || !*getenv("HOME")) {
        throw UsageError("no home folder: set HOME or give --home");
    }
    {
        std::error_code ec;
        auto root = std::filesystem::absolute(options.root, ec);
        if (ec || !tpc::fs::isFolderFollowingLinks(root))
            throw UsageError("root folder \"" + options.root + "\" does not exist");
        popts.root = root;
    }
    if (!options.trace.empty()) {
        if (!trace_.open(options.trace))
            throw UsageError("cannot open the trace file \"" + options.trace + "\"");
        log_.addSink([this](const std::string& line) {
            trace_.write({{"event", "log"}, {"text", line}});
        });
    }
    platform_ = std::make_unique<platform::Platform>(popts);

    CliFrontendOptions fopts;
    fopts.assumeYes = options.yes || !isatty(STDIN_FILENO);
    fopts.terminal = isatty(STDERR_FILENO);
    frontend_ = std::make_unique<CliFrontend>(fopts, trace_);

    app_ = std::make_unique<controller::AppDelegate>(
        controller::AppServices{*frontend_, mainThread_, *platform_, clock_, log_});
    app_->startUp(core::StartupOptions{.headless = true});
    if (!app_->settings().folderExists())
        throw FatalError("cannot create the settings folder \"" +
                         app_->settings().folder().string() + "\"");
}

Session::~Session() {
    // Let every worker wind down while its main-thread requests are still served.
    if (app_) {
        app_->flags().abortAllOtherScansAndCleans();
        mainThread_.runUntil(
            [this] { return app_->flags().allScansAndCleansAborted() && app_->tasks().idle(); });
    }
    app_.reset();
}

void Session::print(const nlohmann::json& result, const std::string& text) {
    if (options_.json)
        std::cout << result.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
    else if (!text.empty())
        std::cout << text << (text.back() == '\n' ? "" : "\n");
    std::cout.flush();
}

} // namespace tpc::cli
