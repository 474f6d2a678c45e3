#include "support/ImmediateMainThread.h"

namespace tpc::test {

void ImmediateMainThread::invoke(Task task) {
    std::lock_guard lock(mutex_);
    task();
}

void ImmediateMainThread::post(Task task) {
    std::lock_guard lock(mutex_);
    task();
}

} // namespace tpc::test
