#include "helper/OperationTable.h"

namespace tpc::helper {

namespace {
constexpr double kAbortPollSeconds = 0.02;
}

OperationTable::OperationTable(core::Clock& clock, std::size_t maxRunning, std::size_t keptFinished)
    : clock_(clock), maxRunning_(maxRunning), keptFinished_(keptFinished) {}

OperationTable::~OperationTable() {
    abortAll();
    threads_.joinAll();
}

OperationTable::StartResult OperationTable::start(const std::string& uuid, Work work) {
    auto op = std::make_shared<Operation>();
    {
        std::lock_guard lock(mutex_);
        if (operations_.count(uuid))
            return StartResult::Duplicate;
        std::size_t running = 0;
        for (const auto& entry : operations_)
            if (!entry.second->finished.load())
                ++running;
        if (running >= maxRunning_)
            return StartResult::Busy;
        forgetOldFinishedLocked();
        operations_.emplace(uuid, op);
        order_.push_back(uuid);
    }
    threads_.start([op, work = std::move(work)] {
        work(op->abort);
        op->finished.store(true);
    });
    return StartResult::Started;
}

void OperationTable::forgetOldFinishedLocked() {
    std::size_t finished = 0;
    for (const auto& entry : operations_)
        if (entry.second->finished.load())
            ++finished;
    for (auto it = order_.begin(); finished >= keptFinished_ && it != order_.end();) {
        auto found = operations_.find(*it);
        if (found != operations_.end() && found->second->finished.load()) {
            operations_.erase(found);
            it = order_.erase(it);
            --finished;
        } else {
            ++it;
        }
    }
}

std::shared_ptr<OperationTable::Operation> OperationTable::find(const std::string& uuid) const {
    std::lock_guard lock(mutex_);
    auto it = operations_.find(uuid);
    return it == operations_.end() ? nullptr : it->second;
}

bool OperationTable::running(const std::string& uuid) const {
    auto op = find(uuid);
    return op && !op->finished.load();
}

bool OperationTable::abort(const std::string& uuid, core::Clock::Duration limit) {
    auto op = find(uuid);
    if (!op)
        return true;
    op->abort.store(true);
    const auto deadline = clock_.now() + limit;
    while (!op->finished.load()) {
        if (clock_.now() >= deadline)
            return false;
        clock_.sleepFor(core::Clock::seconds(kAbortPollSeconds));
    }
    return true;
}

void OperationTable::abortAll() {
    std::lock_guard lock(mutex_);
    for (auto& entry : operations_)
        entry.second->abort.store(true);
}

void OperationTable::waitIdle() {
    threads_.joinAll();
}

} // namespace tpc::helper
