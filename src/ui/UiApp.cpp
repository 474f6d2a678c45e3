#include "ui/UiApp.h"

#include "apps/AppsModule.h"
#include "browsers/BrowserDriver.h"
#include "browsers/BrowsersModule.h"
#include "controller/AppDelegate.h"
#include "core/Clock.h"
#include "core/SystemLog.h"
#include "core/ThreadGroup.h"
#include "eraser/EraserModule.h"
#include "extensions/ExtensionsModule.h"
#include "photos/PhotosModule.h"
#include "platform/Platform.h"
#include "presets/PresetsModule.h"
#include "schedule/ScheduleModule.h"
#include "system/SystemModule.h"
#include "ui/AddToPresetButton.h"
#include "ui/AutoCleanPage.h"
#include "ui/BrowsersPage.h"
#include "ui/EraserPage.h"
#include "ui/ExtensionsPage.h"
#include "ui/IPhotoPage.h"
#include "ui/MainWindow.h"
#include "ui/PreferencesPage.h"
#include "ui/PresetListeners.h"
#include "ui/ProgressSheet.h"
#include "ui/QtFrontend.h"
#include "ui/QtMainThread.h"
#include "ui/RecentsPage.h"
#include "ui/Resources.h"
#include "ui/SchedulePanel.h"
#include "ui/ScheduleSwitches.h"
#include "ui/StatusItem.h"
#include "ui/SystemPage.h"
#include "ui/UpdateCommand.h"
#include "update/UpdateModule.h"

#include <CLI/CLI.hpp>
#include <QAction>
#include <QApplication>
#include <QIcon>
#include <QImage>
#include <QPointer>
#include <QTimer>

#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tpc::ui {

namespace {

struct Options {
    std::string layout;
    std::string home;
    std::string root = "/";
    std::string screenshot;
    std::string page;
};

// Parses the options the application shares with tpc. Answers an exit status when the program
// must stop (help, bad input).
std::optional<int> parseOptions(int argc, char** argv, Options& options) {
    CLI::App cli{"Tavrin Privacy Cleaner", "tavrin-privacy-cleaner"};
    cli.add_option("--layout", options.layout, "folder layout: macos or linux");
    cli.add_option("--home", options.home, "the user's home folder");
    cli.add_option("--root", options.root, "the file-system root for system-wide folders");
    cli.add_option("--screenshot", options.screenshot,
                   "write a picture of the main window to FILE and quit");
    cli.add_option("--page", options.page,
                   "open the page of this main button at start (e.g. Preferences)");
    cli.allow_extras(); // Qt's own options (-platform, -style, ...)
    try {
        cli.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return cli.exit(e);
    } catch (const CLI::ParseError& e) {
        std::cerr << "tavrin-privacy-cleaner: " << e.what() << "\n";
        return 2;
    }
    return std::nullopt;
}

std::optional<platform::PlatformOptions> platformOptions(const Options& options) {
    platform::PlatformOptions popts;
    if (!options.layout.empty()) {
        auto layout = platform::parseLayout(options.layout);
        if (!layout) {
            std::cerr << "tavrin-privacy-cleaner: unknown layout \"" << options.layout
                      << "\" (use macos or linux)\n";
            return std::nullopt;
        }
        popts.layout = *layout;
    }
    std::error_code ec;
    if (!options.home.empty()) {
        auto home = std::filesystem::absolute(options.home, ec);
        if (ec || !std::filesystem::is_directory(home)) {
            std::cerr << "tavrin-privacy-cleaner: home folder \"" << options.home
                      << "\" does not exist\n";
            return std::nullopt;
        }
        popts.home = home;
    }
    auto root = std::filesystem::absolute(options.root, ec);
    if (ec || !std::filesystem::is_directory(root)) {
        std::cerr << "tavrin-privacy-cleaner: root folder \"" << options.root
                  << "\" does not exist\n";
        return std::nullopt;
    }
    popts.root = root;
    return popts;
}

// Everything the running application holds, destroyed in the reverse order of building: the
// engine's threads are joined while the widgets they post to still exist.
class Application {
public:
    explicit Application(platform::PlatformOptions popts)
        : platform_(std::move(popts)), window_(HoverEnvironment{clock_, mainThread_, uiThreads_}),
          sheet_(&window_), frontend_(window_, sheet_, statusItem_),
          app_(controller::AppServices{frontend_, mainThread_, platform_, clock_, log_}) {}

    ~Application() {
        // Workers and hover delays first, while everything they reach is still here.
        app_.flags().abortAllOtherScansAndCleans();
        uiThreads_.joinAll();
    }

    void start() {
        window_.setWindowIcon(QIcon(QPixmap::fromImage(image("app-icon.png"))));
        window_.onClose = [this] {
            app_.windowWillClose();
        };
        statusItem_.onShowWindow = [this] {
            frontend_.bringMainWindowToFront();
        };
        statusItem_.onOneClickClean = [this] {
            frontend_.bringMainWindowToFront();
            if (auto* m = app_.module<presets::PresetsModule>())
                m->runner().startOneClickClean();
            else
                window_.buttonMainAutoCleanClicked();
        };
        statusItem_.onQuit = [this] {
            quit();
        };

        // Start-up measures the built-in preset before the Auto clean page exists; the page
        // shows the result once it is built.
        if (auto* m = app_.module<presets::PresetsModule>())
            m->oneClickDone = [this](const presets::OneClickResult& result) {
                oneClick_ = result;
            };
        app_.startUp(core::StartupOptions{.headless = false});

        // Interface state read from the settings, once they are loaded.
        prefs_ = new PreferencesPage(app_);
        window_.setPageContent("14", prefs_);
        // The category pages: opening one points the Clean button at its clean (the Browsers,
        // Recents and System pages also scan at once).
        // A page whose subsystem this program was built without stays blank.
        auto& ctx = app_.context();
        std::vector<AddToPresetButton*> popUps;
        if (auto* m = app_.module<browsers::BrowsersModule>())
            popUps.push_back(wirePage(new BrowsersPage(*m, ctx), m->driver(), "buttonBrowsersScan")
                                 ->addToPresetButton());
        if (auto* m = app_.module<apps::AppsModule>())
            popUps.push_back(wirePage(new RecentsPage(*m, ctx), m->driver(), "buttonRecentsScan")
                                 ->addToPresetButton());
        if (auto* m = app_.module<system::SystemModule>())
            popUps.push_back(
                wirePage(new SystemPage(*m), m->driver(), "buttonSystemScan")->addToPresetButton());
        if (auto* m = app_.module<eraser::EraserModule>())
            popUps.push_back(wirePage(new EraserPage(*m, ctx), m->driver(), "buttonFoldersScan")
                                 ->addToPresetButton());
        if (auto* m = app_.module<extensions::ExtensionsModule>())
            wirePage(new ExtensionsPage(*m), m->driver(), "buttonExtScan");
        if (auto* m = app_.module<photos::PhotosModule>())
            wirePage(new IPhotoPage(*m), m->driver(), "buttonScanLibrary");
        if (auto* m = app_.module<presets::PresetsModule>())
            startPresets(*m, popUps);
        if (auto* m = app_.module<update::UpdateModule>())
            startUpdates(*m);
        frontend_.onUi = [this](const std::string& action, const core::Value& detail) {
            if (action == "loginItemCheckBox" && prefs_)
                prefs_->setLoginItemChecked(detail.toBool());
        };
        statusItem_.show();
    }

    void quit() {
        controller::ShutdownHooks hooks;
        hooks.removeStatusItem = [this] {
            statusItem_.remove();
        };
        hooks.closeMainWindow = [this] {
            window_.close();
        };
        hooks.mainWindowVisible = [this] {
            return window_.isVisible();
        };
        hooks.terminate = [] {
            QApplication::quit();
        };
        app_.terminateApp(std::move(hooks));
    }

    MainWindow& window() { return window_; }

private:
    // The Auto clean page, and everything that follows the presets: the page's lists, the
    // status menu's "Clean" submenu and the category pages' "Add to Preset" pop-ups.
    void startPresets(presets::PresetsModule& module,
                      const std::vector<AddToPresetButton*>& popUps) {
        auto* page = wirePage(new AutoCleanPage(module), module.runner(), "buttonPresetsScan");
        if (oneClick_)
            page->showOneClickResult(*oneClick_);
        presetListeners_ = std::make_unique<PresetListeners>(module.model());
        presetListeners_->setPage(page);
        presetListeners_->setStatusItem(&statusItem_);
        for (AddToPresetButton* popUp : popUps)
            presetListeners_->addPopUp(popUp);
        if (auto* m = app_.module<schedule::ScheduleModule>())
            startSchedule(*m, module.model(), *page);

        presets::PresetRunner& runner = module.runner();
        runner.showMainWindow = [this] {
            frontend_.bringMainWindowToFront();
        };
        runner.mainWindowVisible = [this] {
            return window_.isVisible();
        };
        runner.showPresetsPage = [this] {
            if (window_.currentPageId() != QLatin1String("2"))
                window_.buttonMainAutoCleanClicked();
        };
        statusItem_.onCleanPreset = [&runner](const std::string& title) {
            runner.cleanFromMenu(title);
        };
    }

    // The weekly schedule's panel, opened from the Auto clean page, and its master switch kept in
    // step with the Preferences page's. The schedule itself checks from start-up on for the life
    // of the process: closing the window only hides it, and the program stays in the status bar.
    void startSchedule(schedule::ScheduleModule& module, presets::PresetModel& model,
                       AutoCleanPage& page) {
        auto* panel = new SchedulePanel(model, module.settings());
        page.setSchedulePanel(panel);
        presetListeners_->setSchedulePanel(panel);
        if (prefs_)
            linkScheduleSwitches(module.settings(), *panel, *prefs_);
        // A scheduled clean stamps its preset as it starts: the last-run line shows it at once.
        module.onScheduledClean = [&settings = module.settings()](const core::DictRef&) {
            settings.updateLastScheduledRunTextField();
        };
    }

    // "Check for Updates..." in the status menu and on the Preferences page; both are off while
    // a check runs.
    void startUpdates(update::UpdateModule& module) {
        updates_ = std::make_unique<UpdateCommand>(module.check(), app_.tasks(), mainThread_,
                                                   platform_.runningApps());
        auto check = [this] {
            updates_->checkForUpdateClicked();
        };
        statusItem_.onCheckForUpdates = check;
        if (prefs_)
            prefs_->onCheckForUpdates = check;
        updates_->onCheckingChanged = [this](bool checking) {
            if (QAction* entry = statusItem_.checkForUpdatesAction())
                entry->setEnabled(!checking);
            if (prefs_)
                prefs_->checkForUpdatesButton()->setEnabled(!checking);
        };
    }

    // Puts a category page into the window and gives its engine the page's hooks. The deletion
    // choice is read by the cleaning workers, so the Preferences page stays still while a clean
    // runs.
    template <class Page>
    Page* wirePage(Page* page, core::CategoryEngine& engine, const char* scanButtonName) {
        page->attach(window_);
        auto hooks = page->hooks();
        hooks.disableForClean = [this, inner = hooks.disableForClean] {
            if (inner)
                inner();
            if (prefs_)
                prefs_->setEnabled(false);
        };
        hooks.enableAfterClean = [this, inner = hooks.enableAfterClean] {
            if (inner)
                inner();
            if (prefs_)
                prefs_->setEnabled(true);
        };
        engine.hooks = hooks;
        frontend_.registerButton(scanButtonName, page->scanButton());
        return page;
    }

    core::RealClock clock_;
    core::SystemLog log_;
    QtMainThread mainThread_;
    core::ThreadGroup uiThreads_;
    platform::Platform platform_;
    MainWindow window_;
    ProgressSheet sheet_;
    StatusItem statusItem_;
    QtFrontend frontend_;
    controller::AppDelegate app_;
    QPointer<PreferencesPage> prefs_;
    std::optional<presets::OneClickResult> oneClick_;
    // Before the engine goes: the presets model then tells nobody.
    std::unique_ptr<PresetListeners> presetListeners_;
    // Before the engine goes: a check still downloading then answers nobody.
    std::unique_ptr<UpdateCommand> updates_;
};

} // namespace

int runApplication(int argc, char** argv) {
    Options options;
    if (auto status = parseOptions(argc, argv, options))
        return *status;
    auto popts = platformOptions(options);
    if (!popts)
        return 2;

    QApplication qapp(argc, argv);
    QApplication::setApplicationName("Tavrin Privacy Cleaner");
    QApplication::setOrganizationName("Tavrin Software");
    QApplication::setQuitOnLastWindowClosed(false);
    initResources();

    std::unique_ptr<Application> app;
    try {
        app = std::make_unique<Application>(*popts);
    } catch (const std::exception& e) {
        std::cerr << "tavrin-privacy-cleaner: " << e.what() << "\n";
        return 1;
    }
    app->start();
    if (!options.page.empty()) {
        for (auto* button : app->window().mainButtons())
            if (button->title().compare(QString::fromStdString(options.page),
                                        Qt::CaseInsensitive) == 0 &&
                button->onClicked)
                button->onClicked();
    }

    if (!options.screenshot.empty()) {
        // Let the window lay itself out and paint, then write its picture and quit.
        QTimer::singleShot(500, [&] {
            bool saved = app->window().grab().save(QString::fromStdString(options.screenshot));
            if (!saved)
                std::cerr << "tavrin-privacy-cleaner: cannot write " << options.screenshot << "\n";
            QApplication::exit(saved ? 0 : 1);
        });
    }
    int status = QApplication::exec();
    app.reset();
    return status;
}

} // namespace tpc::ui
