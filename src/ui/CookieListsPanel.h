#pragma once
// The cookie domains of one browser: the domains whose cookies a clean deletes and the domains it
// keeps, each with a search field, buttons that move the selected domains across, and a refresh
// that reads the browser's cookies again. A chooser picks among the installed browsers.

#include "browsers/CookieLists.h"

#include <QWidget>

#include <optional>
#include <string>
#include <vector>

class QComboBox;
class QLineEdit;
class QListView;
class QPushButton;
class QStringListModel;

namespace tpc::core {
struct Context;
}
namespace tpc::browsers {
class BrowsersModule;
}

namespace tpc::ui {

class CookieListsPanel : public QWidget {
    Q_OBJECT
public:
    CookieListsPanel(browsers::BrowsersModule& module, core::Context& ctx,
                     QWidget* parent = nullptr);

    // Fills the chooser with the installed browsers that keep cookie lists, keeping the one
    // chosen when it is still installed, and shows its lists.
    void reloadBrowsers();
    // Shows the chosen browser's two lists as their search fields filter them.
    void reload();
    // The browser whose lists are shown; none when no such browser is installed.
    std::optional<browsers::CookieBrowser> currentBrowser() const;

    // The user's actions, as the controls call them.
    void sendCookieToKeep();
    void sendCookieToDelete();
    void refreshCookiesList();

    QComboBox* browserChooser() const { return chooser_; }
    QListView* deleteTable() const { return deleteTable_; }
    QListView* keepTable() const { return keepTable_; }
    QLineEdit* deleteSearchField() const { return deleteSearch_; }
    QLineEdit* keepSearchField() const { return keepSearch_; }
    QPushButton* keepButton() const { return keepButton_; }
    QPushButton* deleteButton() const { return deleteButton_; }
    QPushButton* refreshButton() const { return refreshButton_; }

private:
    static std::vector<std::size_t> selectedRows(const QListView* table);
    void showBrowser();
    void enableMoveButtons();

    browsers::BrowsersModule& module_;
    core::Context& ctx_;
    QComboBox* chooser_ = nullptr;
    QPushButton* refreshButton_ = nullptr;
    QLineEdit* deleteSearch_ = nullptr;
    QLineEdit* keepSearch_ = nullptr;
    QStringListModel* deleteModel_ = nullptr;
    QStringListModel* keepModel_ = nullptr;
    QListView* deleteTable_ = nullptr;
    QListView* keepTable_ = nullptr;
    QPushButton* keepButton_ = nullptr;
    QPushButton* deleteButton_ = nullptr;
};

} // namespace tpc::ui
