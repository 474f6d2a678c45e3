#pragma once
// A weekly schedule entry: one weekday's time at which a preset is cleaned. Stored inside its
// preset record under the weekday's name, and copied into the Schedule's list of that day.

#include "core/Value.h"

#include <array>
#include <optional>
#include <string>

namespace tpc::schedule {

namespace keys {
inline constexpr const char* DayOfTheWeek = "Day Of The Week";
// The day's time picker value; only its hour and minute are used.
inline constexpr const char* Date = "Date";
// The preset's "Description".
inline constexpr const char* PresetName = "presetName";
// Present (YES) from the moment the entry fires until 80 seconds later.
inline constexpr const char* ScheduleAlreadyRun = "schedule already run";
// In the preset record: when a scheduled clean of it last started.
inline constexpr const char* LastScheduledRun = "last scheduled run";
} // namespace keys

// The weekdays in the order the calendar numbers them (1 = Sunday).
inline constexpr std::array<const char*, 7> kWeekdays = {
    "Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

// The index of a weekday name in kWeekdays; nullopt for anything else.
std::optional<std::size_t> weekdayIndex(const std::string& day);

// { "Day Of The Week": day, "Date": time, "presetName": preset }.
core::DictRef makeEntry(const std::string& day, const core::Date& time, const std::string& preset);

inline std::string entryDay(const core::DictRef& entry) {
    return entry ? entry->getString(keys::DayOfTheWeek) : std::string();
}
inline std::string entryPresetName(const core::DictRef& entry) {
    return entry ? entry->getString(keys::PresetName) : std::string();
}
// The entry's "Date"; nullopt when it holds none.
std::optional<core::Date> entryDate(const core::DictRef& entry);

} // namespace tpc::schedule
