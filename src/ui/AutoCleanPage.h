#pragma once
// The Auto clean page (page "2"): the one-click box (what the built-in preset would clean, and
// the button that cleans it), the presets with their master check box, sort pop-up and the
// buttons that add and remove presets, the selected preset's outline of category records and
// items with its own master box, sort pop-up and remove-item button, the Scan button, and the
// "Schedule..." button that opens the weekly schedule in a window of its own. The window's shared
// Clean button runs the preset clean while this page is the one opened.
//
// The page changes the presets only through their model and shows them again when the model
// tells what changed (PresetListeners); the runner's workers reach it through its hooks. Every
// call arrives on the GUI thread.

#include "core/CategoryEngine.h"

#include <QPointer>
#include <QWidget>

class QDialog;
class QFrame;
class QLabel;
class QPushButton;

namespace tpc::presets {
class PresetModel;
class PresetRunner;
class PresetsModule;
struct OneClickResult;
} // namespace tpc::presets

namespace tpc::ui {

class CheckListPanel;
class MainWindow;
class PresetOutlinePanel;
class SchedulePanel;

class AutoCleanPage : public QWidget {
    Q_OBJECT
public:
    explicit AutoCleanPage(presets::PresetsModule& module, QWidget* parent = nullptr);

    // Puts the page into the window's page "2"; opening that page points the shared Clean
    // button at the preset clean.
    void attach(MainWindow& window);
    // For the runner: the controls are off while a preset scan or clean runs, and the lists
    // reload.
    core::PageHooks hooks();

    // The page was opened by its main button.
    void pageOpened();
    // Both lists.
    void reloadLists();
    // The presets (their marks, master box and sort pop-up, the selection) and the selected
    // preset's outline.
    void reloadMainList();
    // The selected preset's outline, expanded, with its master box and sort pop-up.
    void reloadSubList();
    void setControlsEnabled(bool enabled);
    // The shared Clean button, while this page has it, is enabled when a preset is marked.
    void enableOrDisableCleanButton();
    // The one-click box: what the built-in preset's marked items hold; its button cleans them.
    void showOneClickResult(const presets::OneClickResult& result);

    // The weekly schedule, shown in its own window by the "Schedule..." button; the button
    // appears once the panel is given. The page takes the panel over.
    void setSchedulePanel(SchedulePanel* panel);
    void openSchedule();

    // The buttons' handlers.
    void addPreset();
    void removeSelectedPreset();
    void removeSelectedItem();

    CheckListPanel* mainList() const { return mainList_; }
    PresetOutlinePanel* subList() const { return subList_; }
    QPushButton* scanButton() const { return scanButton_; }
    QPushButton* scheduleButton() const { return scheduleButton_; }
    QDialog* scheduleWindow() const { return scheduleWindow_; }
    QPushButton* addButton() const { return addButton_; }
    QPushButton* removeButton() const { return removeButton_; }
    QPushButton* removeItemButton() const { return removeItemButton_; }
    QFrame* oneClickBox() const { return oneClickBox_; }
    QLabel* oneClickSizeLabel() const { return oneClickSize_; }
    QLabel* oneClickItemsLabel() const { return oneClickItems_; }
    QPushButton* oneClickButton() const { return oneClickButton_; }

private:
    QWidget* buildOneClickBox();
    QWidget* buildMainColumn();
    QWidget* buildSubColumn();
    void wireMainList();
    void wireSubList();
    // The remove buttons follow the selections.
    void enableOrDisableRemoveButtons();
    QPushButton* cleanButton() const;

    presets::PresetModel& model_;
    presets::PresetRunner& runner_;
    QPointer<MainWindow> window_;
    QFrame* oneClickBox_ = nullptr;
    QLabel* oneClickSize_ = nullptr;
    QLabel* oneClickItems_ = nullptr;
    QPushButton* oneClickButton_ = nullptr;
    QPushButton* scanButton_ = nullptr;
    QPushButton* scheduleButton_ = nullptr;
    QDialog* scheduleWindow_ = nullptr;
    CheckListPanel* mainList_ = nullptr;
    PresetOutlinePanel* subList_ = nullptr;
    QPushButton* addButton_ = nullptr;
    QPushButton* removeButton_ = nullptr;
    QPushButton* removeItemButton_ = nullptr;
    bool controlsEnabled_ = true;
    // The remove-item button's own state, kept apart from the controls being off during a task:
    // with the built-in preset selected the button stays as it was.
    bool removeItemOn_ = false;
};

} // namespace tpc::ui
