#pragma once
// The File Eraser page (page "8"): the user's list of files and folders to destroy, with its
// master check box and sort pop-up, the buttons that add and remove rows, each folder's delete
// option, and the Scan button. The window's shared Clean button shreds the marked rows while this
// page is the one opened. Every call arrives on the GUI thread; the driver's workers reach the
// page through its hooks.

#include "core/CategoryEngine.h"

#include <QPointer>
#include <QStringList>
#include <QWidget>

#include <functional>
#include <vector>

class QAction;
class QComboBox;
class QMenu;
class QPushButton;
class QToolButton;

namespace tpc::core {
struct Context;
}
namespace tpc::eraser {
class EraserDriver;
class EraserList;
class EraserModule;
} // namespace tpc::eraser

namespace tpc::ui {

class AddToPresetButton;
class CheckListPanel;
class EraserPathLabel;
class MainWindow;

class EraserPage : public QWidget {
    Q_OBJECT
public:
    EraserPage(eraser::EraserModule& module, core::Context& ctx, QWidget* parent = nullptr);

    // Puts the page into the window's page "8"; opening that page points the shared Clean button
    // at the eraser clean. Unlike the other cleaning pages it does not scan on opening: the sizes
    // were measured when the paths were added.
    void attach(MainWindow& window);
    // For the driver: the controls are off while a scan, clean or sizes update runs, and the
    // list reloads.
    core::PageHooks hooks();

    void pageOpened();
    // The list, its master box and sort pop-up, and every control that depends on them.
    void reloadList();
    void setControlsEnabled(bool enabled);
    // The shared Clean button, while this page has it, is enabled when a row is marked.
    void enableOrDisableCleanButton();

    // The user's actions, as the controls call them.
    void buttonAddToFoldersClicked();
    void buttonAddEmbeddedToFoldersClicked();
    void buttonRemoveFromFoldersClicked();
    void buttonShredderRemoveAllClicked();
    void deleteOptionChosen(bool contentsOnly);

    // Asks the user for paths (`embedded`: hidden entries shown too); empty when cancelled.
    // The open panel by default; tests put their own answer here.
    std::function<QStringList(bool embedded)> chooseFiles;

    CheckListPanel* list() const { return list_; }
    QPushButton* scanButton() const { return scanButton_; }
    QToolButton* addButton() const { return addButton_; }
    QAction* addEmbeddedAction() const { return addEmbeddedAction_; }
    QPushButton* removeButton() const { return removeButton_; }
    QPushButton* removeAllButton() const { return removeAllButton_; }
    // Copies the selected path under the preset's "File Eraser".
    AddToPresetButton* addToPresetButton() const { return addToPreset_; }
    // Index 0: the folder goes with everything in it; 1: only what it holds goes.
    QComboBox* deleteOptionPopUp() const { return deleteOption_; }
    // The full path of the one selected row.
    EraserPathLabel* pathLabel() const { return pathLabel_; }
    // The menu a right click on the list opens.
    QMenu* rowMenu() const { return rowMenu_; }

    // The rows selected in the list, ascending.
    std::vector<int> selectedRows() const;

private:
    QWidget* buildToolBar();
    QWidget* buildRowBar();
    void buildRowMenu();
    void wireList();
    void addChosenPaths(bool embedded);
    // Remove, the delete option, the path line and the row menu follow the selection, whose
    // records are kept for the next reload.
    void showSelection();
    // The one selected row when it lists a folder; -1 otherwise.
    int selectedFolderRow() const;
    QPushButton* cleanButton() const;

    core::Context& ctx_;
    eraser::EraserList& eraserList_;
    eraser::EraserDriver& driver_;
    QPointer<MainWindow> window_;
    CheckListPanel* list_ = nullptr;
    QPushButton* scanButton_ = nullptr;
    QToolButton* addButton_ = nullptr;
    QAction* addEmbeddedAction_ = nullptr;
    QPushButton* removeButton_ = nullptr;
    QPushButton* removeAllButton_ = nullptr;
    AddToPresetButton* addToPreset_ = nullptr;
    QComboBox* deleteOption_ = nullptr;
    EraserPathLabel* pathLabel_ = nullptr;
    QMenu* rowMenu_ = nullptr;
    QAction* removeAction_ = nullptr;
    QAction* wholeFolderAction_ = nullptr;
    QAction* contentsOnlyAction_ = nullptr;
    std::vector<core::DictRef> selectedRecords_;
    bool controlsEnabled_ = true;
};

} // namespace tpc::ui
