#include "ui/PreferencesPage.h"

#include "controller/AppDelegate.h"
#include "core/GeneralPrefs.h"
#include "core/Keys.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace tpc::ui {

namespace {

constexpr int kDeleteRow = 0;
constexpr int kEraseRow = 1;

QCheckBox* addCheckBox(QVBoxLayout* layout, const char* title) {
    auto* box = new QCheckBox(QString::fromUtf8(title));
    layout->addWidget(box);
    return box;
}

} // namespace

PreferencesPage::PreferencesPage(controller::AppDelegate& app, QWidget* parent)
    : QWidget(parent), app_(app) {
    // Removing files: plain deletion, or secure erasure with the method chosen in the pop-up.
    auto* deletion = new QGroupBox(QStringLiteral("Removing files"));
    auto* deletionLayout = new QGridLayout(deletion);
    deleteButton_ = new QRadioButton(QStringLiteral("Delete files"));
    eraseButton_ = new QRadioButton(QStringLiteral("Erase files securely"));
    deletionChoice_ = new QButtonGroup(this);
    deletionChoice_->addButton(deleteButton_, kDeleteRow);
    deletionChoice_->addButton(eraseButton_, kEraseRow);
    methodPopUp_ = new QComboBox;
    for (const char* title : core::kEraseMethodTitles)
        methodPopUp_->addItem(QString::fromUtf8(title));
    deletionLayout->addWidget(deleteButton_, 0, 0);
    deletionLayout->addWidget(eraseButton_, 1, 0);
    deletionLayout->addWidget(methodPopUp_, 1, 1);
    deletionLayout->setColumnStretch(2, 1);

    auto* sleep = new QGroupBox(QStringLiteral("Sleep"));
    auto* sleepLayout = new QVBoxLayout(sleep);
    normalSleep_ = addCheckBox(sleepLayout, "Prevent normal sleep while cleaning");
    forcedSleep_ = addCheckBox(sleepLayout, "Prevent forced sleep while cleaning");

    auto* startup = new QGroupBox(QStringLiteral("Start-up and schedule"));
    auto* startupLayout = new QVBoxLayout(startup);
    loginItem_ = addCheckBox(startupLayout, "Start Tavrin Privacy Cleaner at login");
    schedule_ = addCheckBox(startupLayout, "Enable weekly schedule");

    auto* updates = new QGroupBox(QStringLiteral("Updates"));
    auto* updatesLayout = new QHBoxLayout(updates);
    checkForUpdates_ = new QPushButton(QStringLiteral("Check for Updates..."));
    updatesLayout->addWidget(checkForUpdates_);
    updatesLayout->addStretch();

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(deletion);
    layout->addWidget(sleep);
    layout->addWidget(startup);
    layout->addWidget(updates);
    layout->addStretch();

    // Only the user's clicks act; reload() sets the controls without storing anything.
    connect(deletionChoice_, &QButtonGroup::idClicked, this,
            &PreferencesPage::matrixFileDeletionOptionsClicked);
    connect(methodPopUp_, &QComboBox::activated, this,
            &PreferencesPage::popUpButtonFileDeletionMethodClicked);
    connect(normalSleep_, &QCheckBox::clicked, this,
            [this](bool on) { app_.general().preventNormalSleep(on); });
    connect(forcedSleep_, &QCheckBox::clicked, this,
            [this](bool on) { app_.general().preventForcedSleep(on); });
    connect(loginItem_, &QCheckBox::clicked, this, [this](bool on) { app_.toggleLoginItem(on); });
    connect(schedule_, &QCheckBox::clicked, this, [this](bool on) {
        app_.general().setScheduleEnabled(on);
        if (onScheduleToggled)
            onScheduleToggled(on);
    });
    connect(checkForUpdates_, &QPushButton::clicked, this, [this] {
        if (onCheckForUpdates)
            onCheckForUpdates();
    });

    reload();
}

void PreferencesPage::reload() {
    auto& general = app_.general();
    const core::FileDeletionChoice choice =
        core::fileDeletionChoiceFor(general.fileDeletionOption());
    (choice.row == kEraseRow ? eraseButton_ : deleteButton_)->setChecked(true);
    methodPopUp_->setCurrentIndex(choice.selectedMethod);
    methodPopUp_->setEnabled(choice.popUpEnabled);

    const auto& dict = general.dict();
    normalSleep_->setChecked(dict->getInt(core::keys::PreventNormalSleep) != 0);
    forcedSleep_->setChecked(dict->getInt(core::keys::PreventForcedSleep) != 0);
    setLoginItemChecked(app_.loginItemExists());
    setScheduleChecked(general.scheduleEnabled());
}

void PreferencesPage::setLoginItemChecked(bool on) {
    loginItem_->setChecked(on);
}

void PreferencesPage::setScheduleChecked(bool on) {
    schedule_->setChecked(on);
}

void PreferencesPage::matrixFileDeletionOptionsClicked(int row) {
    app_.general().matrixFileDeletionOptionsClicked(row);
    (row == kDeleteRow ? deleteButton_ : eraseButton_)->setChecked(true);
    methodPopUp_->setCurrentIndex(0);
    methodPopUp_->setEnabled(row != kDeleteRow);
}

void PreferencesPage::popUpButtonFileDeletionMethodClicked(int index) {
    app_.general().popUpButtonFileDeletionMethodClicked(index);
}

} // namespace tpc::ui
