#include "ui/MainWindow.h"

#include "core/Clock.h"
#include "core/MainThread.h"
#include "core/ThreadGroup.h"
#include "ui/Resources.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QPixmap>
#include <QPointer>
#include <QVBoxLayout>

namespace tpc::ui {

namespace {

constexpr auto kResetDelay = core::Clock::seconds(0.25);
const char* const kStartPageId = "1";
const char* const kDefaultPicture = "bg-default.png";
constexpr int kDefaultPageNumber = 1;
constexpr int kLightBulbSize = 22;

// One main button: its feature number for the hover preview, its page and what the start page
// shows while it is pointed at.
struct MainButtonEntry {
    core::MainButton button;
    int buttonID;
    const char* pageId;
    const char* title;
    const char* icon;
    const char* picture;
    int pageNumber;
    void (MainWindow::*clicked)();
};

// In the order of the left column.
const MainButtonEntry kMainButtons[] = {
    {core::MainButton::AutoClean, 1, "2", "One Click Clean", "icon-autoclean.png",
     "bg-autoclean.png", 2, &MainWindow::buttonMainAutoCleanClicked},
    {core::MainButton::Browsers, 2, "3", "Browsers", "icon-browsers.png", "bg-browsers.png", 3,
     &MainWindow::buttonMainBrowsersClicked},
    {core::MainButton::Recents, 3, "4", "Recents and caches", "icon-recents.png", "bg-recents.png",
     5, &MainWindow::buttonMainRecentsClicked},
    {core::MainButton::System, 4, "5", "System", "icon-system.png", "bg-system.png", 4,
     &MainWindow::buttonMainSystemClicked},
    {core::MainButton::IPhoto, 6, "15", "iPhoto cleanup", "icon-iphoto.png", "bg-iphoto.png", 11,
     &MainWindow::buttonMainIPhotoClicked},
    {core::MainButton::Extensions, 12, "13", "Extensions Manager", "icon-extensions.png",
     "bg-extensions.png", 10, &MainWindow::buttonMainExtManagerClicked},
    {core::MainButton::FileEraser, 7, "8", "File Eraser", "icon-shredder.png", "bg-shredder.png", 7,
     &MainWindow::buttonMainShredderClicked},
    {core::MainButton::Preferences, 13, "14", "Preferences", "icon-preferences.png",
     "bg-preferences.png", 6, &MainWindow::buttonMainPreferencesClicked},
};

const char* const kWindowStyleSheet = R"(
#mainWindowBody { background: #f3f5f8; }
#sideBar { background: #e6ebf1; border-radius: 12px; }
#featurePage { background: #ffffff; border: 1px solid #dde3ea; border-radius: 10px; }
#pageTitle { font-size: 18px; font-weight: 600; color: #1f2933; }
#resultLine { color: #3d4852; }
QPushButton#cleanButton {
    background: #2f6fb5; color: white; border: none; border-radius: 6px;
    padding: 6px 22px; font-weight: 600;
}
QPushButton#cleanButton:hover { background: #3a7dc6; }
QPushButton#cleanButton:pressed { background: #275d98; }
QPushButton#cleanButton:disabled { background: #c5ced8; color: #f3f5f8; }
)";

} // namespace

MainWindow::MainWindow(HoverEnvironment env, QWidget* parent) : QMainWindow(parent), env_(env) {
    setWindowTitle(QStringLiteral("Tavrin Privacy Cleaner"));

    auto* body = new QWidget(this);
    body->setObjectName(QStringLiteral("mainWindowBody"));
    body->setAttribute(Qt::WA_StyledBackground);
    body->setStyleSheet(QString::fromLatin1(kWindowStyleSheet));
    setCentralWidget(body);

    auto* columns = new QHBoxLayout(body);
    columns->setContentsMargins(14, 14, 14, 14);
    columns->setSpacing(14);
    columns->addWidget(buildSideBar());

    auto* right = new QVBoxLayout;
    right->setSpacing(10);
    tabView_ = new QStackedWidget(body);
    startPage_ = new ImageViewBG(tabView_);
    startPage_->setBackground(image(kDefaultPicture), kDefaultPicture);
    startPage_->setPageNumber(kDefaultPageNumber);
    startPage_->setProperty("pageId", QString(kStartPageId));
    tabView_->addWidget(startPage_);
    pages_[kStartPageId] = startPage_;
    for (const auto& entry : kMainButtons)
        addFeaturePage(entry.pageId, entry.title);
    tabView_->setCurrentWidget(startPage_);
    right->addWidget(tabView_, 1);
    right->addWidget(buildResultBar());
    columns->addLayout(right, 1);

    resize(860, 560);
    setMinimumSize(760, 540);
}

MainWindow::~MainWindow() {
    // No button starts a delay thread from here on, and those running finish before the
    // widgets go; what they posted finds its widget gone and does nothing.
    for (HoverButton* button : mainButtons())
        button->shutDown();
    env_.threads.joinAll();
}

QWidget* MainWindow::buildSideBar() {
    auto* bar = new QWidget;
    bar->setObjectName(QStringLiteral("sideBar"));
    bar->setAttribute(Qt::WA_StyledBackground);
    bar->setFixedWidth(256);
    auto* column = new QVBoxLayout(bar);
    column->setContentsMargins(7, 8, 7, 8);
    column->setSpacing(4);
    const QImage normal = image("button-normal.png");
    const QImage hover = image("button-hover.png");
    const QImage active = image("button-active.png");
    for (const auto& entry : kMainButtons) {
        auto* button = new HoverButton(entry.buttonID, env_, bar);
        button->setImageNormal(normal, hover, active, image(entry.icon));
        button->setTitle(entry.title);
        button->setObjectName(QString::fromLatin1(core::mainButtonName(entry.button)));
        auto clicked = entry.clicked;
        button->onClicked = [this, clicked] {
            (this->*clicked)();
        };
        button->onHoverPreview = [this](int id) {
            selectTabViewItemOnHoveringButtonID(id);
        };
        button->onHoverEnded = [this] {
            resetTabViewItemOnNonHovering();
        };
        buttons_[entry.button] = button;
        column->addWidget(button);
    }
    column->addStretch(1);
    return bar;
}

QWidget* MainWindow::buildResultBar() {
    auto* bar = new QWidget;
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(4, 0, 0, 0);
    row->setSpacing(8);

    resultImage_ = new QLabel(bar);
    resultImage_->setFixedSize(kLightBulbSize, kLightBulbSize);
    QSizePolicy keepPlace = resultImage_->sizePolicy();
    keepPlace.setRetainSizeWhenHidden(true);
    resultImage_->setSizePolicy(keepPlace);
    row->addWidget(resultImage_);

    resultLabel_ = new QLabel(bar);
    resultLabel_->setObjectName(QStringLiteral("resultLine"));
    resultLabel_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    row->addWidget(resultLabel_, 1);

    cleanButton_ = new QPushButton(QStringLiteral("Clean"), bar);
    cleanButton_->setObjectName(QStringLiteral("cleanButton"));
    cleanButton_->setMinimumWidth(110);
    cleanButton_->setEnabled(false);
    row->addWidget(cleanButton_);

    setResultText(std::nullopt);
    return bar;
}

void MainWindow::addFeaturePage(const QString& id, const QString& title) {
    auto* page = new QWidget(tabView_);
    page->setObjectName(QStringLiteral("featurePage"));
    page->setAttribute(Qt::WA_StyledBackground);
    page->setProperty("pageId", id);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(18, 14, 18, 14);
    layout->setSpacing(10);
    auto* heading = new QLabel(title, page);
    heading->setObjectName(QStringLiteral("pageTitle"));
    layout->addWidget(heading);
    auto* content = new QWidget(page);
    auto* contentLayout = new QVBoxLayout(content);
    contentLayout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(content, 1);
    tabView_->addWidget(page);
    pages_[id] = page;
    contentAreas_[id] = content;
}

HoverButton* MainWindow::mainButton(core::MainButton button) const {
    auto it = buttons_.find(button);
    return it == buttons_.end() ? nullptr : it->second;
}

std::vector<HoverButton*> MainWindow::mainButtons() const {
    std::vector<HoverButton*> all;
    for (const auto& entry : kMainButtons)
        if (HoverButton* button = mainButton(entry.button))
            all.push_back(button);
    return all;
}

QWidget* MainWindow::page(const QString& id) const {
    auto it = pages_.find(id);
    return it == pages_.end() ? nullptr : it->second;
}

void MainWindow::setPageContent(const QString& id, QWidget* content) {
    auto it = contentAreas_.find(id);
    if (it == contentAreas_.end())
        return;
    QLayout* layout = it->second->layout();
    while (QLayoutItem* item = layout->takeAt(0)) {
        if (QWidget* old = item->widget(); old && old != content) {
            old->hide();
            old->deleteLater();
        }
        delete item;
    }
    if (content)
        layout->addWidget(content);
}

QString MainWindow::currentPageId() const {
    QWidget* current = tabView_->currentWidget();
    return current ? current->property("pageId").toString() : QString();
}

void MainWindow::selectPage(const QString& id) {
    if (QWidget* target = page(id))
        tabView_->setCurrentWidget(target);
}

void MainWindow::clickMainButton(core::MainButton button, const QString& pageId) {
    HoverButton* sender = mainButton(button);
    sender->setButtonPressed(true);
    resetAllButtonsExcept(sender);
    setOnClickLastTabID(pageId);

    // The page points the shared Clean button at its own clean when it is prepared.
    QObject::disconnect(cleanButton_, &QPushButton::clicked, nullptr, nullptr);
    cleanButton_->setEnabled(false);
    setResultText(std::nullopt);

    auto it = onPageOpened.find(pageId);
    if (it != onPageOpened.end() && it->second) {
        auto prepare = it->second; // may change the map
        prepare();
    }
}

void MainWindow::buttonMainAutoCleanClicked() {
    clickMainButton(core::MainButton::AutoClean, "2");
}
void MainWindow::buttonMainBrowsersClicked() {
    clickMainButton(core::MainButton::Browsers, "3");
}
void MainWindow::buttonMainRecentsClicked() {
    clickMainButton(core::MainButton::Recents, "4");
}
void MainWindow::buttonMainSystemClicked() {
    clickMainButton(core::MainButton::System, "5");
}
void MainWindow::buttonMainIPhotoClicked() {
    clickMainButton(core::MainButton::IPhoto, "15");
}
void MainWindow::buttonMainShredderClicked() {
    clickMainButton(core::MainButton::FileEraser, "8");
}
void MainWindow::buttonMainExtManagerClicked() {
    clickMainButton(core::MainButton::Extensions, "13");
}
void MainWindow::buttonMainPreferencesClicked() {
    clickMainButton(core::MainButton::Preferences, "14");
}

void MainWindow::resetAllButtonsExcept(HoverButton* sender) {
    for (HoverButton* button : mainButtons())
        if (button != sender)
            button->resetButton();
}

void MainWindow::setOnClickLastTabID(const QString& id) {
    selectPage(id);
    lastTabID_ = id;
}

void MainWindow::selectTabViewItemOnHoveringButtonID(int buttonID) {
    QString picture;
    int pageNumber = 0;
    for (const auto& entry : kMainButtons) {
        if (entry.buttonID == buttonID) {
            picture = QString::fromLatin1(entry.picture);
            pageNumber = entry.pageNumber;
        }
    }
    startPage_->setBackground(picture.isEmpty() ? QImage() : image(picture), picture);
    startPage_->setPageNumber(pageNumber);
    startPage_->update();
    selectPage(kStartPageId);
}

void MainWindow::resetTabViewItemOnNonHovering() {
    core::Clock& clock = env_.clock;
    core::MainThread& mainThread = env_.mainThread;
    QPointer<MainWindow> self(this);
    env_.threads.start([&clock, &mainThread, self = std::move(self)]() mutable {
        clock.sleepFor(kResetDelay);
        mainThread.post([self = std::move(self)] {
            if (self)
                self->resetTabViewItem();
        });
    });
}

void MainWindow::resetTabViewItem() {
    selectPage(lastTabID_);
    if (lastTabID_ != kStartPageId)
        return;
    for (HoverButton* button : mainButtons())
        if (button->hovering())
            return;
    startPage_->setBackground(image(kDefaultPicture), kDefaultPicture);
    startPage_->setPageNumber(kDefaultPageNumber);
}

void MainWindow::setResultText(const std::optional<QString>& text) {
    if (!text) {
        resultLabel_->setText(QStringLiteral(" "));
        resultImage_->clear();
        resultImage_->hide();
        return;
    }
    resultLabel_->setText(*text);
    QImage bulb = image("light-bulb.png");
    if (!bulb.isNull())
        resultImage_->setPixmap(QPixmap::fromImage(bulb.scaled(
            kLightBulbSize, kLightBulbSize, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
    resultImage_->show();
}

QString MainWindow::resultText() const {
    return resultLabel_->text();
}

bool MainWindow::resultImageShown() const {
    return !resultImage_->isHidden();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (onClose)
        onClose();
    hide();
    event->accept();
}

} // namespace tpc::ui
