#include "ui/SystemPage.h"

#include "core/Record.h"
#include "presets/PresetModel.h"
#include "system/SystemDriver.h"
#include "system/SystemModule.h"
#include "ui/AddToPresetButton.h"
#include "ui/CheckListModel.h"
#include "ui/CheckListPanel.h"
#include "ui/MainWindow.h"
#include "ui/PageStyle.h"
#include "ui/PageWiring.h"
#include "ui/RecordNameDelegate.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

namespace tpc::ui {

namespace {

const char* const kSystemPageId = "5";

} // namespace

SystemPage::SystemPage(system::SystemModule& module, QWidget* parent)
    : QWidget(parent), driver_(module.driver()) {
    setStyleSheet(pageStyleSheet());

    auto* intro = new QLabel(
        QStringLiteral("Recent items, logs, the Trash and downloads this account has gathered."),
        this);
    intro->setObjectName(QStringLiteral("pageIntro"));
    intro->setWordWrap(true);

    scanButton_ = new QPushButton(QStringLiteral("Scan"), this);
    scanButton_->setObjectName(QStringLiteral("scanButton"));
    scanButton_->setToolTip(QStringLiteral("Count what each marked category holds"));
    connect(scanButton_, &QPushButton::clicked, this,
            [this] { driver_.buttonScanClicked(core::Sender::Button); });

    list_ = new CheckListPanel(QStringLiteral("System junk"), this);
    delegate_ = new RecordNameDelegate(*list_->model(), list_);
    list_->table()->setItemDelegateForColumn(CheckListModel::NameColumn, delegate_);

    auto* top = new QHBoxLayout;
    top->setContentsMargins(0, 0, 0, 0);
    top->addWidget(intro, 1);
    addToPreset_ = new AddToPresetButton(
        presets::kCleanSystemJunk, [this] { return list_->model()->record(list_->selectedRow()); },
        this);
    top->addWidget(addToPreset_, 0, Qt::AlignTop);
    top->addWidget(scanButton_, 0, Qt::AlignTop);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 10, 0, 0);
    layout->setSpacing(10);
    layout->addLayout(top);
    layout->addWidget(list_, 1);

    wireList();
    reloadLists();
}

void SystemPage::wireList() {
    list_->onMasterClicked = [this](core::CheckState shown) {
        driver_.systemCheckBoxButtonClicked(shown);
        reloadLists();
    };
    list_->onMarkToggled = [this](int row, bool on) {
        // The model stored the click already; the engine makes the change itself, in its order
        // (the Downloads notice comes before the mark).
        core::setMark(list_->model()->record(row), !on);
        driver_.setRowMark(row, on);
        list_->showMasterState(driver_.reflectMarkStatusInSystem());
        enableOrDisableCleanButton();
    };
    list_->onSortChosen = [this](core::SortChoice choice) {
        driver_.systemPopUpButtonClicked(choice);
        reloadLists();
    };
}

void SystemPage::attach(MainWindow& window) {
    window_ = &window;
    attachPage(this, window, kSystemPageId);
}

core::PageHooks SystemPage::hooks() {
    return pageHooks(this, &SystemPage::reloadLists);
}

void SystemPage::pageOpened() {
    pointCleanButton(cleanButton(), this, driver_);
    driver_.buttonScanClicked(core::Sender::Button);
}

void SystemPage::reloadLists() {
    const int selected = list_->selectedRow();
    const core::DictRef kept = list_->model()->record(selected);
    list_->reload(driver_.list());
    list_->selectRow(list_->model()->rowOf(kept));
    list_->showMasterState(driver_.reflectMarkStatusInSystem());
    list_->showSort(driver_.reflectPopUpButtonTitleInSystem());
    enableOrDisableCleanButton();
}

void SystemPage::setControlsEnabled(bool enabled) {
    controlsEnabled_ = enabled;
    list_->setEnabled(enabled);
    scanButton_->setEnabled(enabled);
    enableOrDisableCleanButton();
}

void SystemPage::enableOrDisableCleanButton() {
    if (QPushButton* clean = cleanButton())
        clean->setEnabled(controlsEnabled_ && driver_.enableOrDisableSystemScanAndCleanButton());
}

QPushButton* SystemPage::cleanButton() const {
    return sharedCleanButton(window_, QLatin1String(kSystemPageId));
}

} // namespace tpc::ui
