#pragma once
// How the helper client reaches the privileged helper: a connection that sends one request and
// hands its reply to a handler later, and an installer that registers the helper with the system.

#include "erase/HelperWire.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tpc::erase {

class HelperConnection {
public:
    enum class Event {
        Interrupted, // the helper went away; the connection stays usable and reconnects
        Invalid,     // the connection can never be used again
        NotAnError,  // an event that is not an error
        OtherError,  // an error of any other kind
    };
    // The "reply" string of the answer, or none when no answer with a reply came.
    using ReplyHandler = std::function<void(std::optional<std::string> reply)>;
    using EventHandler = std::function<void(Event)>;

    virtual ~HelperConnection() = default;
    // Set once, before resume().
    virtual void setEventHandler(EventHandler handler) = 0;
    virtual void resume() = 0;
    // Sends `request` and returns; `handler` runs once with the reply, usually on the
    // connection's own thread. A handler must not keep the connection alive (it may be the last
    // owner's thread that would then have to wait for itself).
    virtual void sendMessageWithReply(const wire::Message& request, ReplyHandler handler) = 0;
};

// Makes a new connection to the helper; none when that is impossible.
using HelperConnectionFactory = std::function<std::shared_ptr<HelperConnection>()>;

class HelperInstaller {
public:
    virtual ~HelperInstaller() = default;
    // The helper is registered with the system.
    virtual bool jobExists() = 0;
    // Installs or re-installs the helper (the user is asked for an administrator password).
    // False with `error` set on failure.
    virtual bool bless(std::string& error) = 0;
};

} // namespace tpc::erase
