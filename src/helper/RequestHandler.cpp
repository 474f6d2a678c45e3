#include "helper/RequestHandler.h"

#include "core/SystemLog.h"
#include "core/Utf8.h"
#include "helper/PathPolicy.h"

#include <cctype>

namespace tpc::helper {

namespace wire = erase::wire;

bool isAcceptableUuid(const std::string& uuid) {
    if (uuid.empty() || uuid.size() > 64)
        return false;
    for (unsigned char c : uuid)
        if (!std::isalnum(c) && c != '-')
            return false;
    return true;
}

RequestHandler::RequestHandler(RequestHandlerEnv env) : env_(std::move(env)) {}

wire::Message RequestHandler::refuse(const std::string& what, const std::string& peer,
                                     const std::string& why) {
    env_.log.log("Refused " + what + " from " + peer + ": " + why);
    return wire::replyMessage(wire::kRefused);
}

wire::Message RequestHandler::handle(const wire::Message& request, const std::string& peer) {
    if (!request.request)
        return refuse("a message without request", peer, "no \"request\"");
    const std::string& name = *request.request;
    if (name == wire::kTest)
        return wire::replyMessage(kTestReply);
    if (name == wire::kGetVersionNumber)
        return wire::replyMessage(kHelperVersion);
    if (name == wire::kDelete || name == wire::kErase)
        return startRemoval(request, peer);
    if (name == wire::kOpsRunning) {
        const bool running = request.uuid && env_.operations.running(*request.uuid);
        return wire::replyMessage(running ? wire::kYes : wire::kNo);
    }
    if (name == wire::kAbort) {
        if (!request.uuid || env_.operations.abort(*request.uuid, env_.abortWait))
            return wire::replyMessage(wire::kDone);
        // Still stopping: the client asks again on its next pass.
        return wire::replyMessage(wire::kYes);
    }
    return refuse("request \"" + name + "\"", peer, "unknown request");
}

wire::Message RequestHandler::startRemoval(const wire::Message& request, const std::string& peer) {
    const std::string& name = *request.request;
    const std::string what = "request \"" + name + "\"";
    if (!request.uuid || !isAcceptableUuid(*request.uuid))
        return refuse(what, peer, "missing or malformed uuid");
    std::optional<std::uint64_t> method;
    if (name == wire::kErase) {
        if (!request.eraseOption)
            return refuse(what, peer, "no erase option");
        method = request.eraseOption;
    }
    if (!request.path)
        return refuse(what, peer, "no path");
    const auto path = wire::pathFromData(*request.path);
    if (!path)
        return refuse(what, peer, "the path data is not one zero-terminated string");
    const std::string shown = what + " for \"" + core::displayText(*path) + "\"";
    if (auto problem = pathTextProblem(*path))
        return refuse(shown, peer, *problem);
    if (auto problem = parentFolderProblem(*path))
        return refuse(shown, peer, *problem);

    auto remove = env_.remove;
    const auto result = env_.operations.start(
        *request.uuid, [remove, path = *path, method](const std::atomic<bool>& abort) {
            remove(path, method, abort);
        });
    switch (result) {
    case OperationTable::StartResult::Started:
        // The path stays out of the log: it is the very trace the user asked to remove.
        env_.log.log("Started " + name + " " + *request.uuid + " for " + peer);
        return wire::replyMessage(wire::kStarted);
    case OperationTable::StartResult::Busy:
        env_.log.log("Too many operations running; " + what + " from " + peer + " not started");
        return wire::replyMessage(kBusyReply);
    case OperationTable::StartResult::Duplicate:
        break;
    }
    return refuse(what, peer, "uuid already used");
}

} // namespace tpc::helper
