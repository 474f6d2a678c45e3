#pragma once
// The iPhoto page (page "15"): the chosen library's picture, name and location with the Change
// Library and Scan buttons; the result box with its status and result lines and the Detailed
// Results button; the Detailed Results box with the result tree and the selection line. The
// window's shared Clean button cleans the marked photos while this page is the one opened. Every
// call arrives on the GUI thread; the driver's workers reach the page through its hooks.

#include "core/CategoryEngine.h"

#include <QPointer>
#include <QString>
#include <QWidget>

#include <functional>
#include <optional>

class QFileDialog;
class QLabel;
class QPushButton;

namespace tpc::photos {
class PhotosDriver;
class PhotosModule;
} // namespace tpc::photos

namespace tpc::ui {

class IPhotoResultsTree;
class MainWindow;

class IPhotoPage : public QWidget {
    Q_OBJECT
public:
    explicit IPhotoPage(photos::PhotosModule& module, QWidget* parent = nullptr);

    // Puts the page into the window's page "15"; opening that page looks for the default library
    // and points the shared Clean button at the photo clean (no scan starts).
    void attach(MainWindow& window);
    // For the driver: the controls are off while a scan or clean runs, and the tree reloads.
    // The driver's own page hooks (fields changed, results view collapsed) are set here too.
    core::PageHooks hooks();

    void pageOpened();
    // The fields, buttons, lines and boxes from the engine's page state.
    void showPageState();
    // The result tree, rebuilt.
    void reloadIPhotoResultsView();
    void setControlsEnabled(bool enabled);
    // The shared Clean button, while this page has it, is enabled while photos are marked.
    void enableOrDisableIPhotoCleanButton();

    // Change Library: asks for a library folder and shows it.
    void buttonChangeLibraryClicked();
    // Asks for a library folder starting in `folder`; none when cancelled. The open panel by
    // default; tests put their own answer here.
    std::function<std::optional<QString>(const QString& folder)> chooseLibrary;
    // The open panel: folders only, titled "Locate iPhoto Library to scan", button "Open".
    static QFileDialog* makeLibraryPanel(QWidget* parent, const QString& folder);

    QLabel* libraryPicture() const { return picture_; }
    QLabel* libraryName() const { return name_; }
    QLabel* libraryLocation() const { return location_; }
    QPushButton* changeLibraryButton() const { return changeLibrary_; }
    QPushButton* scanButton() const { return scanButton_; }
    QLabel* statusLine() const { return status_; }
    QLabel* resultLine() const { return result_; }
    QPushButton* detailedResultsButton() const { return detailedButton_; }
    QWidget* detailedResultsBox() const { return detailedBox_; }
    QLabel* detailedResultsTitle() const { return detailedTitle_; }
    IPhotoResultsTree* resultsTree() const { return tree_; }

private:
    QWidget* buildLibraryRow();
    QWidget* buildResultBox();
    QWidget* buildDetailedBox();
    QPushButton* cleanButton() const;

    photos::PhotosDriver& driver_;
    QPointer<MainWindow> window_;
    QLabel* picture_ = nullptr;
    QLabel* name_ = nullptr;
    QLabel* location_ = nullptr;
    QPushButton* changeLibrary_ = nullptr;
    QPushButton* scanButton_ = nullptr;
    QLabel* status_ = nullptr;
    QLabel* result_ = nullptr;
    QPushButton* detailedButton_ = nullptr;
    QWidget* detailedBox_ = nullptr;
    QLabel* detailedTitle_ = nullptr;
    IPhotoResultsTree* tree_ = nullptr;
    QWidget* filler_ = nullptr;
    bool controlsEnabled_ = true;
};

} // namespace tpc::ui
