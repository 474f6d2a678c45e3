#pragma once
// The helper's running and finished operations by their uuid. Each operation runs on a thread of
// the table's own with an abort flag of its own.

#include "core/Clock.h"
#include "core/ThreadGroup.h"

#include <atomic>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace tpc::helper {

class OperationTable {
public:
    // The work of one operation; it should return soon after `abort` is set.
    using Work = std::function<void(const std::atomic<bool>& abort)>;
    enum class StartResult { Started, Busy, Duplicate };

    // At most `maxRunning` operations run at once; the newest `keptFinished` finished ones are
    // remembered so that "ops running" can still answer for them.
    explicit OperationTable(core::Clock& clock, std::size_t maxRunning = 8,
                            std::size_t keptFinished = 256);
    // Aborts every operation and waits for them.
    ~OperationTable();
    OperationTable(const OperationTable&) = delete;
    OperationTable& operator=(const OperationTable&) = delete;

    StartResult start(const std::string& uuid, Work work);
    // False for an operation that is over and for an unknown uuid.
    bool running(const std::string& uuid) const;
    // Sets the operation's abort flag and waits, up to `limit`, until it has stopped. True when
    // it is not running any more (or never was).
    bool abort(const std::string& uuid, core::Clock::Duration limit);
    void abortAll();
    // Waits for every operation started so far.
    void waitIdle();

private:
    struct Operation {
        std::atomic<bool> abort{false};
        std::atomic<bool> finished{false};
    };
    std::shared_ptr<Operation> find(const std::string& uuid) const;
    void forgetOldFinishedLocked();

    core::Clock& clock_;
    const std::size_t maxRunning_;
    const std::size_t keptFinished_;
    mutable std::mutex mutex_;
    std::map<std::string, std::shared_ptr<Operation>> operations_;
    std::deque<std::string> order_; // uuids, oldest first
    core::ThreadGroup threads_;
};

} // namespace tpc::helper
