#include "core/AppDelegate.h"

#include "core/Clock.h"
#include "core/Frontend.h"
#include "core/Keys.h"
#include "core/MainThread.h"
#include "core/SystemLog.h"
#include "core/UiScriptingTexts.h"
#include "platform/Platform.h"

namespace tpc::core {

namespace {
constexpr double kShutdownPollSeconds = 0.25;
}

AppDelegate::AppDelegate(AppServices services)
    : services_(services),
      settings_(services.platform.settingsFolder(), services.log, services.clock),
      ctx_{settings_,         flags_,         services.frontend, services.mainThread,
           services.platform, services.clock, services.log},
      general_(settings_), presets_(settings_),
      helper_(erase::HelperClientEnv{services.clock, services.log, flags_.abortCleaningFlag(),
                                     [this] { return general_.fileDeletionOption(); },
                                     erase::UnixHelperConnection::factory(), installer_}),
      deleter_(deleterEnv()), cookies_(settings_, services.log),
      browsers_(std::make_unique<browsers::BrowserCleaners>(
          browsers::CleanerEnv{services.platform, deleter_, cookies_, services.log})),
      tasks_(std::make_unique<TaskRunner>(ctx_)),
      browserDriver_(
          std::make_unique<browsers::BrowserDriver>(ctx_, *tasks_, *browsers_, cookies_)),
      systemJunk_(std::make_unique<system::SystemJunk>(
          services.platform, deleter_, services.log,
          [this] {
              services_.mainThread.post([this] { services_.frontend.bringMainWindowToFront(); });
          })),
      systemDriver_(std::make_unique<system::SystemDriver>(ctx_, *tasks_, *systemJunk_)),
      appCatalogue_(std::make_unique<apps::AppCatalogue>(ctx_)),
      appTraces_(std::make_unique<apps::AppTraces>(services.platform, deleter_, services.log)),
      recentsDriver_(
          std::make_unique<apps::RecentsDriver>(ctx_, *tasks_, *appCatalogue_, *appTraces_)),
      eraserList_(std::make_unique<eraser::EraserList>(ctx_)),
      eraserDriver_(std::make_unique<eraser::EraserDriver>(ctx_, *tasks_, *eraserList_, deleter_)) {
}

erase::DeleterEnv AppDelegate::deleterEnv() {
    return erase::DeleterEnv{flags_.abortCleaningFlag(),
                             [this] { return general_.fileDeletionOption(); }, services_.clock,
                             services_.log, &helper_};
}

AppDelegate::~AppDelegate() {
    // Every worker sees an abort request and is waited for: no thread outlives the engine.
    flags_.abortAllOtherScansAndCleans();
    tasks_->joinAll();
}

void AppDelegate::startUp(const StartupOptions& options) {
    // Before the window: the helper is installed, or re-installed when it is older than the one
    // this build carries. The command line never installs it.
    if (!options.headless)
        tasks_->startThread([this] { helper_.initialConnectionWithHelperToolThread(); });
    // The order matters: later steps read what earlier ones built. Each subsystem joins at its
    // own step as it arrives.
    //  a. Schedule pickers (the scheduler).
    //  The settings folder, cleared of the temporary files that interrupted saves left behind.
    settings_.ensureFolder();
    settings_.removeStaleTemporaries();
    //  b. Cookie keep and delete lists, then each browser's delete list from its store.
    cookies_.loadCookies();
    browsers_->refreshAllCookieLists();
    //  c. General settings.
    general_.loadGeneralPrefs();
    //  d. Status item: the desktop application's, set up by its front end.
    //  e. Presets, then the eraser list, browser catalogue, application list and system list.
    presets_.loadPresets();
    eraserList_->loadShredder();
    browserDriver_->populateBrowserData();
    recentsCreated_ = appCatalogue_->loadRecents();
    systemDriver_->populateSystemData();
    //  f. Interface state read from the settings (login-item box, deletion choice, sleep boxes):
    //     the desktop application reads general() and loginItemExists() when it builds its pages.
    //  g. Page widgets: the desktop application.
    //  h. The default preset, then the marks and sort pop-ups of the lists.
    //  i. First-run defaults.
    firstRun(!options.headless);
    // A newly made application list is filled once with the installed applications.
    if (recentsCreated_) {
        recentsCreated_ = false;
        appCatalogue_->recentsFirstRunForAddingApps();
    }
    //  j. Progress indicator and result line reset: the desktop application's initial state.
    //  k. The selected preset is sized once.
    //  l. The erase pattern blocks, made once for the life of the process.
    erase::PatternBlocks::shared();
    //  m. Window to the front, the UI-scripting prompt, then the window shown.
    if (!options.headless) {
        services_.frontend.bringMainWindowToFront();
        promptForUIElementsEnabling();
        services_.frontend.ui("showMainWindow");
    }
}

std::vector<CategoryEngine*> AppDelegate::categories() {
    return {browserDriver_.get(), recentsDriver_.get(), systemDriver_.get(), eraserDriver_.get()};
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
        services_.frontend.ui("loginItemCheckBox", Value(true));
    }
    setFirstRunSchedules();
    if (addLoginItem)
        services_.frontend.ui("showMainWindow");
}

void AppDelegate::setFirstRunSchedules() {
    // Monday 10:00, Wednesday 12:00 and Friday 14:00 for the "One Click Clean" preset, with the
    // schedule enabled: filled in with the scheduler.
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
    if (answer == AlertDefault) {
        // Clearing the recent folders makes the system ask for the permission; the Finder
        // script comes with the application recents. Then open the privacy settings.
        scripts.run(getOpenSysPrefsScript());
        AlertRequest followUp;
        followUp.title = "Information";
        followUp.message = uiScriptingFollowUpText(version);
        followUp.defaultButton = "OK";
        services_.frontend.showAlert(followUp);
    } else if (answer == AlertOther) {
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

} // namespace tpc::core
