#pragma once
// The Browsers page (page "3"): the installed browsers with their master check box and sort
// pop-up, the items of the selected browser likewise, the Scan button, and the cookie lists. The
// window's shared Clean button runs the browser clean while this page is the one opened. Every
// call arrives on the GUI thread; the driver's workers reach the page through its hooks.

#include "core/CategoryEngine.h"
#include "core/CheckList.h"

#include <QPointer>
#include <QWidget>

class QPushButton;
class QTabWidget;

namespace tpc::core {
struct Context;
}
namespace tpc::browsers {
class BrowserDriver;
class BrowsersModule;
} // namespace tpc::browsers

namespace tpc::ui {

class AddToPresetButton;
class CheckListPanel;
class CookieListsPanel;
class MainWindow;

class BrowsersPage : public QWidget {
    Q_OBJECT
public:
    BrowsersPage(browsers::BrowsersModule& module, core::Context& ctx, QWidget* parent = nullptr);

    // Puts the page into the window's page "3"; opening that page points the shared Clean button
    // at the browser clean and starts a scan at once.
    void attach(MainWindow& window);
    // For the driver: the controls are off while a scan or clean runs, and the lists reload.
    core::PageHooks hooks();

    // The page was opened by its main button.
    void pageOpened();
    // Both tables, their master boxes and sort pop-ups, and the cookie lists, from the engine.
    void reloadLists();
    void setControlsEnabled(bool enabled);
    // The shared Clean button, while this page has it, is enabled when a browser is marked.
    void enableOrDisableCleanButton();

    CheckListPanel* mainList() const { return mainList_; }
    CheckListPanel* subList() const { return subList_; }
    CookieListsPanel* cookiePanel() const { return cookies_; }
    QPushButton* scanButton() const { return scanButton_; }
    QTabWidget* tabs() const { return tabs_; }
    // Copies the selected browser into a preset.
    AddToPresetButton* addToPresetButton() const { return addToPreset_; }

private:
    QWidget* buildListsTab();
    void wireMainList();
    void wireSubList();
    // The sub list shows the items of the browser now selected in the driver.
    void showSubList();
    // The page opens on the first browser's items.
    void selectFirstBrowserIfNone();
    QPushButton* cleanButton() const;

    browsers::BrowsersModule& module_;
    core::Context& ctx_;
    browsers::BrowserDriver& driver_;
    QPointer<MainWindow> window_;
    CheckListPanel* mainList_ = nullptr;
    CheckListPanel* subList_ = nullptr;
    CookieListsPanel* cookies_ = nullptr;
    QPushButton* scanButton_ = nullptr;
    QTabWidget* tabs_ = nullptr;
    AddToPresetButton* addToPreset_ = nullptr;
    bool controlsEnabled_ = true;
};

} // namespace tpc::ui
