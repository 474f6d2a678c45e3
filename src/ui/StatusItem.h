#pragma once
// The status item in the system tray: the idle icon, the busy animation while a task runs, and
// the status menu (Clean ▸ One Click Clean and the presets, Show, Check for Updates..., Quit).
// The program stays here after its window is closed. Where the desktop has no tray the item keeps
// its state and menu but is never shown.

#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QAction;
class QMenu;
class QSystemTrayIcon;

namespace tpc::ui {

class StatusItem : public QObject {
    Q_OBJECT
public:
    explicit StatusItem(QObject* parent = nullptr);
    ~StatusItem() override;

    // The busy animation: frames 0..8 of "Status Icon Anim <n>.png", one every 0.1 s.
    void startAnimating();
    void stopAnimating();
    // One tick: shows the current frame, then moves to the next.
    void updateImage();
    bool isAnimating() const { return timer_.isActive(); }
    int currentFrame() const { return currentFrame_; }
    // The picture shown now ("Status Icon.png" when idle).
    QString imageName() const { return imageName_; }

    // The status menu; null after remove().
    QMenu* menu() const { return menu_.get(); }
    // The "Clean" submenu: "One Click Clean", a separator, then the presets' entries.
    QMenu* cleanMenu() const { return cleanMenu_; }
    QAction* oneClickCleanAction() const { return oneClickClean_; }
    QAction* showWindowAction() const { return showWindow_; }
    QAction* checkForUpdatesAction() const { return checkForUpdates_; }
    QAction* quitAction() const { return quit_; }
    // The "Clean" submenu's entries by title, a separator as an empty title.
    std::vector<std::string> cleanMenuTitles() const;
    // Rebuilds the "Clean" submenu from `titles`, entries as cleanMenuTitles() gives them: the
    // first two (the one-click entry and the separator) stay, every entry after them is replaced
    // by one preset entry per title from position 2 on.
    void setCleanMenuTitles(const std::vector<std::string>& titles);

    // Puts the item in the tray where the desktop has one.
    void show();
    // Whether the item is in the tray (false where there is none, and after remove()).
    bool shownInTray() const;
    // Takes the item out of the tray and deletes it with its menus (at quit).
    void remove();
    bool removed() const { return !menu_; }

    std::function<void()> onOneClickClean;
    // A preset entry of the "Clean" submenu was chosen; its title names the preset.
    std::function<void(const std::string& title)> onCleanPreset;
    std::function<void()> onShowWindow;
    std::function<void()> onCheckForUpdates;
    std::function<void()> onQuit;

private:
    void setImage(const QString& name);

    std::unique_ptr<QMenu> menu_;
    QMenu* cleanMenu_ = nullptr;
    QAction* oneClickClean_ = nullptr;
    QAction* showWindow_ = nullptr;
    QAction* checkForUpdates_ = nullptr;
    QAction* quit_ = nullptr;
    std::unique_ptr<QSystemTrayIcon> tray_;
    QTimer timer_;
    int currentFrame_ = 0;
    QString imageName_;
};

} // namespace tpc::ui
