#pragma once
// Threads owned by one object: started detached in spirit (nobody waits for them at once) but
// always joinable, and all joined before their owner goes away.

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace tpc::core {

class ThreadGroup {
public:
    ThreadGroup() = default;
    ~ThreadGroup();
    ThreadGroup(const ThreadGroup&) = delete;
    ThreadGroup& operator=(const ThreadGroup&) = delete;

    // Starts `body` on a new thread. Threads that have finished are joined here, so a long
    // session does not pile them up.
    void start(std::function<void()> body);
    // Waits for every thread started, including threads they start meanwhile. Never call it from
    // one of those threads, nor from the main thread while one of them waits for it.
    void joinAll();
    // True when every thread started has finished its work.
    bool idle();

private:
    struct OwnedThread {
        std::thread thread;
        std::shared_ptr<std::atomic<bool>> finished;
    };
    void reapFinishedLocked();

    std::mutex mutex_;
    std::vector<OwnedThread> threads_;
};

} // namespace tpc::core
