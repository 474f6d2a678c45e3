#include "ui/StatusItem.h"

#include "ui/Resources.h"

#include <QAction>
#include <QIcon>
#include <QMenu>
#include <QPixmap>
#include <QSystemTrayIcon>

namespace tpc::ui {

namespace {

const QString kIdleImage = QStringLiteral("Status Icon.png");
constexpr int kFrameIntervalMs = 100;
// Frames 0..8: after frame 8 the animation starts again.
constexpr int kLastFrameBeforeWrap = 7;
// "One Click Clean" and the separator after it head the "Clean" submenu.
constexpr std::size_t kFixedCleanEntries = 2;

// Calls the handler as it is when the menu entry fires, so handlers set later are used.
void callIfSet(const std::function<void()>& handler) {
    if (handler)
        handler();
}

} // namespace

StatusItem::StatusItem(QObject* parent) : QObject(parent), menu_(std::make_unique<QMenu>()) {
    cleanMenu_ = menu_->addMenu(QStringLiteral("Clean"));
    oneClickClean_ = cleanMenu_->addAction(QStringLiteral("One Click Clean"));
    oneClickClean_->setEnabled(true);
    connect(oneClickClean_, &QAction::triggered, this, [this] { callIfSet(onOneClickClean); });
    cleanMenu_->addSeparator();

    showWindow_ = menu_->addAction(QStringLiteral("Show Tavrin Privacy Cleaner"));
    connect(showWindow_, &QAction::triggered, this, [this] { callIfSet(onShowWindow); });
    checkForUpdates_ = menu_->addAction(QStringLiteral("Check for Updates..."));
    connect(checkForUpdates_, &QAction::triggered, this, [this] { callIfSet(onCheckForUpdates); });
    menu_->addSeparator();
    quit_ = menu_->addAction(QStringLiteral("Quit"));
    connect(quit_, &QAction::triggered, this, [this] { callIfSet(onQuit); });

    tray_ = std::make_unique<QSystemTrayIcon>();
    tray_->setToolTip(QStringLiteral("Tavrin Privacy Cleaner"));
    tray_->setContextMenu(menu_.get());
    connect(tray_.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
                    callIfSet(onShowWindow);
            });
    setImage(kIdleImage);

    timer_.setInterval(kFrameIntervalMs);
    connect(&timer_, &QTimer::timeout, this, &StatusItem::updateImage);
}

StatusItem::~StatusItem() {
    remove();
}

void StatusItem::startAnimating() {
    currentFrame_ = 0;
    timer_.start();
}

void StatusItem::stopAnimating() {
    timer_.stop();
    setImage(kIdleImage);
}

void StatusItem::updateImage() {
    setImage(QStringLiteral("Status Icon Anim %1.png").arg(currentFrame_));
    currentFrame_ = currentFrame_ > kLastFrameBeforeWrap ? 0 : currentFrame_ + 1;
}

std::vector<std::string> StatusItem::cleanMenuTitles() const {
    std::vector<std::string> titles;
    if (cleanMenu_)
        for (const QAction* entry : cleanMenu_->actions())
            titles.push_back(entry->isSeparator() ? std::string() : entry->text().toStdString());
    return titles;
}

void StatusItem::setCleanMenuTitles(const std::vector<std::string>& titles) {
    if (!cleanMenu_)
        return;
    const QList<QAction*> entries = cleanMenu_->actions();
    for (auto i = static_cast<qsizetype>(kFixedCleanEntries); i < entries.size(); ++i) {
        cleanMenu_->removeAction(entries[i]);
        entries[i]->deleteLater();
    }
    for (std::size_t i = kFixedCleanEntries; i < titles.size(); ++i) {
        const std::string title = titles[i];
        QAction* entry = cleanMenu_->addAction(QString::fromStdString(title));
        entry->setEnabled(true);
        connect(entry, &QAction::triggered, this, [this, title] {
            if (onCleanPreset)
                onCleanPreset(title);
        });
    }
}

void StatusItem::setImage(const QString& name) {
    imageName_ = name;
    if (tray_)
        tray_->setIcon(QIcon(QPixmap::fromImage(image(name))));
}

void StatusItem::show() {
    if (tray_ && QSystemTrayIcon::isSystemTrayAvailable())
        tray_->show();
}

bool StatusItem::shownInTray() const {
    return tray_ && tray_->isVisible();
}

void StatusItem::remove() {
    timer_.stop();
    if (tray_) {
        tray_->hide();
        tray_.reset();
    }
    // The submenu and the actions belong to the menu.
    cleanMenu_ = nullptr;
    oneClickClean_ = showWindow_ = checkForUpdates_ = quit_ = nullptr;
    menu_.reset();
}

} // namespace tpc::ui
