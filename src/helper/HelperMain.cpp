#include "helper/HelperMain.h"

#include "core/Clock.h"
#include "core/SystemLog.h"
#include "helper/HelperDaemon.h"
#include "helper/ListenSocket.h"
#include "helper/OperationTable.h"
#include "helper/Removal.h"
#include "helper/RequestHandler.h"

#include <atomic>

namespace tpc::helper {

namespace {
// The user's polkit agent may be waiting for a password.
constexpr double kPolkitSeconds = 120;
} // namespace

int runHelperDaemon(const HelperOptions& options, int stopFd, core::Clock& clock,
                    core::SystemLog& log, std::ostream& err) {
    std::string error;
    auto socket = [&]() -> std::optional<ListenSocket> {
        if (auto passed = ListenSocket::fromSystemd(error); passed || !error.empty())
            return passed;
        if (!options.socketPath) {
            error = "no socket from systemd and no --socket given";
            return std::nullopt;
        }
        return ListenSocket::bind(*options.socketPath, error);
    }();
    if (!socket) {
        err << "tpc-helper: " << error << "\n";
        log.log("Helper not started: " + error);
        return 1;
    }

    std::atomic<bool> stopping{false};
    PeerAuthoriser authoriser(
        AuthPolicy{options.allowUids, options.allowGroups},
        pkcheckPolkit(options.pkcheckPath, clock, core::Clock::seconds(kPolkitSeconds), stopping));
    OperationTable operations(clock);
    RequestHandler handler(RequestHandlerEnv{
        .operations = operations, .log = log, .remove = deleterRemoval(clock, log)});
    HelperDaemon daemon(HelperDaemonEnv{.clock = clock,
                                        .log = log,
                                        .authoriser = authoriser,
                                        .handler = handler,
                                        .stopping = stopping});
    log.log(std::string("Helper ") + kHelperVersion + " listening" +
            (socket->activated() ? " (socket activation)" : " at " + *options.socketPath));
    daemon.run(socket->fd(), stopFd);
    log.log("Helper stopped");
    return 0;
}

} // namespace tpc::helper
