#include "ui/SchedulePanel.h"

#include "core/Keys.h"
#include "core/Record.h"
#include "presets/PresetModel.h"
#include "schedule/ScheduleEntry.h"
#include "schedule/ScheduleSettings.h"
#include "schedule/ScheduleTime.h"
#include "ui/PageStyle.h"
#include "ui/ScheduleDayRow.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPointer>
#include <QTableWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace tpc::ui {

namespace {

constexpr int kSchedulePresetRowHeight = 24;
constexpr int kSchedulePresetIconSize = 18;
constexpr int kSchedulePresetColumnWidth = 210;

const char* const kScheduleStyle = R"(
QLabel#scheduleSectionTitle { color: #1f2933; font-weight: 600; }
QLabel#lastRunHeader { color: #52606d; }
QLabel#lastRunText { color: #1f2933; }
QTableWidget#schedulePresets {
    border: 1px solid #dde3ea; border-radius: 6px; background: #ffffff;
    alternate-background-color: #f6f8fb; selection-background-color: #dbe8f6;
    selection-color: #1f2933; outline: 0;
}
QTableWidget#schedulePresets::item { padding-left: 4px; }
)";

QLabel* scheduleSectionTitle(const QString& text, QWidget* parent) {
    auto* title = new QLabel(text, parent);
    title->setObjectName(QStringLiteral("scheduleSectionTitle"));
    return title;
}

// What a day picker holds for `time`: only the hour and the minute count.
core::Date pickerDateFor(QTime time) {
    return schedule::pickerDate(time.hour(), time.minute());
}

QTime pickerTimeOf(const core::Date& date) {
    const schedule::HourMinute hm = schedule::hmFromDate(date);
    return hm.hour < 0 ? QTime(0, 0) : QTime(hm.hour, hm.minute);
}

QIcon schedulePresetIcon(const core::DictRef& preset, const RecordIcons& icons) {
    const core::DictRef dd = core::descriptionDictionary(preset);
    const std::string* name = dd ? dd->get(core::keys::Icon).string() : nullptr;
    return name ? icons.named(QString::fromStdString(*name)) : QIcon();
}

} // namespace

SchedulePanel::SchedulePanel(presets::PresetModel& model, schedule::ScheduleSettings& settings,
                             QWidget* parent)
    : QWidget(parent), model_(model), settings_(settings) {
    setStyleSheet(pageStyleSheet() + QString::fromLatin1(kScheduleStyle));

    scheduleBox_ = new QCheckBox(QStringLiteral("Enable weekly schedule"), this);
    connect(scheduleBox_, &QCheckBox::clicked, this,
            [this](bool on) { checkBoxEnableScheduleClicked(on); });
    auto* intro = new QLabel(QStringLiteral("Presets are cleaned at the times set below, also "
                                            "while the window is closed."),
                             this);
    intro->setObjectName(QStringLiteral("pageIntro"));
    intro->setWordWrap(true);

    auto* columns = new QHBoxLayout;
    columns->setContentsMargins(0, 0, 0, 0);
    columns->setSpacing(16);
    columns->addWidget(buildPresetColumn());
    columns->addWidget(buildDayColumn(), 1);

    lastRunHeader_ = new QLabel(this);
    lastRunHeader_->setObjectName(QStringLiteral("lastRunHeader"));
    lastRunText_ = new QLabel(this);
    lastRunText_->setObjectName(QStringLiteral("lastRunText"));
    auto* lastRun = new QHBoxLayout;
    lastRun->setSpacing(6);
    lastRun->addWidget(lastRunHeader_);
    lastRun->addWidget(lastRunText_);
    lastRun->addStretch(1);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 14, 16, 14);
    layout->setSpacing(10);
    layout->addWidget(scheduleBox_);
    layout->addWidget(intro);
    layout->addLayout(columns, 1);
    layout->addLayout(lastRun);

    // The settings may outlive the panel: the line then goes nowhere.
    settings_.showLastScheduledRun =
        [self = QPointer<SchedulePanel>(this)](const schedule::LastRunText& line) {
            if (self)
                self->showLastRun(line);
        };
    reloadScheduleTable();
    showScheduleEnabled();
}

QWidget* SchedulePanel::buildPresetColumn() {
    auto* column = new QWidget(this);
    presetTable_ = new QTableWidget(0, 1, column);
    presetTable_->setObjectName(QStringLiteral("schedulePresets"));
    presetTable_->setSelectionBehavior(QAbstractItemView::SelectRows);
    presetTable_->setSelectionMode(QAbstractItemView::SingleSelection);
    presetTable_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    presetTable_->setShowGrid(false);
    presetTable_->setAlternatingRowColors(true);
    presetTable_->setWordWrap(false);
    presetTable_->setIconSize(QSize(kSchedulePresetIconSize, kSchedulePresetIconSize));
    presetTable_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    presetTable_->verticalHeader()->hide();
    presetTable_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    presetTable_->verticalHeader()->setDefaultSectionSize(kSchedulePresetRowHeight);
    presetTable_->horizontalHeader()->hide();
    presetTable_->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    column->setFixedWidth(kSchedulePresetColumnWidth);
    connect(presetTable_, &QTableWidget::itemSelectionChanged, this,
            [this] { presetSelectionChanged(); });

    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(scheduleSectionTitle(QStringLiteral("Presets"), column));
    layout->addWidget(presetTable_, 1);
    return column;
}

QWidget* SchedulePanel::buildDayColumn() {
    auto* column = new QWidget(this);
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(scheduleSectionTitle(QStringLiteral("Days"), column));
    for (const char* day : schedule::kWeekdays) {
        auto* row = new ScheduleDayRow(day, column);
        row->onToggled = [this, row](bool on) {
            dayToggled(*row, on);
        };
        row->onTimeChanged = [this, row](QTime time) {
            dayTimeChanged(*row, time);
        };
        row->onSetToNow = [this, row] {
            daySetToNow(*row);
        };
        dayRows_.push_back(row);
        layout->addWidget(row);
    }
    layout->addStretch(1);
    return column;
}

ScheduleDayRow* SchedulePanel::dayRow(const std::string& day) const {
    const auto index = schedule::weekdayIndex(day);
    return index ? dayRows_[*index] : nullptr;
}

// ---- The presets ----

void SchedulePanel::reloadScheduleTable() {
    reloading_ = true;
    names_.clear();
    presetTable_->clearContents();
    presetTable_->setRowCount(0);
    if (const core::ArrayRef presets = model_.presets())
        for (const core::DictRef& preset : presets->dicts()) {
            const std::string name = core::description(preset);
            const int row = presetTable_->rowCount();
            presetTable_->insertRow(row);
            presetTable_->setItem(row, 0,
                                  new QTableWidgetItem(schedulePresetIcon(preset, icons_),
                                                       QString::fromStdString(name)));
            names_.push_back(name);
        }
    // The preset shown before stays selected while it exists; else the first.
    const auto kept = std::find(names_.begin(), names_.end(), settings_.selectedPreset());
    const int row = kept != names_.end() ? static_cast<int>(kept - names_.begin())
                    : names_.empty()     ? -1
                                         : 0;
    if (row >= 0) {
        presetTable_->selectRow(row);
        settings_.selectPreset(names_[static_cast<std::size_t>(row)]);
    }
    reloading_ = false;
    showSelectedPresetDays();
    settings_.updateLastScheduledRunTextField();
}

std::string SchedulePanel::selectedPreset() const {
    const QList<QTableWidgetItem*> items = presetTable_->selectedItems();
    if (items.isEmpty())
        return {};
    const auto row = static_cast<std::size_t>(items.first()->row());
    return row < names_.size() ? names_[row] : std::string();
}

bool SchedulePanel::selectPreset(const std::string& preset) {
    const auto found = std::find(names_.begin(), names_.end(), preset);
    if (found == names_.end())
        return false;
    presetTable_->selectRow(static_cast<int>(found - names_.begin()));
    return true;
}

void SchedulePanel::presetSelectionChanged() {
    if (reloading_)
        return;
    const std::string preset = selectedPreset();
    if (!preset.empty())
        settings_.selectPreset(preset);
    showSelectedPresetDays();
    settings_.updateLastScheduledRunTextField();
}

void SchedulePanel::showSelectedPresetDays() {
    const std::string preset = selectedPreset();
    const bool samePreset = preset == shownPreset_;
    shownPreset_ = preset;
    for (ScheduleDayRow* row : dayRows_) {
        row->setEnabled(!preset.empty());
        const core::DictRef entry = settings_.storedEntry(preset, row->day());
        const auto date = schedule::entryDate(entry);
        if (entry)
            row->showDay(true, date ? pickerTimeOf(*date) : QTime(0, 0));
        else
            // A day that is off shows midnight, or what was picked for it while it was shown.
            row->showDay(false, samePreset ? row->time() : QTime(0, 0));
    }
}

// ---- The days ----

void SchedulePanel::dayToggled(ScheduleDayRow& row, bool on) {
    // A preset removed meanwhile: the table shows what is left.
    if (!settings_.checkBoxEnableScheduleForDayClicked(selectedPreset(), row.day(), on,
                                                       pickerDateFor(row.time())))
        reloadScheduleTable();
}

void SchedulePanel::dayTimeChanged(ScheduleDayRow& row, QTime time) {
    settings_.datePickerClicked(selectedPreset(), row.day(), pickerDateFor(time));
}

void SchedulePanel::daySetToNow(ScheduleDayRow& row) {
    if (const auto now = settings_.setToNowClicked(selectedPreset(), row.day()))
        row.showTime(pickerTimeOf(*now));
}

// ---- The master switch and the last run ----

void SchedulePanel::showScheduleEnabled() {
    scheduleBox_->setChecked(settings_.scheduleEnabled());
}

void SchedulePanel::checkBoxEnableScheduleClicked(bool on) {
    settings_.checkBoxEnableScheduleClicked(on);
    showScheduleEnabled();
    if (onScheduleSwitched)
        onScheduleSwitched(on);
}

void SchedulePanel::showLastRun(const schedule::LastRunText& line) {
    lastRunHeader_->setText(QString::fromStdString(line.header));
    lastRunText_->setText(QString::fromStdString(line.text));
}

void SchedulePanel::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    // A scheduled clean may have stamped its preset while the panel was hidden.
    reloadScheduleTable();
    showScheduleEnabled();
}

} // namespace tpc::ui
