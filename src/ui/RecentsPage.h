#pragma once
// The Recents page (page "4"): the applications whose recent-document lists and caches are
// cleaned, with their master check box and sort pop-up, each row's item count and size, the Scan
// button, the buttons that add and remove applications, and each row's options pop-up. The
// window's shared Clean button runs the recents clean while this page is the one opened. Every
// call arrives on the GUI thread; the driver's workers reach the page through its hooks.

#include "core/CategoryEngine.h"

#include <QPointer>
#include <QStringList>
#include <QWidget>

#include <functional>

class QPushButton;

namespace tpc::core {
struct Context;
class Frontend;
} // namespace tpc::core
namespace tpc::apps {
class AppCatalogue;
class AppsModule;
class RecentsDriver;
} // namespace tpc::apps
namespace tpc::platform {
class Platform;
}

namespace tpc::ui {

class AddToPresetButton;
class CheckListPanel;
class MainWindow;
class RecentsOptionsMenu;

// What the open panel that locates an application to add is asked to show.
struct FileRequest {
    QString title;
    QString acceptLabel;
    QString startFolder;
    // "Applications (*.app)" style filters.
    QStringList nameFilters;
    // Folders may be chosen too, and bundles browsed into (an application inside another).
    bool allowFolders = false;
    // Applications are bundles, that is folders, in this layout.
    bool bundlesAreFolders = false;
};

class RecentsPage : public QWidget {
    Q_OBJECT
public:
    RecentsPage(apps::AppsModule& module, core::Context& ctx, QWidget* parent = nullptr);

    // Puts the page into the window's page "4"; opening that page points the shared Clean button
    // at the recents clean and starts a scan at once.
    void attach(MainWindow& window);
    // For the driver: the controls are off while a scan or clean runs, and the list reloads.
    core::PageHooks hooks();

    // The page was opened by its main button.
    void pageOpened();
    // The rows, the master box, the sort pop-up and the buttons, from the engine.
    void reloadLists();
    void setControlsEnabled(bool enabled);
    // The shared Clean button, while this page has it, is enabled when an application is marked.
    void enableOrDisableCleanButton();

    // The panel asking for the application to add ("Add…"), or one that also takes folders and
    // looks inside bundles ("Add embedded…").
    FileRequest addRequest(bool embedded) const;
    // Adds the chosen application (the alerts for browsers and duplicates come from the list).
    void addChosen(bool embedded);
    void removeSelected();
    void removeAll();
    // Opens the options pop-up of `row` at `globalPos` (not waiting for it to close).
    void showOptionsMenu(int row, const QPoint& globalPos);

    // Runs the open panel and answers the chosen paths (none: cancelled). Tests replace it.
    std::function<QStringList(const FileRequest&)> chooseFiles;

    CheckListPanel* list() const { return list_; }
    QPushButton* scanButton() const { return scanButton_; }
    QPushButton* addButton() const { return addButton_; }
    QPushButton* addEmbeddedButton() const { return addEmbeddedButton_; }
    QPushButton* removeButton() const { return removeButton_; }
    QPushButton* removeAllButton() const { return removeAllButton_; }
    QPushButton* optionsButton() const { return optionsButton_; }
    // Copies the selected application under the preset's "Clean App Junk".
    AddToPresetButton* addToPresetButton() const { return addToPreset_; }
    // The options pop-up now open; null when none is.
    RecentsOptionsMenu* optionsMenu() const;

private:
    void wireList();
    QWidget* buildButtonRow();
    // Remove, Remove All and Options follow the selection and the rows left.
    void enableOrDisableListButtons();
    QStringList runOpenPanel(const FileRequest& request);
    QPushButton* cleanButton() const;

    apps::AppCatalogue& catalogue_;
    apps::RecentsDriver& driver_;
    platform::Platform& platform_;
    core::Frontend& frontend_;
    QPointer<MainWindow> window_;
    CheckListPanel* list_ = nullptr;
    QPushButton* scanButton_ = nullptr;
    QPushButton* addButton_ = nullptr;
    QPushButton* addEmbeddedButton_ = nullptr;
    QPushButton* removeButton_ = nullptr;
    QPushButton* removeAllButton_ = nullptr;
    QPushButton* optionsButton_ = nullptr;
    AddToPresetButton* addToPreset_ = nullptr;
    QPointer<RecentsOptionsMenu> optionsMenu_;
    bool controlsEnabled_ = true;
};

} // namespace tpc::ui
