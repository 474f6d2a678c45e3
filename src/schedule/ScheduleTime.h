#pragma once
// Calendar reading for the schedule: the weekday and the hour and minute of a date in the local
// time zone, and the dates the day pickers hold.

#include "core/Clock.h"
#include "core/Value.h"

#include <optional>
#include <string>

namespace tpc::schedule {

struct HourMinute {
    int hour = -1;
    int minute = -1;
    bool operator==(const HourMinute&) const = default;
};

// hmFromDate: the hour and minute of `date` in local time (seconds and the day are ignored);
// {-1, -1} when the calendar cannot place it.
HourMinute hmFromDate(const core::Date& date);
// dayFromDate: the weekday's name of `date` in local time, "Sunday" ... "Saturday"; "nil" when
// the calendar gives none.
std::string dayFromDate(const core::Date& date);

// A clock's calendar time as a date.
core::Date dateFromWallTime(core::Clock::WallTime time);

// What a day picker holds for a time of day: 1 January 2013 at `hour`:`minute` local time
// ("01/01/13 10:00 AM"); only the time matters.
core::Date pickerDate(int hour, int minute);

// "HH:MM" (two digits each); nullopt when the text is not a time of day.
std::optional<HourMinute> parseHourMinute(const std::string& text);
// "HH:MM" of `date` in local time.
std::string timeText(const core::Date& date);
// The date as local calendar text, "YYYY-MM-DD HH:MM:SS".
std::string localDateText(const core::Date& date);

} // namespace tpc::schedule
