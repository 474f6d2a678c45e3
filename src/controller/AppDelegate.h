#pragma once
// The composition root: builds the shared context and one module per subsystem, runs start-up in
// its fixed order (each module joins at its steps), first-start defaults, the login item and the
// UI-scripting prompt, and shuts down in order. Both front ends build one AppDelegate and hand each
// page or command the module it uses.

#include "core/CategoryEngine.h"
#include "core/Context.h"
#include "core/GeneralPrefs.h"
#include "core/Module.h"
#include "core/Settings.h"
#include "core/TaskFlags.h"
#include "core/TaskRunner.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tpc::platform {
struct SystemVersion;
}

namespace tpc::erase {
class EraseModule;
}

namespace tpc::controller {

using core::StartupOptions;

// What the front end provides.
struct AppServices {
    core::Frontend& frontend;
    core::MainThread& mainThread;
    platform::Platform& platform;
    core::Clock& clock;
    core::SystemLog& log;
};

// The window-facing steps of shutdown, run on the main thread.
struct ShutdownHooks {
    std::function<void()> removeStatusItem;
    std::function<void()> closeMainWindow;
    std::function<bool()> mainWindowVisible;
    std::function<void()> terminate;
};

class AppDelegate {
public:
    explicit AppDelegate(AppServices services);
    ~AppDelegate();
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    void startUp(const StartupOptions& options);

    core::Context& context() { return ctx_; }
    core::Settings& settings() { return settings_; }
    core::TaskFlags& flags() { return flags_; }
    core::TaskRunner& tasks() { return *tasks_; }
    core::GeneralPrefs& general() { return general_; }
    // The deletion subsystem every cleaner removes files through; always present.
    erase::EraseModule& erase() { return *erase_; }
    // A subsystem's module by type; nullptr when the subsystem is not part of this program.
    template <class M> M* module() const {
        for (const auto& m : modules_)
            if (auto* found = dynamic_cast<M*>(m.get()))
                return found;
        return nullptr;
    }
    const std::vector<std::unique_ptr<core::Module>>& modules() const { return modules_; }
    // Every cleaning category, as the pages and `tpc scan|clean` reach them by name().
    std::vector<core::CategoryEngine*> categories();

    // Start at login.
    bool loginItemExists();
    void toggleLoginItem(bool on);

    // First-start defaults; runs only while "First Run Done" is absent.
    void firstRun(bool addLoginItem);

    // The one-time prompt asking the user to allow UI scripting.
    void promptForUIElementsEnabling();
    static std::string uiElementsProbeScript();
    static std::string getOpenSysPrefsScript();
    // The two alert texts for a system version (none: the newer texts).
    static std::string uiScriptingPromptText(const std::optional<platform::SystemVersion>& v);
    static std::string uiScriptingFollowUpText(const std::optional<platform::SystemVersion>& v);

    // Quit: asks every task to abort, then a waiting thread polls every 0.25 s until every abort
    // has been handled, removes the status item, closes the window and terminates.
    void terminateApp(ShutdownHooks hooks);
    bool terminatingApp() const { return terminatingApp_.load(); }
    // The main window closed: unless quitting, tell the user the program keeps running.
    void windowWillClose();

private:
    template <class M, class... Args> M& add(Args&&... args);
    void startStep(core::StartupStep step, const StartupOptions& options);

    AppServices services_;
    core::Settings settings_;
    core::TaskFlags flags_;
    core::Context ctx_;
    core::GeneralPrefs general_;
    std::unique_ptr<core::TaskRunner> tasks_;
    // In start-up order.
    std::vector<std::unique_ptr<core::Module>> modules_;
    erase::EraseModule* erase_ = nullptr;
    std::atomic<bool> terminatingApp_{false};
};

} // namespace tpc::controller
