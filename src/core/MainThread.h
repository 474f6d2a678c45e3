#pragma once
// The user-interface thread as the engine sees it: workers reach the interface only through
// invoke (runs the function there and waits) or post (queues it and returns).

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace tpc::core {

class MainThread {
public:
    using Task = std::function<void()>;
    virtual ~MainThread() = default;
    // Runs `task` on the main thread and returns when it has run. From the main thread itself
    // it runs at once.
    virtual void invoke(Task task) = 0;
    // Queues `task` for the main thread and returns at once.
    virtual void post(Task task) = 0;
    virtual bool isMainThread() const = 0;
};

// A queue that the thread which made it drains while it waits (the command line's main loop).
class QueueMainThread final : public MainThread {
public:
    QueueMainThread();
    void invoke(Task task) override;
    void post(Task task) override;
    bool isMainThread() const override;

    // Runs queued tasks until `done` answers true (checked after every task and on every wake).
    void runUntil(const std::function<bool()>& done);
    // Runs what is queued now and returns.
    void drain();
    // Wakes runUntil so it checks `done` again.
    void wake();

private:
    std::thread::id owner_;
    std::mutex mutex_;
    std::condition_variable cv_;
    std::deque<Task> queue_;
};

} // namespace tpc::core
