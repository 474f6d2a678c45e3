#include "schedule/ScheduleSettings.h"

#include "core/Clock.h"
#include "core/Frontend.h"
#include "core/GeneralPrefs.h"
#include "core/Record.h"
#include "presets/PresetModel.h"
#include "schedule/ScheduleEntry.h"
#include "schedule/ScheduleTime.h"

namespace tpc::schedule {

using core::DictRef;

namespace {

constexpr const char* kLastScheduleRunHeader = "Last Schedule Run:";

// The first-run schedule of the built-in preset: weekday and time of day.
struct FirstRunSlot {
    const char* day;
    int hour;
};
constexpr FirstRunSlot kFirstRunSlots[] = {{"Monday", 10}, {"Wednesday", 12}, {"Friday", 14}};

} // namespace

ScheduleSettings::ScheduleSettings(presets::PresetModel& model, Schedule& schedule,
                                   core::GeneralPrefs& general, core::Clock& clock,
                                   core::Frontend& frontend)
    : model_(model), schedule_(schedule), general_(general), clock_(clock), frontend_(frontend),
      selected_(presets::kOneClickClean) {}

DictRef ScheduleSettings::presetNamed(const std::string& preset) const {
    return model_.presetNamed(preset);
}

void ScheduleSettings::loadStoredEntries() {
    if (const auto presets = model_.presets())
        for (const auto& preset : presets->dicts())
            for (const char* day : kWeekdays)
                if (const auto entry = preset->getDict(day))
                    schedule_.addSchedule(entry);
    if (general_.scheduleEnabled())
        startSchedule();
    else
        stopSchedule();
}

// ---- The master switch ----

void ScheduleSettings::checkBoxEnableScheduleClicked(bool on) {
    general_.setScheduleEnabled(on);
    if (on)
        startSchedule();
    else
        stopSchedule();
}

void ScheduleSettings::startSchedule() {
    schedule_.setAbortSchedule(false);
}

void ScheduleSettings::stopSchedule() {
    schedule_.setAbortSchedule(true);
}

bool ScheduleSettings::scheduleEnabled() const {
    return general_.scheduleEnabled();
}

// ---- A preset's days ----

bool ScheduleSettings::checkBoxEnableScheduleForDayClicked(const std::string& preset,
                                                           const std::string& day, bool on,
                                                           const core::Date& time) {
    const DictRef record = presetNamed(preset);
    if (!record || !weekdayIndex(day))
        return false;
    if (on) {
        const DictRef entry = makeEntry(day, time, core::description(record));
        record->set(day, core::Value(entry));
        schedule_.removeSchedule(entry);
        schedule_.addSchedule(entry);
    } else {
        if (const DictRef stored = record->getDict(day))
            schedule_.removeSchedule(stored);
        else
            schedule_.removeSchedule(makeEntry(day, time, core::description(record)));
        record->remove(day);
    }
    model_.save();
    return true;
}

bool ScheduleSettings::datePickerClicked(const std::string& preset, const std::string& day,
                                         const core::Date& time) {
    const DictRef record = presetNamed(preset);
    if (!record || !weekdayIndex(day))
        return false;
    // Only a day that is on has an entry to follow the picker.
    if (!record->getDict(day))
        return true;
    const DictRef entry = makeEntry(day, time, core::description(record));
    record->set(day, core::Value(entry));
    schedule_.addSchedule(entry);
    model_.save();
    return true;
}

std::optional<core::Date> ScheduleSettings::setToNowClicked(const std::string& preset,
                                                            const std::string& day) {
    const core::Date now = dateFromWallTime(clock_.wallNow());
    if (!datePickerClicked(preset, day, now))
        return std::nullopt;
    return now;
}

DictRef ScheduleSettings::storedEntry(const std::string& preset, const std::string& day) const {
    const DictRef record = presetNamed(preset);
    return record && weekdayIndex(day) ? record->getDict(day) : nullptr;
}

// ---- Holds ----

void ScheduleSettings::markScheduleAsAlreadyRun(const DictRef& entry) {
    if (const DictRef stored = storedEntry(entryPresetName(entry), entryDay(entry))) {
        stored->set(keys::ScheduleAlreadyRun, core::Value(true));
        model_.save();
    }
}

void ScheduleSettings::removeScheduleAsAlreadyRun(const DictRef& entry) {
    if (const DictRef stored = storedEntry(entryPresetName(entry), entryDay(entry))) {
        stored->remove(keys::ScheduleAlreadyRun);
        model_.save();
    }
}

// ---- The last-run line ----

void ScheduleSettings::selectPreset(const std::string& preset) {
    selected_ = preset;
}

LastRunText ScheduleSettings::lastScheduledRunText(const std::string& preset) const {
    const DictRef record = presetNamed(preset);
    const core::Date* when = record ? record->get(keys::LastScheduledRun).date() : nullptr;
    if (!when)
        return {};
    return {kLastScheduleRunHeader, localDateText(*when)};
}

void ScheduleSettings::updateLastScheduledRunTextField() {
    const LastRunText line = lastScheduledRunText(selected_);
    if (showLastScheduledRun) {
        showLastScheduledRun(line);
        return;
    }
    frontend_.ui("updateLastScheduledRunTextField",
                 core::Value(core::DictObj::make(
                     {{"header", core::Value(line.header)}, {"text", core::Value(line.text)}})));
}

// ---- Renaming and first run ----

void ScheduleSettings::changeScheduleOldName(const std::string& oldName,
                                             const std::string& newName) {
    schedule_.changeScheduleOldName(oldName, newName);
    bool changed = false;
    if (const auto presets = model_.presets())
        for (const auto& preset : presets->dicts())
            for (const char* day : kWeekdays)
                if (const DictRef stored = preset->getDict(day);
                    stored && entryPresetName(stored) == oldName) {
                    stored->set(keys::PresetName, core::Value(newName));
                    changed = true;
                }
    if (selected_ == oldName)
        selected_ = newName;
    if (changed)
        model_.save();
}

void ScheduleSettings::setFirstRunSchedules() {
    // Without the built-in preset no day is set, but the schedule is still switched on.
    if (presetNamed(presets::kOneClickClean)) {
        selected_ = presets::kOneClickClean;
        for (const auto& slot : kFirstRunSlots)
            checkBoxEnableScheduleForDayClicked(presets::kOneClickClean, slot.day, true,
                                                pickerDate(slot.hour, 0));
    }
    checkBoxEnableScheduleClicked(true);
}

} // namespace tpc::schedule
