#include "core/ThreadGroup.h"

namespace tpc::core {

ThreadGroup::~ThreadGroup() {
    joinAll();
}

void ThreadGroup::reapFinishedLocked() {
    for (auto it = threads_.begin(); it != threads_.end();) {
        if (it->finished->load()) {
            it->thread.join();
            it = threads_.erase(it);
        } else {
            ++it;
        }
    }
}

void ThreadGroup::start(std::function<void()> body) {
    auto finished = std::make_shared<std::atomic<bool>>(false);
    std::lock_guard lock(mutex_);
    reapFinishedLocked();
    std::thread t([body = std::move(body), finished]() mutable {
        if (body)
            body();
        // Whatever the body holds goes now, so reaping a finished thread never waits on it.
        body = nullptr;
        finished->store(true);
    });
    threads_.push_back(OwnedThread{std::move(t), std::move(finished)});
}

bool ThreadGroup::idle() {
    std::lock_guard lock(mutex_);
    for (const auto& owned : threads_)
        if (!owned.finished->load())
            return false;
    return true;
}

void ThreadGroup::joinAll() {
    for (;;) {
        std::vector<OwnedThread> batch;
        {
            std::lock_guard lock(mutex_);
            batch.swap(threads_);
        }
        if (batch.empty())
            return;
        for (auto& owned : batch)
            owned.thread.join();
    }
}

} // namespace tpc::core
