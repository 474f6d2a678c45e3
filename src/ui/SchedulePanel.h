#pragma once
// The weekly schedule as the user edits it: the master switch, the presets (selecting one shows
// its days), seven day rows (Sunday to Saturday: a check box, a time picker and a "Set to Now"
// button) and the "Last Schedule Run:" line. Every change goes to the schedule settings, which
// store it in the preset and hand it to the running schedule; the panel shows the presets again
// when they change (PresetListeners) and whenever it is shown.
//
// Main thread only.

#include "ui/RecordIcons.h"

#include <QTime>
#include <QWidget>

#include <functional>
#include <string>
#include <vector>

class QCheckBox;
class QLabel;
class QTableWidget;

namespace tpc::presets {
class PresetModel;
}

namespace tpc::schedule {
class ScheduleSettings;
struct LastRunText;
} // namespace tpc::schedule

namespace tpc::ui {

class ScheduleDayRow;

class SchedulePanel : public QWidget {
    Q_OBJECT
public:
    // Shows the settings' last-run line from now on (ScheduleSettings::showLastScheduledRun).
    SchedulePanel(presets::PresetModel& model, schedule::ScheduleSettings& settings,
                  QWidget* parent = nullptr);

    // reloadScheduleTable: the presets in their order, the selected one kept while it exists
    // (else the first is selected), its days and its last-run line.
    void reloadScheduleTable();
    // The preset whose days are shown; empty without presets.
    std::string selectedPreset() const;
    // Selects the preset of that "Description" and shows its days; false when there is none.
    bool selectPreset(const std::string& preset);

    // The master switch: shows the setting as stored, or acts as the user's click.
    void showScheduleEnabled();
    void checkBoxEnableScheduleClicked(bool on);
    void showLastRun(const schedule::LastRunText& line);

    QTableWidget* presetTable() const { return presetTable_; }
    const std::vector<ScheduleDayRow*>& dayRows() const { return dayRows_; }
    // The row of "Sunday" ... "Saturday"; null for anything else.
    ScheduleDayRow* dayRow(const std::string& day) const;
    QCheckBox* scheduleBox() const { return scheduleBox_; }
    QLabel* lastRunHeader() const { return lastRunHeader_; }
    QLabel* lastRunText() const { return lastRunText_; }

    // After the panel's master switch has acted (the other switch shows it).
    std::function<void(bool on)> onScheduleSwitched;

protected:
    void showEvent(QShowEvent* event) override;

private:
    QWidget* buildPresetColumn();
    QWidget* buildDayColumn();
    void presetSelectionChanged();
    void showSelectedPresetDays();
    void dayToggled(ScheduleDayRow& row, bool on);
    void dayTimeChanged(ScheduleDayRow& row, QTime time);
    void daySetToNow(ScheduleDayRow& row);

    presets::PresetModel& model_;
    schedule::ScheduleSettings& settings_;
    QCheckBox* scheduleBox_ = nullptr;
    QTableWidget* presetTable_ = nullptr;
    std::vector<ScheduleDayRow*> dayRows_;
    QLabel* lastRunHeader_ = nullptr;
    QLabel* lastRunText_ = nullptr;
    // The presets' names in the table's order.
    std::vector<std::string> names_;
    // The preset whose days the rows show: a reload for the same preset keeps the times picked
    // for days that are off.
    std::string shownPreset_;
    bool reloading_ = false;
    RecordIcons icons_;
};

} // namespace tpc::ui
