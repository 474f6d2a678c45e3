#include "ui/BrowsersPage.h"

#include "browsers/BrowserDriver.h"
#include "browsers/BrowsersModule.h"
#include "ui/AddToPresetButton.h"
#include "ui/CheckListModel.h"
#include "ui/CheckListPanel.h"
#include "ui/CookieListsPanel.h"
#include "ui/MainWindow.h"
#include "ui/MasterCheckBox.h"
#include "ui/PageStyle.h"
#include "ui/PageWiring.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

namespace tpc::ui {

namespace {

const char* const kBrowsersPageId = "3";
constexpr int kTabTopMargin = 10;

const char* const kBrowsersStyleSheet = R"(
QTabWidget::pane { border: none; }
QTabBar { qproperty-drawBase: 0; }
QTabBar::tab {
    background: transparent; color: #52606d; padding: 6px 14px; margin-right: 4px;
    border: none; border-bottom: 2px solid transparent;
}
QTabBar::tab:selected { color: #1f2933; border-bottom: 2px solid #2f6fb5; font-weight: 600; }
QTabBar::tab:hover:!selected { color: #2f6fb5; }
)";

} // namespace

BrowsersPage::BrowsersPage(browsers::BrowsersModule& module, core::Context& ctx, QWidget* parent)
    : QWidget(parent), module_(module), ctx_(ctx), driver_(module.driver()) {
    setStyleSheet(pageStyleSheet() + QString::fromLatin1(kBrowsersStyleSheet));

    scanButton_ = new QPushButton(QStringLiteral("Scan"), this);
    scanButton_->setObjectName(QStringLiteral("scanButton"));
    scanButton_->setToolTip(QStringLiteral("Measure what the marked items hold"));
    connect(scanButton_, &QPushButton::clicked, this,
            [this] { driver_.buttonScanClicked(core::Sender::Button); });

    cookies_ = new CookieListsPanel(module_, ctx_);
    tabs_ = new QTabWidget(this);
    tabs_->setDocumentMode(true);
    tabs_->addTab(buildListsTab(), QStringLiteral("Browsing data"));
    auto* cookiesTab = new QWidget;
    auto* cookiesLayout = new QVBoxLayout(cookiesTab);
    cookiesLayout->setContentsMargins(0, kTabTopMargin, 0, 0);
    cookiesLayout->addWidget(cookies_);
    tabs_->addTab(cookiesTab, QStringLiteral("Cookies"));
    auto* corner = new QWidget(tabs_);
    auto* cornerLayout = new QHBoxLayout(corner);
    cornerLayout->setContentsMargins(0, 0, 0, 4);
    addToPreset_ = new AddToPresetButton(
        {}, [this] { return mainList_->model()->record(mainList_->selectedRow()); }, corner);
    cornerLayout->addWidget(addToPreset_);
    cornerLayout->addWidget(scanButton_);
    tabs_->setCornerWidget(corner, Qt::TopRightCorner);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(tabs_);

    wireMainList();
    wireSubList();
    reloadLists();
    selectFirstBrowserIfNone();
}

QWidget* BrowsersPage::buildListsTab() {
    auto* tab = new QWidget;
    mainList_ = new CheckListPanel(QStringLiteral("Browsers"), tab);
    subList_ = new CheckListPanel(QStringLiteral("Items"), tab);
    auto* row = new QHBoxLayout(tab);
    row->setContentsMargins(0, kTabTopMargin, 0, 0);
    row->setSpacing(12);
    row->addWidget(mainList_, 5);
    row->addWidget(subList_, 6);
    return tab;
}

void BrowsersPage::wireMainList() {
    mainList_->onMasterClicked = [this](core::CheckState shown) {
        driver_.browserMainListCheckBoxButtonClicked(shown);
        reloadLists();
    };
    mainList_->onMarkToggled = [this](int, bool) {
        mainList_->showMasterState(driver_.reflectMarkStatusInBrowserMainList());
        enableOrDisableCleanButton();
    };
    mainList_->onSortChosen = [this](core::SortChoice choice) {
        driver_.browserMainListPopUpButtonClicked(choice);
        reloadLists();
    };
    mainList_->onSelectionChanged = [this](int row) {
        driver_.selectMainRow(row);
        showSubList();
    };
}

void BrowsersPage::wireSubList() {
    subList_->onMasterClicked = [this](core::CheckState shown) {
        driver_.browserSubListCheckBoxButtonClicked(shown);
        showSubList();
    };
    subList_->onMarkToggled = [this](int, bool) {
        subList_->showMasterState(driver_.reflectMarkStatusInBrowserSubList());
    };
    subList_->onSortChosen = [this](core::SortChoice choice) {
        driver_.browserSubListPopUpButtonClicked(choice);
        showSubList();
    };
}

void BrowsersPage::showSubList() {
    const bool selected = driver_.selectedMainRow() >= 0;
    subList_->reload(driver_.subList());
    subList_->showMasterState(driver_.reflectMarkStatusInBrowserSubList());
    subList_->showSort(core::currentSort(driver_.subList()));
    // Marking all and sorting need a browser whose items are shown.
    subList_->masterBox()->setEnabled(selected);
    subList_->sortPopUp()->setEnabled(selected);
}

void BrowsersPage::attach(MainWindow& window) {
    window_ = &window;
    attachPage(this, window, kBrowsersPageId);
}

core::PageHooks BrowsersPage::hooks() {
    return pageHooks(this, &BrowsersPage::reloadLists);
}

void BrowsersPage::pageOpened() {
    pointCleanButton(cleanButton(), this, driver_);
    cookies_->reloadBrowsers();
    selectFirstBrowserIfNone();
    driver_.buttonScanClicked(core::Sender::Button);
}

void BrowsersPage::selectFirstBrowserIfNone() {
    if (driver_.selectedMainRow() < 0 && mainList_->model()->rowCount() > 0)
        mainList_->selectRow(0);
}

void BrowsersPage::reloadLists() {
    mainList_->reload(driver_.list(), driver_.selectedMainRow());
    mainList_->showMasterState(driver_.reflectMarkStatusInBrowserMainList());
    mainList_->showSort(driver_.reflectPopUpButtonTitleInBrowsersMainList());
    showSubList();
    cookies_->reloadBrowsers();
    enableOrDisableCleanButton();
}

void BrowsersPage::setControlsEnabled(bool enabled) {
    controlsEnabled_ = enabled;
    for (QWidget* control :
         std::initializer_list<QWidget*>{mainList_, subList_, cookies_, scanButton_})
        control->setEnabled(enabled);
    enableOrDisableCleanButton();
}

void BrowsersPage::enableOrDisableCleanButton() {
    if (QPushButton* clean = cleanButton())
        clean->setEnabled(controlsEnabled_ && driver_.enableOrDisableBrowserScanAndCleanButton());
}

QPushButton* BrowsersPage::cleanButton() const {
    return sharedCleanButton(window_, QLatin1String(kBrowsersPageId));
}

} // namespace tpc::ui
