#pragma once
// The main window: a column of eight main buttons and one tab view showing the start page or one
// feature page. Pointing at a button previews its feature on the start page; clicking opens it.

#include "core/Frontend.h"
#include "ui/HoverButton.h"
#include "ui/ImageViewBG.h"

#include <QLabel>
#include <QMainWindow>
#include <QPushButton>
#include <QStackedWidget>

#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace tpc::ui {

class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    MainWindow(HoverEnvironment env, QWidget* parent = nullptr);
    // Joins the threads of `env.threads` (the hover delays) before the buttons go away.
    ~MainWindow() override;

    HoverButton* mainButton(core::MainButton button) const;
    std::vector<HoverButton*> mainButtons() const;

    // Pages by identifier: "1" start page, "2" Auto clean, "3" Browsers, "4" Recents, "5" System,
    // "8" File eraser, "13" Extensions, "14" Preferences, "15" iPhoto.
    QWidget* page(const QString& id) const;
    // Puts `content` into the page `id` (below its title), replacing what was there; the window
    // takes it over and deletes the content it replaces.
    void setPageContent(const QString& id, QWidget* content);
    QString currentPageId() const;
    QString lastTabID() const { return lastTabID_; }
    ImageViewBG* startPage() const { return startPage_; }

    // The click handlers.
    void buttonMainAutoCleanClicked();
    void buttonMainBrowsersClicked();
    void buttonMainRecentsClicked();
    void buttonMainSystemClicked();
    void buttonMainIPhotoClicked();
    void buttonMainShredderClicked();
    void buttonMainExtManagerClicked();
    void buttonMainPreferencesClicked();
    void resetAllButtonsExcept(HoverButton* sender);
    void setOnClickLastTabID(const QString& id);

    // The hover preview.
    void selectTabViewItemOnHoveringButtonID(int buttonID);
    void resetTabViewItemOnNonHovering();
    void resetTabViewItem();

    // The result line with its light bulb; none clears it (" " and no image).
    void setResultText(const std::optional<QString>& text);
    QString resultText() const;
    bool resultImageShown() const;

    // The shared Clean button of the feature pages.
    QPushButton* cleanButton() const { return cleanButton_; }

    // Page preparation after a click: set by the features (a scan starts, a library is
    // looked for). Called after the shared Clean button is reset.
    std::map<QString, std::function<void()>> onPageOpened;
    // The window is closing (not quitting): the front end shows its notice.
    std::function<void()> onClose;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void clickMainButton(core::MainButton button, const QString& pageId);
    void selectPage(const QString& id);
    void addFeaturePage(const QString& id, const QString& title);
    QWidget* buildSideBar();
    QWidget* buildResultBar();

    HoverEnvironment env_;
    std::map<core::MainButton, HoverButton*> buttons_;
    std::map<QString, QWidget*> pages_;
    // The area below each feature page's title that setPageContent fills.
    std::map<QString, QWidget*> contentAreas_;
    QStackedWidget* tabView_ = nullptr;
    ImageViewBG* startPage_ = nullptr;
    QLabel* resultLabel_ = nullptr;
    QLabel* resultImage_ = nullptr;
    QPushButton* cleanButton_ = nullptr;
    QString lastTabID_ = "1";
};

} // namespace tpc::ui
