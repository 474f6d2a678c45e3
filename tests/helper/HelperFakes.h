#pragma once
// Stand-ins for the helper client's connection and installer, and a connection wrapper that
// records what passes through a real one.

#include "erase/HelperConnection.h"

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tpc::test {

namespace wire = erase::wire;

// Answers every request at once, on the sender's thread, with what `answer` says.
class FakeHelperConnection final : public erase::HelperConnection {
public:
    using Answer = std::function<std::optional<std::string>(const wire::Message&)>;

    explicit FakeHelperConnection(Answer answer) : answer_(std::move(answer)) {}

    void setEventHandler(EventHandler handler) override { events_ = std::move(handler); }
    void resume() override { resumed_ = true; }
    void sendMessageWithReply(const wire::Message& request, ReplyHandler handler) override {
        {
            std::lock_guard lock(mutex_);
            sent_.push_back(request);
        }
        if (defer_) {
            std::lock_guard lock(mutex_);
            deferred_.push_back(std::move(handler));
            return;
        }
        handler(answer_ ? answer_(request) : std::nullopt);
    }

    // Keeps reply handlers for replyLater() instead of answering.
    void deferReplies() { defer_ = true; }
    void replyLater(std::optional<std::string> reply) {
        std::vector<ReplyHandler> handlers;
        {
            std::lock_guard lock(mutex_);
            handlers.swap(deferred_);
        }
        for (auto& handler : handlers)
            handler(reply);
    }

    void fire(Event event) { events_(event); }
    bool resumed() const { return resumed_; }
    std::vector<wire::Message> sent() const {
        std::lock_guard lock(mutex_);
        return sent_;
    }

private:
    Answer answer_;
    EventHandler events_;
    bool resumed_ = false;
    bool defer_ = false;
    mutable std::mutex mutex_;
    std::vector<wire::Message> sent_;
    std::vector<ReplyHandler> deferred_;
};

class FakeInstaller final : public erase::HelperInstaller {
public:
    bool exists = true;
    bool blessSucceeds = true;
    std::string blessError = "The operation couldn't be completed.";
    int blessCalls = 0;

    bool jobExists() override { return exists; }
    bool bless(std::string& error) override {
        ++blessCalls;
        if (!blessSucceeds)
            error = blessError;
        return blessSucceeds;
    }
};

// Passes everything to `inner` and records each request with the reply it got.
class RecordingConnection final : public erase::HelperConnection {
public:
    struct Exchange {
        wire::Message request;
        std::optional<std::string> reply;
    };

    explicit RecordingConnection(std::shared_ptr<erase::HelperConnection> inner)
        : inner_(std::move(inner)) {}

    void setEventHandler(EventHandler handler) override {
        inner_->setEventHandler(std::move(handler));
    }
    void resume() override { inner_->resume(); }
    void sendMessageWithReply(const wire::Message& request, ReplyHandler handler) override {
        inner_->sendMessageWithReply(request,
                                     [this, request, handler](std::optional<std::string> reply) {
                                         {
                                             std::lock_guard lock(mutex_);
                                             exchanges_.push_back({request, reply});
                                         }
                                         handler(std::move(reply));
                                     });
    }

    std::vector<Exchange> exchanges() const {
        std::lock_guard lock(mutex_);
        return exchanges_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<Exchange> exchanges_;
    // Last, so that it goes first: its thread may still hand replies to this object.
    std::shared_ptr<erase::HelperConnection> inner_;
};

} // namespace tpc::test
