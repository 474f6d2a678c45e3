#include "controller/AppDelegate.h"

#include "apps/AppsModule.h"
#include "browsers/BrowsersModule.h"
#include "controller/UiScriptingTexts.h"
#include "core/Clock.h"
#include "core/Frontend.h"
#include "core/MainThread.h"
#include "core/SystemLog.h"
#include "erase/EraseModule.h"
#include "eraser/EraserModule.h"
#include "extensions/ExtensionsModule.h"
#include "photos/PhotosModule.h"
#include "platform/Platform.h"
#include "power/PowerModule.h"
#include "presets/PresetsModule.h"
#include "schedule/ScheduleModule.h"
#include "system/SystemModule.h"
#include "update/UpdateModule.h"

#include <algorithm>

namespace tpc::controller {

using core::AlertRequest;
using core::Clock;
using core::StartupStep;

namespace {
constexpr double kShutdownPollSeconds = 0.25;
}

AppDelegate::AppDelegate(AppServices services)
    : services_(services),
      settings_(services.platform.settingsFolder(), services.log, services.clock),
      ctx_{settings_,         flags_,         services.frontend, services.mainThread,
           services.platform, services.clock, services.log},
      general_(settings_), tasks_(std::make_unique<core::TaskRunner>(ctx_)) {
    // One line per subsystem, in start-up order: at each step of start-up the modules act in
    // this order (presets, then the eraser list, browser catalogue, application list and system
    // list).
    auto& deleter = add<erase::EraseModule>(ctx_, *tasks_, general_).deleter();
    add<presets::PresetsModule>(ctx_, *tasks_, [this] { return categories(); });
    add<power::PowerModule>(ctx_, *tasks_, general_);
    add<schedule::ScheduleModule>(ctx_, *tasks_, general_, *module<presets::PresetsModule>());
    add<update::UpdateModule>(ctx_);
    add<eraser::EraserModule>(ctx_, *tasks_, deleter);
    add<browsers::BrowsersModule>(ctx_, *tasks_, deleter);
    add<apps::AppsModule>(ctx_, *tasks_, deleter);
    add<system::SystemModule>(ctx_, *tasks_, deleter);
    add<extensions::ExtensionsModule>(ctx_, *tasks_, deleter);
    add<photos::PhotosModule>(ctx_, *tasks_, deleter);
    erase_ = module<erase::EraseModule>();
}

template <class M, class... Args> M& AppDelegate::add(Args&&... args) {
    auto made = std::make_unique<M>(std::forward<Args>(args)...);
    M& ref = *made;
    modules_.push_back(std::move(made));
    return ref;
}

AppDelegate::~AppDelegate() {
    // Every worker sees an abort request and is waited for: no thread outlives the engine.
    flags_.abortAllOtherScansAndCleans();
    tasks_->joinAll();
    for (auto& m : modules_)
        m->shutdown();
    // Later modules hold references into earlier ones (the deletion engine): last made, first
    // gone.
    while (!modules_.empty())
        modules_.pop_back();
}

void AppDelegate::startStep(StartupStep step, const StartupOptions& options) {
    for (auto& m : modules_)
        m->start(step, options);
}

void AppDelegate::startUp(const StartupOptions& options) {
    // Before the window: the privileged helper is installed (never from the command line).
    startStep(StartupStep::BeforeWindow, options);
    // The order matters: later steps read what earlier ones built.
    //  a. Schedule pickers.
    startStep(StartupStep::Schedule, options);
    //  The settings folder, cleared of the temporary files that interrupted saves left behind.
    settings_.ensureFolder();
    settings_.removeStaleTemporaries();
    //  b. Cookie keep and delete lists, then each browser's delete list from its store.
    startStep(StartupStep::EarlyLists, options);
    //  c. General settings.
    general_.loadGeneralPrefs();
    //  d. Status item: the desktop application's, set up by its front end.
    //  e. Presets, then the eraser list, browser catalogue, application list and system list.
    startStep(StartupStep::Lists, options);
    //  f. Interface state read from the settings (login-item box, deletion choice, sleep boxes):
    //     the desktop application reads general() and loginItemExists() when it builds its pages.
    //  g. Page widgets: the desktop application.
    //  h. The default preset, then the marks and sort pop-ups of the lists.
    startStep(StartupStep::DefaultPreset, options);
    //  i. First-run defaults.
    firstRun(!options.headless);
    //  A newly made application list is filled once with the installed applications.
    startStep(StartupStep::AfterFirstRun, options);
    //  j. Progress indicator and result line reset: the desktop application's initial state.
    //  k. The selected preset is sized once.
    startStep(StartupStep::PresetSizing, options);
    //  l. The erase pattern blocks, made once for the life of the process.
    startStep(StartupStep::Resources, options);
    //  m. Window to the front, the UI-scripting prompt, then the window shown.
    if (!options.headless) {
        services_.frontend.bringMainWindowToFront();
        promptForUIElementsEnabling();
        services_.frontend.ui("showMainWindow");
    }
}

std::vector<core::CategoryEngine*> AppDelegate::categories() {
    // The browsers, recents, system and eraser pages' order.
    static const char* const kOrder[] = {"browsers", "apps", "system", "eraser"};
    std::vector<core::CategoryEngine*> all;
    for (const char* name : kOrder)
        for (auto& m : modules_)
            if (m->name() == name)
                for (auto* c : m->categories())
                    all.push_back(c);
    for (auto& m : modules_)
        if (std::find(std::begin(kOrder), std::end(kOrder), m->name()) == std::end(kOrder))
            for (auto* c : m->categories())
                all.push_back(c);
    return all;
}

bool AppDelegate::loginItemExists() {
    return services_.platform.loginItems().exists(services_.platform.applicationPath().string());
}

void AppDelegate::toggleLoginItem(bool on) {
    auto& items = services_.platform.loginItems();
    auto path = services_.platform.applicationPath().string();
    if (on)
        items.enable(path);
    else
        items.disable(path);
}

void AppDelegate::firstRun(bool addLoginItem) {
    if (general_.firstRunDone())
        return;
    // Saved first, so that a failure later in first run does not repeat it.
    general_.setFirstRunDone();
    if (addLoginItem && !loginItemExists()) {
        toggleLoginItem(true);
        services_.frontend.ui("loginItemCheckBox", core::Value(true));
    }
    // The schedules (Monday, Wednesday and Friday for the built-in preset), then the
    // application list.
    for (auto& m : modules_)
        m->firstRun();
    if (addLoginItem)
        services_.frontend.ui("showMainWindow");
}

std::string AppDelegate::uiElementsProbeScript() {
    return "tell application \"System Events\"\nset isUIScriptingEnabled to UI elements "
           "enabled\nend tell\nreturn isUIScriptingEnabled\n";
}

std::string AppDelegate::getOpenSysPrefsScript() {
    return "tell application \"System Events\"\n"
           "tell application \"System Preferences\"\n"
           "activate\n"
           "reveal anchor \"Privacy\" of pane id \"com.apple.preference.security\"\n"
           "end tell\n"
           "end tell\n";
}

namespace {

// Whether the system is older than 10.9.3, the version that moved the permission into the
// Accessibility list. Without a version the newer texts apply.
bool beforeAccessibilityList(const std::optional<platform::SystemVersion>& v) {
    if (!v)
        return false;
    if (v->major != 10)
        return v->major < 10;
    return v->minor < 9 || (v->minor == 9 && v->bugFix < 3);
}

} // namespace

std::string AppDelegate::uiScriptingPromptText(const std::optional<platform::SystemVersion>& v) {
    return beforeAccessibilityList(v) ? uiscripting::kPromptBefore : uiscripting::kPromptFrom;
}

std::string AppDelegate::uiScriptingFollowUpText(const std::optional<platform::SystemVersion>& v) {
    return beforeAccessibilityList(v) ? uiscripting::kFollowUpBefore : uiscripting::kFollowUpFrom;
}

void AppDelegate::promptForUIElementsEnabling() {
    if (!general_.promptForSystemUIElementsEnabled())
        return;
    auto& scripts = services_.platform.scriptRunner();
    auto probe = scripts.run(uiElementsProbeScript());
    if (!probe.compiled) {
        services_.log.log("UI elements enable script compile failed");
        return;
    }
    if (probe.succeeded && probe.output == "true")
        return;

    auto version = services_.platform.systemVersion();
    AlertRequest prompt;
    prompt.title = "Information";
    prompt.message = uiScriptingPromptText(version);
    prompt.defaultButton = "OK";
    prompt.alternateButton = "Not Now";
    prompt.otherButton = "NO, don't prompt again";
    int answer = services_.frontend.showAlert(prompt);
    if (answer == core::AlertDefault) {
        // Clearing the recent folders makes the system ask for the permission; the Finder
        // script comes with the application recents. Then open the privacy settings.
        scripts.run(getOpenSysPrefsScript());
        AlertRequest followUp;
        followUp.title = "Information";
        followUp.message = uiScriptingFollowUpText(version);
        followUp.defaultButton = "OK";
        services_.frontend.showAlert(followUp);
    } else if (answer == core::AlertOther) {
        general_.setPromptForSystemUIElements(false);
    }
}

void AppDelegate::terminateApp(ShutdownHooks hooks) {
    terminatingApp_ = true;
    // A task still running is asked to abort, so that quitting waits for it to wind down.
    if (!flags_.allScansAndCleansAborted() || flags_.scanOrCleanRunning())
        flags_.abortAllOtherScansAndCleans();
    auto& clock = services_.clock;
    auto& main = services_.mainThread;
    tasks_->startThread([this, hooks = std::move(hooks), &clock, &main] {
        while (!flags_.allScansAndCleansAborted())
            clock.sleepFor(Clock::seconds(kShutdownPollSeconds));
        main.invoke([&] {
            if (hooks.removeStatusItem)
                hooks.removeStatusItem();
        });
        main.post([hooks] {
            if (hooks.closeMainWindow)
                hooks.closeMainWindow();
        });
        for (;;) {
            bool visible = false;
            main.invoke([&] { visible = hooks.mainWindowVisible && hooks.mainWindowVisible(); });
            if (!visible)
                break;
            clock.sleepFor(Clock::seconds(kShutdownPollSeconds));
        }
        main.post([hooks] {
            if (hooks.terminate)
                hooks.terminate();
        });
    });
}

void AppDelegate::windowWillClose() {
    if (terminatingApp_)
        return;
    AlertRequest notice;
    notice.title = "Tavrin Privacy Cleaner will be running";
    notice.message =
        "Tavrin Privacy Cleaner will be running and can be accessed from the status bar.";
    notice.defaultButton = "OK";
    services_.frontend.showAlert(notice);
}

} // namespace tpc::controller
