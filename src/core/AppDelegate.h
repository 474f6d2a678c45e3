#pragma once
// The application's wiring: builds the shared context and every subsystem in the fixed start-up
// order, runs first-start defaults and the UI-scripting prompt, and shuts down in order. Both front
// ends drive the engine through one AppDelegate.

#include "apps/AppCatalogue.h"
#include "apps/AppTraces.h"
#include "apps/RecentsDriver.h"
#include "browsers/BrowserCleaners.h"
#include "browsers/BrowserDriver.h"
#include "browsers/CookieLists.h"
#include "core/CategoryEngine.h"
#include "core/Context.h"
#include "core/GeneralPrefs.h"
#include "core/Settings.h"
#include "core/TaskFlags.h"
#include "core/TaskRunner.h"
#include "erase/Deleter.h"
#include "erase/HelperClient.h"
#include "erase/PkexecInstaller.h"
#include "eraser/EraserDriver.h"
#include "eraser/EraserList.h"
#include "presets/PresetStore.h"
#include "system/SystemDriver.h"
#include "system/SystemJunk.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tpc::platform {
struct SystemVersion;
}

namespace tpc::core {

// What the front end provides.
struct AppServices {
    Frontend& frontend;
    MainThread& mainThread;
    platform::Platform& platform;
    Clock& clock;
    SystemLog& log;
};

struct StartupOptions {
    // Without window, status item and UI-scripting prompt, never adding a login item and never
    // installing the privileged helper (the command line).
    bool headless = false;
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

    Context& context() { return ctx_; }
    Settings& settings() { return settings_; }
    TaskFlags& flags() { return flags_; }
    TaskRunner& tasks() { return *tasks_; }
    GeneralPrefs& general() { return general_; }
    presets::PresetStore& presets() { return presets_; }
    // The deletion engine every cleaner removes files through, and how it is set up.
    erase::Deleter& deleter() { return deleter_; }
    erase::DeleterEnv deleterEnv();
    erase::HelperClient& helper() { return helper_; }
    browsers::CookieLists& cookies() { return cookies_; }
    browsers::BrowserCleaners& browsers() { return *browsers_; }
    browsers::BrowserDriver& browserDriver() { return *browserDriver_; }
    system::SystemJunk& systemJunk() { return *systemJunk_; }
    system::SystemDriver& systemDriver() { return *systemDriver_; }
    apps::AppCatalogue& appCatalogue() { return *appCatalogue_; }
    apps::AppTraces& appTraces() { return *appTraces_; }
    apps::RecentsDriver& recentsDriver() { return *recentsDriver_; }
    eraser::EraserList& eraserList() { return *eraserList_; }
    eraser::EraserDriver& eraserDriver() { return *eraserDriver_; }
    // Every cleaning category, as the pages and `tpc scan|clean` reach them by name().
    std::vector<CategoryEngine*> categories();

    // Start at login.
    bool loginItemExists();
    void toggleLoginItem(bool on);

    // First-start defaults; runs only while "First Run Done" is absent.
    void firstRun(bool addLoginItem);
    void setFirstRunSchedules();

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
    AppServices services_;
    Settings settings_;
    TaskFlags flags_;
    Context ctx_;
    GeneralPrefs general_;
    presets::PresetStore presets_;
    erase::PkexecInstaller installer_;
    erase::HelperClient helper_;
    erase::Deleter deleter_;
    browsers::CookieLists cookies_;
    std::unique_ptr<browsers::BrowserCleaners> browsers_;
    std::unique_ptr<TaskRunner> tasks_;
    std::unique_ptr<browsers::BrowserDriver> browserDriver_;
    std::unique_ptr<system::SystemJunk> systemJunk_;
    std::unique_ptr<system::SystemDriver> systemDriver_;
    std::unique_ptr<apps::AppCatalogue> appCatalogue_;
    std::unique_ptr<apps::AppTraces> appTraces_;
    std::unique_ptr<apps::RecentsDriver> recentsDriver_;
    std::unique_ptr<eraser::EraserList> eraserList_;
    std::unique_ptr<eraser::EraserDriver> eraserDriver_;
    // The application list was made at this start-up: the first fill is due.
    bool recentsCreated_ = false;
    std::atomic<bool> terminatingApp_{false};
};

} // namespace tpc::core
