#include "core/CategoryEngine.h"

namespace tpc::core {

void CategoryEngine::hook(Frontend& ui, const std::function<void()>& fn,
                          const std::string& name) const {
    if (fn)
        fn();
    else
        ui.ui(name);
}

TaskSpec CategoryEngine::hookedTask(Frontend& ui, TaskKind kind, const std::string& who,
                                    const std::string& reload) {
    const bool scan = kind == TaskKind::Scan;
    const std::string suffix = who + (scan ? "Scan" : "Clean");
    PageHooks* h = &hooks;
    TaskSpec task{category(), kind, button(), {}, {}, {}};
    task.disableUI = [this, &ui, h, scan, name = "disableUIElementsFor" + suffix] {
        hook(ui, scan ? h->disableForScan : h->disableForClean, name);
    };
    task.reenableUI = [this, &ui, h, scan, name = "enableUIElementsAfter" + suffix] {
        hook(ui, scan ? h->enableAfterScan : h->enableAfterClean, name);
    };
    task.reloadLists = [this, &ui, h, reload] {
        hook(ui, h->reloadLists, reload);
    };
    return task;
}

} // namespace tpc::core
