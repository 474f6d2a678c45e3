#pragma once
// A main thread for tests that drive the engine from a single thread.

#include "core/MainThread.h"

#include <mutex>

namespace tpc::test {

// Runs every task at once on the calling thread, one at a time. For tests that drive the
// engine from a single thread, and for code that has no interface thread.
class ImmediateMainThread final : public core::MainThread {
public:
    void invoke(Task task) override;
    void post(Task task) override;
    bool isMainThread() const override { return true; }

private:
    std::recursive_mutex mutex_;
};

} // namespace tpc::test
