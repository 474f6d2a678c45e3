#include "core/MainThread.h"

#include <future>

namespace tpc::core {

QueueMainThread::QueueMainThread() : owner_(std::this_thread::get_id()) {}

bool QueueMainThread::isMainThread() const {
    return std::this_thread::get_id() == owner_;
}

void QueueMainThread::invoke(Task task) {
    if (isMainThread()) {
        task();
        return;
    }
    std::promise<void> done;
    auto finished = done.get_future();
    post([&] {
        task();
        done.set_value();
    });
    finished.wait();
}

void QueueMainThread::post(Task task) {
    {
        std::lock_guard lock(mutex_);
        queue_.push_back(std::move(task));
    }
    cv_.notify_all();
}

void QueueMainThread::wake() {
    { std::lock_guard lock(mutex_); }
    cv_.notify_all();
}

void QueueMainThread::runUntil(const std::function<bool()>& done) {
    for (;;) {
        drain();
        std::unique_lock lock(mutex_);
        if (queue_.empty()) {
            lock.unlock();
            if (done())
                return;
            lock.lock();
            // Bounded wait: `done` may turn true without a wake (a flag set by a worker).
            cv_.wait_for(lock, std::chrono::milliseconds(20), [&] { return !queue_.empty(); });
        }
    }
}

void QueueMainThread::drain() {
    for (;;) {
        Task task;
        {
            std::lock_guard lock(mutex_);
            if (queue_.empty())
                return;
            task = std::move(queue_.front());
            queue_.pop_front();
        }
        task();
    }
}

} // namespace tpc::core
