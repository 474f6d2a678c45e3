#include "ui/AutoCleanPage.h"

#include "core/SizeText.h"
#include "presets/PresetModel.h"
#include "presets/PresetRunner.h"
#include "presets/PresetsModule.h"
#include "ui/CheckListModel.h"
#include "ui/CheckListPanel.h"
#include "ui/MainWindow.h"
#include "ui/MasterCheckBox.h"
#include "ui/PageStyle.h"
#include "ui/PageWiring.h"
#include "ui/PresetOutlineModel.h"
#include "ui/PresetOutlinePanel.h"
#include "ui/RecordNameDelegate.h"
#include "ui/Resources.h"
#include "ui/SchedulePanel.h"

#include <QComboBox>
#include <QDialog>
#include <QFrame>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QTableView>
#include <QTreeView>
#include <QVBoxLayout>

namespace tpc::ui {

namespace {

const char* const kAutoCleanPageId = "2";
constexpr int kOneClickIconSize = 40;
constexpr int kScheduleWindowWidth = 620;
constexpr int kScheduleWindowHeight = 440;

const char* const kAutoCleanStyle = R"(
QFrame#oneClickBox { background: #f6f8fb; border: 1px solid #dde3ea; border-radius: 8px; }
QLabel#oneClickTitle { color: #1f2933; font-weight: 600; }
QLabel#oneClickSize, QLabel#oneClickItems { color: #3d4852; }
QPushButton#oneClickButton {
    background: #2f6fb5; color: white; border: none; border-radius: 6px;
    padding: 6px 18px; font-weight: 600;
}
QPushButton#oneClickButton:hover { background: #3a7dc6; }
QPushButton#oneClickButton:pressed { background: #275d98; }
QPushButton#oneClickButton:disabled { background: #c5ced8; color: #f3f5f8; }
)";

QPushButton* presetListButton(const QString& title, const QString& tip, QWidget* parent) {
    auto* button = new QPushButton(title, parent);
    button->setProperty("listAction", true);
    button->setToolTip(tip);
    return button;
}

} // namespace

AutoCleanPage::AutoCleanPage(presets::PresetsModule& module, QWidget* parent)
    : QWidget(parent), model_(module.model()), runner_(module.runner()) {
    setStyleSheet(pageStyleSheet() + QString::fromLatin1(kAutoCleanStyle));

    auto* intro = new QLabel(
        QStringLiteral("Presets gather items of the other pages, to scan and clean them at once."),
        this);
    intro->setObjectName(QStringLiteral("pageIntro"));
    intro->setWordWrap(true);

    scanButton_ = new QPushButton(QStringLiteral("Scan"), this);
    scanButton_->setObjectName(QStringLiteral("scanButton"));
    scanButton_->setToolTip(QStringLiteral("Measure what every preset holds"));
    connect(scanButton_, &QPushButton::clicked, this,
            [this] { runner_.buttonScanClicked(core::Sender::Button); });

    // Shown once the schedule panel is given.
    scheduleButton_ =
        presetListButton(QStringLiteral("Schedule..."),
                         QStringLiteral("Clean presets automatically every week"), this);
    scheduleButton_->hide();
    connect(scheduleButton_, &QPushButton::clicked, this, [this] { openSchedule(); });

    auto* top = new QHBoxLayout;
    top->setContentsMargins(0, 0, 0, 0);
    top->addWidget(intro, 1);
    top->addWidget(scheduleButton_, 0, Qt::AlignTop);
    top->addWidget(scanButton_, 0, Qt::AlignTop);

    auto* lists = new QHBoxLayout;
    lists->setContentsMargins(0, 0, 0, 0);
    lists->setSpacing(12);
    lists->addWidget(buildMainColumn(), 4);
    lists->addWidget(buildSubColumn(), 5);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 10, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(buildOneClickBox());
    layout->addLayout(top);
    layout->addLayout(lists, 1);

    wireMainList();
    wireSubList();
    reloadLists();
}

QWidget* AutoCleanPage::buildOneClickBox() {
    oneClickBox_ = new QFrame(this);
    oneClickBox_->setObjectName(QStringLiteral("oneClickBox"));
    auto* icon = new QLabel(oneClickBox_);
    const QImage picture = image(QStringLiteral("One Click Clean Sub Item.png"));
    if (!picture.isNull())
        icon->setPixmap(QPixmap::fromImage(picture.scaled(
            kOneClickIconSize, kOneClickIconSize, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
    auto* title = new QLabel(QStringLiteral("One Click Clean"), oneClickBox_);
    title->setObjectName(QStringLiteral("oneClickTitle"));
    oneClickSize_ = new QLabel(oneClickBox_);
    oneClickSize_->setObjectName(QStringLiteral("oneClickSize"));
    oneClickItems_ = new QLabel(oneClickBox_);
    oneClickItems_->setObjectName(QStringLiteral("oneClickItems"));
    oneClickButton_ = new QPushButton(QStringLiteral("Clean Now"), oneClickBox_);
    oneClickButton_->setObjectName(QStringLiteral("oneClickButton"));
    oneClickButton_->setToolTip(QStringLiteral("Clean what the built-in preset selects"));
    oneClickButton_->setEnabled(false);
    connect(oneClickButton_, &QPushButton::clicked, this, [this] { runner_.startOneClickClean(); });

    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(title);
    auto* figures = new QHBoxLayout;
    figures->setSpacing(18);
    figures->addWidget(oneClickSize_);
    figures->addWidget(oneClickItems_);
    figures->addStretch(1);
    texts->addLayout(figures);

    auto* row = new QHBoxLayout(oneClickBox_);
    row->setContentsMargins(12, 8, 12, 8);
    row->setSpacing(12);
    row->addWidget(icon);
    row->addLayout(texts, 1);
    row->addWidget(oneClickButton_, 0, Qt::AlignVCenter);
    // Shown once the built-in preset has been measured.
    oneClickBox_->hide();
    return oneClickBox_;
}

QWidget* AutoCleanPage::buildMainColumn() {
    auto* column = new QWidget(this);
    mainList_ = new CheckListPanel(QStringLiteral("Presets"), column);
    // The presets' pictures before their names.
    mainList_->table()->setItemDelegateForColumn(
        CheckListModel::NameColumn, new RecordNameDelegate(*mainList_->model(), mainList_));
    // The sizes take the room they need, the names the rest.
    mainList_->table()->horizontalHeader()->setSectionResizeMode(CheckListModel::SizeColumn,
                                                                 QHeaderView::ResizeToContents);
    addButton_ = presetListButton(QStringLiteral("Add Preset"),
                                  QStringLiteral("Add an empty preset"), column);
    removeButton_ = presetListButton(QStringLiteral("Remove Preset"),
                                     QStringLiteral("Remove the selected preset"), column);
    connect(addButton_, &QPushButton::clicked, this, [this] { addPreset(); });
    connect(removeButton_, &QPushButton::clicked, this, [this] { removeSelectedPreset(); });

    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addWidget(addButton_);
    buttons->addWidget(removeButton_);
    buttons->addStretch(1);
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(mainList_, 1);
    layout->addLayout(buttons);
    return column;
}

QWidget* AutoCleanPage::buildSubColumn() {
    auto* column = new QWidget(this);
    subList_ = new PresetOutlinePanel(QStringLiteral("Items"), column);
    removeItemButton_ =
        presetListButton(QStringLiteral("Remove Item"),
                         QStringLiteral("Take the selected item out of the preset"), column);
    removeItemButton_->setEnabled(false);
    connect(removeItemButton_, &QPushButton::clicked, this, [this] { removeSelectedItem(); });

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(removeItemButton_);
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(subList_, 1);
    layout->addLayout(buttons);
    return column;
}

// Every change below goes through the model, which says what to show again.

void AutoCleanPage::wireMainList() {
    mainList_->onMasterClicked = [this](core::CheckState shown) {
        model_.markAllPresetsMainList(shown != core::CheckState::Off);
    };
    mainList_->onMarkToggled = [this](int row, bool on) {
        model_.setPresetMark(row, on);
    };
    mainList_->onSortChosen = [this](core::SortChoice choice) {
        model_.sortMainList(choice);
    };
    mainList_->onSelectionChanged = [this](int row) {
        model_.selectRow(row);
        reloadSubList();
    };
}

void AutoCleanPage::wireSubList() {
    subList_->onMasterClicked = [this](core::CheckState shown) {
        model_.markAllPresetsSubList(shown != core::CheckState::Off);
        // Without a preset nothing changed: the box shows the marks again.
        subList_->showMasterState(model_.subListState());
    };
    subList_->onSortChosen = [this](core::SortChoice choice) {
        model_.sortSubList(choice);
    };
    subList_->model()->onCheckClicked = [this](const core::DictRef& record, bool on) {
        model_.clickSubListRow(record, on);
    };
    subList_->onSelectionChanged = [this](const core::DictRef&) {
        enableOrDisableRemoveButtons();
    };
}

void AutoCleanPage::attach(MainWindow& window) {
    window_ = &window;
    attachPage(this, window, kAutoCleanPageId);
}

core::PageHooks AutoCleanPage::hooks() {
    return pageHooks(this, &AutoCleanPage::reloadLists);
}

void AutoCleanPage::pageOpened() {
    pointCleanButton(cleanButton(), this, runner_);
    reloadLists();
}

void AutoCleanPage::reloadLists() {
    reloadMainList();
}

void AutoCleanPage::reloadMainList() {
    mainList_->reload(model_.presets(), model_.selectedRow());
    mainList_->showMasterState(model_.mainListState());
    mainList_->showSort(model_.mainListSort());
    // Marking all and sorting need presets to work on.
    const bool rows = mainList_->model()->rowCount() > 0;
    mainList_->masterBox()->setEnabled(rows);
    mainList_->sortPopUp()->setEnabled(rows);
    reloadSubList();
    enableOrDisableCleanButton();
}

void AutoCleanPage::reloadSubList() {
    const bool selected = model_.selectedPreset() != nullptr;
    subList_->reload(model_.subList());
    subList_->showMasterState(model_.subListState());
    subList_->showSort(model_.subListSort());
    // Marking all and sorting need a preset whose items are shown.
    subList_->masterBox()->setEnabled(selected);
    subList_->sortPopUp()->setEnabled(selected);
    // The presets' sizes follow their items.
    mainList_->table()->viewport()->update();
    enableOrDisableRemoveButtons();
}

void AutoCleanPage::enableOrDisableRemoveButtons() {
    removeButton_->setEnabled(controlsEnabled_ && model_.removePresetEnabled());
    removeItemOn_ = model_.removeItemEnabled(subList_->selectedRecord(), removeItemOn_);
    removeItemButton_->setEnabled(controlsEnabled_ && removeItemOn_);
}

void AutoCleanPage::setControlsEnabled(bool enabled) {
    controlsEnabled_ = enabled;
    for (QWidget* control :
         std::initializer_list<QWidget*>{mainList_, subList_, scanButton_, addButton_})
        control->setEnabled(enabled);
    // The one-click button works once the built-in preset has been measured.
    oneClickButton_->setEnabled(enabled && !oneClickBox_->isHidden());
    enableOrDisableRemoveButtons();
    enableOrDisableCleanButton();
}

void AutoCleanPage::enableOrDisableCleanButton() {
    if (QPushButton* clean = cleanButton())
        clean->setEnabled(controlsEnabled_ && model_.canClean());
}

void AutoCleanPage::showOneClickResult(const presets::OneClickResult& result) {
    oneClickSize_->setText(
        QStringLiteral("Size to clean: %1")
            .arg(QString::fromStdString(core::getFormattedStringForSize(result.bytes))));
    oneClickItems_->setText(QStringLiteral("Items to clean: %1 items").arg(result.items));
    oneClickBox_->show();
    oneClickButton_->setEnabled(controlsEnabled_);
}

void AutoCleanPage::setSchedulePanel(SchedulePanel* panel) {
    delete scheduleWindow_;
    scheduleWindow_ = new QDialog(this);
    scheduleWindow_->setWindowTitle(QStringLiteral("Schedule"));
    auto* layout = new QVBoxLayout(scheduleWindow_);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(panel);
    scheduleWindow_->resize(kScheduleWindowWidth, kScheduleWindowHeight);
    scheduleButton_->show();
}

void AutoCleanPage::openSchedule() {
    if (!scheduleWindow_)
        return;
    scheduleWindow_->show();
    scheduleWindow_->raise();
    scheduleWindow_->activateWindow();
}

void AutoCleanPage::addPreset() {
    if (controlsEnabled_)
        model_.addPreset();
}

void AutoCleanPage::removeSelectedPreset() {
    if (controlsEnabled_ && model_.removePresetEnabled())
        model_.removeSelectedPreset();
}

void AutoCleanPage::removeSelectedItem() {
    if (!controlsEnabled_ || !removeItemOn_)
        return;
    model_.removeSubListItem(subList_->selectedRecord());
}

QPushButton* AutoCleanPage::cleanButton() const {
    return sharedCleanButton(window_, QLatin1String(kAutoCleanPageId));
}

} // namespace tpc::ui
