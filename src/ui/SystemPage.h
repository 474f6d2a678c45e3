#pragma once
// The System page (page "5"): the five categories of per-user clutter with their master check
// box and sort pop-up, each row's picture, name, item count and size, and the Scan button. The
// window's shared Clean button runs the system clean while this page is the one opened. Every
// call arrives on the GUI thread; the driver's workers reach the page through its hooks.

#include "core/CategoryEngine.h"

#include <QPointer>
#include <QWidget>

class QPushButton;

namespace tpc::system {
class SystemDriver;
class SystemModule;
} // namespace tpc::system

namespace tpc::ui {

class AddToPresetButton;
class CheckListPanel;
class MainWindow;
class RecordNameDelegate;

class SystemPage : public QWidget {
    Q_OBJECT
public:
    explicit SystemPage(system::SystemModule& module, QWidget* parent = nullptr);

    // Puts the page into the window's page "5"; opening that page points the shared Clean button
    // at the system clean and starts a scan at once.
    void attach(MainWindow& window);
    // For the driver: the controls are off while a scan or clean runs, and the list reloads.
    core::PageHooks hooks();

    // The page was opened by its main button.
    void pageOpened();
    // The rows, the master box and the sort pop-up, from the engine.
    void reloadLists();
    void setControlsEnabled(bool enabled);
    // The shared Clean button, while this page has it, is enabled when a category is marked.
    void enableOrDisableCleanButton();

    CheckListPanel* list() const { return list_; }
    RecordNameDelegate* nameDelegate() const { return delegate_; }
    QPushButton* scanButton() const { return scanButton_; }
    // Copies the selected category under the preset's "Clean System Junk".
    AddToPresetButton* addToPresetButton() const { return addToPreset_; }

private:
    void wireList();
    QPushButton* cleanButton() const;

    system::SystemDriver& driver_;
    QPointer<MainWindow> window_;
    CheckListPanel* list_ = nullptr;
    RecordNameDelegate* delegate_ = nullptr;
    QPushButton* scanButton_ = nullptr;
    AddToPresetButton* addToPreset_ = nullptr;
    bool controlsEnabled_ = true;
};

} // namespace tpc::ui
