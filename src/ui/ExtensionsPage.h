#pragma once
// The Extensions page (page "13"): the categories of add-ons found (plug-ins, extensions, login
// items) with their master check box and sort pop-up, the items of the selected category
// likewise, and the Scan button. The window's shared Clean button removes the marked items of
// the marked categories while this page is the one opened; opening the page scans at once. Every
// call arrives on the GUI thread; the driver's workers reach the page through its hooks.

#include "core/CategoryEngine.h"

#include <QIcon>
#include <QPointer>
#include <QString>
#include <QWidget>

class QPushButton;

namespace tpc::extensions {
class ExtensionsDriver;
class ExtensionsModule;
} // namespace tpc::extensions

namespace tpc::ui {

class CheckListPanel;
class MainWindow;

class ExtensionsPage : public QWidget {
    Q_OBJECT
public:
    explicit ExtensionsPage(extensions::ExtensionsModule& module, QWidget* parent = nullptr);

    // Puts the page into the window's page "13"; opening that page points the shared Clean
    // button at the extensions clean and starts a scan at once.
    void attach(MainWindow& window);
    // For the driver: the controls are off while a scan or clean runs, the lists reload, and a
    // finished scan shows the items of the category selected before it (else of the first one).
    core::PageHooks hooks();

    // The page was opened by its main button.
    void pageOpened();
    // Both tables, their master boxes and sort pop-ups, from the engine.
    void reloadLists();
    void setControlsEnabled(bool enabled);
    // The shared Clean button, while this page has it, is enabled when a category is marked.
    void enableOrDisableCleanButton();

    CheckListPanel* mainList() const { return mainList_; }
    CheckListPanel* subList() const { return subList_; }
    QPushButton* scanButton() const { return scanButton_; }

    // The picture standing for a category: its "Icon", else the picture named after it (the
    // application a "Path" names has no icon of its own off the desktop it was made for).
    static QIcon categoryIcon(const core::DictRef& root);

private:
    void wireMainList();
    void wireSubList();
    // The sub list shows the items of the category now selected in the driver, under its name.
    void showSubList();
    // After a scan: the category selected before it, else the first one.
    void selectCategoryAfterScan();
    QPushButton* cleanButton() const;

    extensions::ExtensionsDriver& driver_;
    QPointer<MainWindow> window_;
    CheckListPanel* mainList_ = nullptr;
    CheckListPanel* subList_ = nullptr;
    QPushButton* scanButton_ = nullptr;
    bool controlsEnabled_ = true;
    // The title of the category last selected, kept across the rescans that empty the lists.
    QString selectedTitle_;
};

} // namespace tpc::ui
