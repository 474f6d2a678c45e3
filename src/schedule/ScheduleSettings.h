#pragma once
// The schedule as the user edits it: the master switch, each preset's weekday check boxes and
// time pickers, the entries' hold marks and the last-run text. Every change is stored in the
// preset records (saved to Presets.plist) or in General ("enableSchedule") and handed to the
// running Schedule. The desktop page and the command line both call these operations.
//
// Main thread only.

#include "core/Value.h"
#include "schedule/Schedule.h"

#include <functional>
#include <optional>
#include <string>

namespace tpc::core {
class Clock;
class Frontend;
class GeneralPrefs;
} // namespace tpc::core

namespace tpc::presets {
class PresetModel;
}

namespace tpc::schedule {

// What the last-run line of the schedule page shows.
struct LastRunText {
    std::string header; // "Last Schedule Run:", or "" when the preset never ran from the schedule
    std::string text;   // the date, or ""
    bool operator==(const LastRunText&) const = default;
};

class ScheduleSettings {
public:
    ScheduleSettings(presets::PresetModel& model, Schedule& schedule, core::GeneralPrefs& general,
                     core::Clock& clock, core::Frontend& frontend);

    // At start-up: every preset's stored weekday entries (Sunday to Saturday) to the schedule,
    // then the master switch as General holds it.
    void loadStoredEntries();

    // checkBoxEnableScheduleClicked: stores "enableSchedule" and starts or stops the checking.
    void checkBoxEnableScheduleClicked(bool on);
    void startSchedule();
    void stopSchedule();
    bool scheduleEnabled() const;

    // checkBoxEnableScheduleForDayClicked for `preset` (its "Description") and `day` ("Sunday"
    // ... "Saturday"): on stores the entry with the day picker's time `time` and schedules it; off
    // unschedules it and removes it from the preset. False, changing nothing, when there is no
    // such preset or day.
    bool checkBoxEnableScheduleForDayClicked(const std::string& preset, const std::string& day,
                                             bool on, const core::Date& time);
    // datePicker<Day>Clicked: the day picker now holds `time`; when the day is on, the entry
    // follows it. False for an unknown preset or day.
    bool datePickerClicked(const std::string& preset, const std::string& day,
                           const core::Date& time);
    // setToNow<Day>Clicked: the day picker set to now, then as a picker change. The picker's new
    // value; nullopt for an unknown preset or day.
    std::optional<core::Date> setToNowClicked(const std::string& preset, const std::string& day);
    // The entry `preset` holds for `day`; null when the day is off.
    core::DictRef storedEntry(const std::string& preset, const std::string& day) const;

    // The hold of an entry that fired, in the entry stored in its preset; saved.
    void markScheduleAsAlreadyRun(const core::DictRef& entry);
    void removeScheduleAsAlreadyRun(const core::DictRef& entry);

    // The preset selected in the schedule's preset table (whose days the page shows); the
    // built-in preset until another is chosen.
    void selectPreset(const std::string& preset);
    const std::string& selectedPreset() const { return selected_; }
    // What the last-run line shows for `preset`.
    LastRunText lastScheduledRunText(const std::string& preset) const;
    // updateLastScheduledRunTextField: shows the selected preset's last-run line through
    // showLastScheduledRun, or when unset through Frontend::ui("updateLastScheduledRunTextField",
    // {"header", "text"}).
    void updateLastScheduledRunTextField();
    std::function<void(const LastRunText&)> showLastScheduledRun;

    // changeScheduleOldName: a preset's "Description" changed from `oldName` to `newName`: its
    // scheduled entries and the entries stored in presets follow; saved.
    void changeScheduleOldName(const std::string& oldName, const std::string& newName);

    // setFirstRunSchedules: Monday 10:00, Wednesday 12:00 and Friday 14:00 for "One Click Clean",
    // and the schedule switched on.
    void setFirstRunSchedules();

private:
    core::DictRef presetNamed(const std::string& preset) const;

    presets::PresetModel& model_;
    Schedule& schedule_;
    core::GeneralPrefs& general_;
    core::Clock& clock_;
    core::Frontend& frontend_;
    std::string selected_;
};

} // namespace tpc::schedule
