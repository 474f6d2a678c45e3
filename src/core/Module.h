#pragma once
// A subsystem as the application's composition root sees it: one object per subsystem folder that
// owns the subsystem's objects, joins the fixed start-up order at its steps, takes part in first
// run and shutdown, and names the cleaning categories it offers.

#include <string>
#include <vector>

namespace tpc::core {

class CategoryEngine;

struct StartupOptions {
    // Without window, status item and UI-scripting prompt, never adding a login item and never
    // installing the privileged helper (the command line).
    bool headless = false;
};

// The steps of start-up at which subsystems do their part, in the order they run. Steps that only
// the controller or a front end has work for (settings folder, general settings, status item,
// page widgets, window) are not listed.
enum class StartupStep {
    // Before the window: background work that must begin first (the privileged helper).
    BeforeWindow,
    // a. The schedule pickers.
    Schedule,
    // b. Lists that later loads read (cookie keep and delete lists).
    EarlyLists,
    // e. Every subsystem's lists and settings, in module order.
    Lists,
    // h. The default preset, then the marks and sort pop-ups of the lists.
    DefaultPreset,
    // After first run: fills made once for a newly created list.
    AfterFirstRun,
    // k. The selected preset is sized once.
    PresetSizing,
    // l. Resources made once for the life of the process.
    Resources,
};

class Module {
public:
    virtual ~Module() = default;

    virtual std::string name() const = 0;
    // Called at every step of start-up, in module order; a module acts at the steps it has work
    // for.
    virtual void start(StartupStep step, const StartupOptions& options) {
        (void)step;
        (void)options;
    }
    // First-start defaults; called once, while "First Run Done" is absent.
    virtual void firstRun() {}
    // Shutdown: every task has been asked to abort and every worker joined.
    virtual void shutdown() {}
    // The cleaning categories this subsystem offers, as pages and `tpc scan|clean` reach them.
    virtual std::vector<CategoryEngine*> categories() { return {}; }
};

} // namespace tpc::core
