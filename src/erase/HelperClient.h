#pragma once
// The application's side of the privileged helper: installs it (and re-installs it when the
// application carries a newer version), keeps one connection to it, and sends it the items the
// user may not delete, polling each until the helper reports it finished.

#include "erase/HelperConnection.h"
#include "erase/HelperGateway.h"

#include "core/ThreadGroup.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tpc::core {
class Clock;
class SystemLog;
} // namespace tpc::core

namespace tpc::erase {

// The version of the helper this application expects when it carries no other.
inline constexpr const char* kDefaultHelperVersion = "1.0";

struct HelperClientEnv {
    core::Clock& clock;
    core::SystemLog& log;
    // The clean-abort flag: while it is set, a running request is asked to abort.
    const std::atomic<bool>& abortCleaning;
    // "File Deletion Option": -1 plain deletion, 0..8 an erase method.
    std::function<std::int64_t()> deletionOption;
    HelperConnectionFactory connectionFactory;
    HelperInstaller& installer;
    std::string expectedVersion = kDefaultHelperVersion;
};

class HelperClient final : public HelperGateway {
public:
    explicit HelperClient(HelperClientEnv env);
    // Stops every poll and waits for its thread; the connections go last.
    ~HelperClient() override;
    HelperClient(const HelperClient&) = delete;
    HelperClient& operator=(const HelperClient&) = delete;

    // Install-or-update check, run once at start-up: installs a helper that is not there, and
    // re-installs one whose version (asked for, with 0.5 s to answer) is older than expected.
    void initialConnectionWithHelperToolThread();
    // Makes sure a connection exists (an existing one is tested first).
    void ensureHelperToolConnection();

    // HelperGateway
    void deleteViaHelperTool(const std::string& path) override;
    bool helperOpsRunning() const override { return helperOpsRunning_.load(); }
    void clearHelperOpsRunning() override { helperOpsRunning_.store(false); }

    bool hasConnection() const;
    // Waits until every poll started so far has ended (tests and shutdown).
    void waitForPolls();

private:
    struct Operation {
        std::string uuid;
        std::atomic<bool> finished{false};
    };
    // How handlers running on a connection's thread reach the client: a connection may outlive
    // the client (whoever else holds it), and its late events and replies then reach nobody.
    struct Link {
        std::mutex mutex;
        HelperClient* client = nullptr;
    };
    // Runs `f` with the client unless it is going away.
    template <typename F> static void withClient(const std::shared_ptr<Link>& link, F&& f) {
        std::lock_guard lock(link->mutex);
        if (link->client)
            f(*link->client);
    }

    std::shared_ptr<HelperConnection> currentConnection() const;
    // Makes a new connection and keeps it as the current one; none when that fails.
    std::shared_ptr<HelperConnection> createConnection();
    // The current connection, made when there is none.
    std::shared_ptr<HelperConnection> currentOrNewConnection();
    // Drops the current connection if it is `which` (all of them when null). The object is kept
    // until the client goes, as a reply may still be on its way through it.
    void forgetConnection(const HelperConnection* which);
    void onConnectionEvent(const HelperConnection* which, HelperConnection::Event event);
    // Sends on `connection`; with none, the handler sees no reply at once.
    static void send(const std::shared_ptr<HelperConnection>& connection,
                     const wire::Message& request, HelperConnection::ReplyHandler handler);
    void blessHelper();
    void pollOperation(const std::shared_ptr<Operation>& op);

    HelperClientEnv env_;
    std::shared_ptr<Link> link_;
    std::atomic<bool> helperOpsRunning_{false};
    std::atomic<bool> stopping_{false};
    mutable std::mutex mutex_;
    std::shared_ptr<HelperConnection> connection_;
    std::vector<std::shared_ptr<HelperConnection>> forgotten_;
    core::ThreadGroup polls_;
};

} // namespace tpc::erase
