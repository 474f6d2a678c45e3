#include "core/TaskFlags.h"

namespace tpc::core {

const char* categoryName(Category category) {
    switch (category) {
    case Category::Browsers:
        return "Browser";
    case Category::Shredder:
        return "Shredder";
    case Category::Presets:
        return "Presets";
    case Category::Recents:
        return "Recents";
    case Category::System:
        return "System";
    case Category::Ext:
        return "Ext";
    case Category::IPhoto:
        return "IPhoto";
    }
    return "";
}

bool TaskFlags::running(Category c, TaskKind k) const {
    return running_[index(c, k)].load();
}

bool TaskFlags::aborting(Category c, TaskKind k) const {
    return abort_[index(c, k)].load();
}

void TaskFlags::setRunning(Category c, TaskKind k, bool on) {
    running_[index(c, k)].store(on);
}

void TaskFlags::setAbort(Category c, TaskKind k, bool on) {
    abort_[index(c, k)].store(on);
    // Clearing a clean's abort also ends the request that stops erasure between passes.
    if (k == TaskKind::Clean && !on)
        abortCleaning_.store(false);
}

bool TaskFlags::scanOrCleanRunning() const {
    for (Category c : kAllCategories)
        for (TaskKind k : {TaskKind::Scan, TaskKind::Clean})
            if (running(c, k) && !aborting(c, k))
                return true;
    return false;
}

void TaskFlags::abortAllOtherScansAndCleans() {
    for (std::size_t i = 0; i < running_.size(); ++i)
        if (running_[i].load())
            abort_[i].store(true);
    abortCleaning_.store(true);
}

bool TaskFlags::allScansAndCleansAborted() const {
    for (const auto& flag : abort_)
        if (flag.load())
            return false;
    return true;
}

bool TaskFlags::otherTaskRunning(Category c, TaskKind k) const {
    const std::size_t own = index(c, k);
    for (std::size_t i = 0; i < running_.size(); ++i)
        if (i != own && running_[i].load())
            return true;
    return false;
}

} // namespace tpc::core
