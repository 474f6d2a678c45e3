#pragma once
// The helper's answers to the six requests: "test", "Get Version Number", "delete", "erase",
// "ops running" and "abort".

#include "erase/HelperWire.h"
#include "helper/OperationTable.h"

#include "core/Clock.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tpc::core {
class SystemLog;
}

namespace tpc::helper {

// The version this helper reports; the application re-installs a helper older than it expects.
inline constexpr const char* kHelperVersion = "1.0";
inline constexpr const char* kTestReply = "ok";
// The reply when too many operations run already.
inline constexpr const char* kBusyReply = "busy";

// Removes `path` plainly (no method) or erases it with the method, checking `abort` as it goes.
using RemoveItem = std::function<void(const std::string& path, std::optional<std::uint64_t> method,
                                      const std::atomic<bool>& abort)>;

struct RequestHandlerEnv {
    OperationTable& operations;
    core::SystemLog& log;
    RemoveItem remove;
    // How long "abort" waits for the operation to stop before answering that it still runs.
    core::Clock::Duration abortWait = core::Clock::seconds(10);
};

class RequestHandler {
public:
    explicit RequestHandler(RequestHandlerEnv env);

    // The reply to one request from an authorised peer (`peer` names it in the log).
    erase::wire::Message handle(const erase::wire::Message& request, const std::string& peer);

private:
    erase::wire::Message startRemoval(const erase::wire::Message& request, const std::string& peer);
    erase::wire::Message refuse(const std::string& what, const std::string& peer,
                                const std::string& why);

    RequestHandlerEnv env_;
};

// A uuid as the client makes them: 1 to 64 letters, digits and dashes.
bool isAcceptableUuid(const std::string& uuid);

} // namespace tpc::helper
