#include "erase/HelperClient.h"

#include "core/Clock.h"
#include "core/SystemLog.h"
#include "core/Utf8.h"
#include "erase/Deleter.h"

#include <cctype>
#include <charconv>
#include <optional>

namespace tpc::erase {

namespace {

constexpr double kPollSeconds = 0.5;
constexpr double kVersionReplySeconds = 0.5;

// A version string read as one floating-point number, as strtod reads it in the C locale
// ("1.10" is 1.1); none when it does not begin with a number.
std::optional<double> versionNumber(const std::string& text) {
    const char* first = text.data();
    const char* last = text.data() + text.size();
    while (first != last && std::isspace(static_cast<unsigned char>(*first)))
        ++first;
    if (first != last && *first == '+')
        ++first;
    double value = 0;
    auto [end, ec] = std::from_chars(first, last, value);
    if (ec != std::errc() || end == first)
        return std::nullopt;
    return value;
}

} // namespace

HelperClient::HelperClient(HelperClientEnv env)
    : env_(std::move(env)), link_(std::make_shared<Link>()) {
    link_->client = this;
}

HelperClient::~HelperClient() {
    // Polls check the flag before every pass, so each ends within one pass; a poll started after
    // this point ends before it touches a connection.
    stopping_.store(true);
    {
        // Waits for a handler that is inside the client; later ones find nobody.
        std::lock_guard lock(link_->mutex);
        link_->client = nullptr;
    }
    polls_.joinAll();
    std::vector<std::shared_ptr<HelperConnection>> all;
    {
        std::lock_guard lock(mutex_);
        all.swap(forgotten_);
        if (connection_)
            all.push_back(std::move(connection_));
    }
    // Their threads are joined here (unless someone else still holds them).
    all.clear();
}

bool HelperClient::hasConnection() const {
    return currentConnection() != nullptr;
}

void HelperClient::waitForPolls() {
    polls_.joinAll();
}

std::shared_ptr<HelperConnection> HelperClient::currentConnection() const {
    std::lock_guard lock(mutex_);
    return connection_;
}

std::shared_ptr<HelperConnection> HelperClient::createConnection() {
    auto connection = env_.connectionFactory ? env_.connectionFactory() : nullptr;
    if (!connection) {
        env_.log.log("Failed to create XPC connection.");
        return nullptr;
    }
    const HelperConnection* which = connection.get();
    connection->setEventHandler([link = link_, which](HelperConnection::Event event) {
        withClient(link, [&](HelperClient& client) { client.onConnectionEvent(which, event); });
    });
    {
        std::lock_guard lock(mutex_);
        if (connection_)
            forgotten_.push_back(std::move(connection_));
        connection_ = connection;
    }
    connection->resume();
    return connection;
}

std::shared_ptr<HelperConnection> HelperClient::currentOrNewConnection() {
    if (auto connection = currentConnection())
        return connection;
    return createConnection();
}

void HelperClient::forgetConnection(const HelperConnection* which) {
    std::lock_guard lock(mutex_);
    if (!connection_ || (which && connection_.get() != which))
        return;
    forgotten_.push_back(std::move(connection_));
    connection_.reset();
}

void HelperClient::onConnectionEvent(const HelperConnection* which, HelperConnection::Event event) {
    switch (event) {
    case HelperConnection::Event::NotAnError:
        env_.log.log("Unexpected XPC connection event.");
        break;
    case HelperConnection::Event::Interrupted:
        env_.log.log("XPC connection interupted.");
        break;
    case HelperConnection::Event::Invalid:
        env_.log.log("XPC connection invalid, releasing.");
        forgetConnection(which);
        break;
    case HelperConnection::Event::OtherError:
        env_.log.log("Unexpected XPC connection error.");
        break;
    }
}

void HelperClient::send(const std::shared_ptr<HelperConnection>& connection,
                        const wire::Message& request, HelperConnection::ReplyHandler handler) {
    if (!connection) {
        handler(std::nullopt);
        return;
    }
    connection->sendMessageWithReply(request, std::move(handler));
}

void HelperClient::blessHelper() {
    std::string error;
    if (!env_.installer.bless(error))
        env_.log.log("Failed to bless helper. Error: " + error);
}

void HelperClient::initialConnectionWithHelperToolThread() {
    if (!env_.installer.jobExists()) {
        blessHelper();
        return;
    }
    ensureHelperToolConnection();
    auto outdated = std::make_shared<std::atomic<bool>>(false);
    const double expected = versionNumber(env_.expectedVersion).value_or(0);
    env_.log.log(std::string("Sending request: ") + wire::kGetVersionNumber);
    send(currentConnection(), wire::requestMessage(wire::kGetVersionNumber),
         [link = link_, outdated, expected](std::optional<std::string> reply) {
             withClient(link, [&](HelperClient& client) {
                 client.env_.log.log("Received response: installed version is " +
                                     reply.value_or("(null)"));
             });
             // Without a readable version nothing is re-installed: a helper that does not
             // answer is not made to ask for a password at every start.
             const auto installed = reply ? versionNumber(*reply) : std::nullopt;
             if (installed && expected > *installed)
                 outdated->store(true);
         });
    // A reply that comes later leaves the installed helper as it is until the next start.
    env_.clock.sleepFor(core::Clock::seconds(kVersionReplySeconds));
    if (outdated->load()) {
        blessHelper();
        // The next request connects to the new helper.
        forgetConnection(nullptr);
    }
}

void HelperClient::ensureHelperToolConnection() {
    if (auto connection = currentConnection()) {
        env_.log.log(std::string("Sending request: ") + wire::kTest);
        auto broken = std::make_shared<std::atomic<bool>>(false);
        send(connection, wire::requestMessage(wire::kTest),
             [broken](std::optional<std::string> reply) {
                 if (!reply)
                     broken->store(true);
             });
        // The test answers later as a rule, so a dead connection is mostly replaced only when
        // its invalidation is reported.
        if (!broken->load())
            return;
        forgetConnection(connection.get());
    }
    createConnection();
}

void HelperClient::deleteViaHelperTool(const std::string& path) {
    // The wire carries the path as text: bytes that are not UTF-8 would not arrive as they are,
    // and the helper could act on another path. Such an item stays where it is.
    if (!core::isValidUtf8(path)) {
        env_.log.log("Error removing item:" + core::displayText(path) +
                     ", reason:the path is not valid UTF-8 and cannot be sent to the helper");
        return;
    }
    helperOpsRunning_.store(true);
    const std::int64_t option = env_.deletionOption ? env_.deletionOption() : -1;
    auto op = std::make_shared<Operation>();
    op->uuid = UUIDString();

    wire::Message request;
    if (option == -1) {
        request.request = wire::kDelete;
    } else {
        request.request = wire::kErase;
        request.eraseOption = static_cast<std::uint64_t>(option);
    }
    request.uuid = op->uuid;
    request.path = wire::pathData(path);

    ensureHelperToolConnection();
    send(currentConnection(), request, [link = link_, op](std::optional<std::string> reply) {
        withClient(link, [&](HelperClient& client) {
            if (reply && *reply == wire::kStarted) {
                client.polls_.start([&client, op] { client.pollOperation(op); });
                return;
            }
            client.helperOpsRunning_.store(false);
        });
    });
}

void HelperClient::pollOperation(const std::shared_ptr<Operation>& op) {
    auto finishedOnReply = [op](const char* finishedReply) {
        return [op, finishedReply](std::optional<std::string> reply) {
            if (!reply || *reply == finishedReply)
                op->finished.store(true);
        };
    };
    for (;;) {
        if (op->finished.load() || stopping_.load())
            break;
        if (env_.abortCleaning.load()) {
            // Sent again on every pass while the abort flag stays set.
            ensureHelperToolConnection();
            wire::Message abort = wire::requestMessage(wire::kAbort);
            abort.uuid = op->uuid;
            send(currentConnection(), abort, finishedOnReply(wire::kDone));
        }
        if (op->finished.load())
            break;
        env_.clock.sleepFor(core::Clock::seconds(kPollSeconds));
        wire::Message running = wire::requestMessage(wire::kOpsRunning);
        running.uuid = op->uuid;
        send(currentOrNewConnection(), running, finishedOnReply(wire::kNo));
    }
    helperOpsRunning_.store(false);
}

} // namespace tpc::erase
