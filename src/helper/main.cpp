// tpc-helper: Tavrin Privacy Cleaner's privileged helper daemon.

#include "core/Clock.h"
#include "core/SystemLog.h"
#include "erase/RunProgram.h"
#include "helper/HelperMain.h"
#include "helper/Install.h"
#include "helper/RequestHandler.h"

#include <csignal>
#include <filesystem>
#include <iostream>
#include <sys/signalfd.h>
#include <syslog.h>
#include <unistd.h>

namespace {

int install(const tpc::helper::HelperOptions& options) {
    std::error_code ec;
    const auto self = std::filesystem::canonical("/proc/self/exe", ec);
    if (ec) {
        std::cerr << "tpc-helper: cannot find its own program file\n";
        return 1;
    }
    const bool systemUnits = options.unitDir == tpc::helper::kSystemUnitDir;
    tpc::helper::InstallEnv env{
        .unitDir = options.unitDir,
        .helperPath = self.string(),
        .asRoot = ::geteuid() == 0,
        .manageSystemd = systemUnits && std::filesystem::exists("/run/systemd/system", ec),
        .out = std::cout,
        .run = [](const std::vector<std::string>& argv) { return tpc::erase::runProgram(argv); },
    };
    return tpc::helper::installHelper(env);
}

} // namespace

int main(int argc, char** argv) {
    auto parsed = tpc::helper::parseHelperOptions(argc, argv, std::cout, std::cerr);
    if (const int* status = std::get_if<int>(&parsed))
        return *status;
    const auto& options = std::get<tpc::helper::HelperOptions>(parsed);
    if (options.version) {
        std::cout << tpc::helper::kHelperVersion << "\n";
        return 0;
    }
    if (options.install)
        return install(options);

    // Stop requests arrive as readable data on a signal descriptor; every thread started later
    // inherits the blocked mask, so no thread is interrupted by them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    const int stopFd = ::signalfd(-1, &stopSignals, SFD_CLOEXEC);
    if (stopFd < 0) {
        std::cerr << "tpc-helper: signalfd failed\n";
        return 1;
    }

    tpc::core::RealClock clock;
    tpc::core::SystemLog log(false);
    if (options.logToStderr) {
        log.addSink([](const std::string& line) {
            std::cerr << ("tpc-helper: " + line + "\n") << std::flush;
        });
    } else {
        openlog("tpc-helper", LOG_PID, LOG_DAEMON);
        log.addSink([](const std::string& line) { syslog(LOG_NOTICE, "%s", line.c_str()); });
    }
    const int status = tpc::helper::runHelperDaemon(options, stopFd, clock, log, std::cerr);
    ::close(stopFd);
    return status;
}
