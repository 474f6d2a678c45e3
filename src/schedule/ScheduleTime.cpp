#include "schedule/ScheduleTime.h"

#include "schedule/ScheduleEntry.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace tpc::schedule {

namespace {

// The local calendar fields of a date; false when the date is out of the calendar's range.
bool scheduleLocalTime(const core::Date& date, std::tm& out) {
    const double unix = date.toUnix();
    if (!std::isfinite(unix) || unix < -1e15 || unix > 1e15)
        return false;
    const auto seconds = static_cast<std::time_t>(std::floor(unix));
    return localtime_r(&seconds, &out) != nullptr;
}

} // namespace

HourMinute hmFromDate(const core::Date& date) {
    std::tm tm{};
    if (!scheduleLocalTime(date, tm))
        return {};
    return {tm.tm_hour, tm.tm_min};
}

std::string dayFromDate(const core::Date& date) {
    std::tm tm{};
    if (!scheduleLocalTime(date, tm) || tm.tm_wday < 0 || tm.tm_wday > 6)
        return "nil";
    return kWeekdays[static_cast<std::size_t>(tm.tm_wday)];
}

core::Date dateFromWallTime(core::Clock::WallTime time) {
    const auto since = std::chrono::duration<double>(time.time_since_epoch());
    return core::Date::fromUnix(since.count());
}

core::Date pickerDate(int hour, int minute) {
    std::tm tm{};
    tm.tm_year = 2013 - 1900;
    tm.tm_mon = 0;
    tm.tm_mday = 1;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_isdst = -1;
    return core::Date::fromUnix(static_cast<double>(std::mktime(&tm)));
}

std::optional<HourMinute> parseHourMinute(const std::string& text) {
    const auto colon = text.find(':');
    if (colon == std::string::npos || colon == 0 || colon > 2 || text.size() != colon + 3)
        return std::nullopt;
    int parts[2] = {0, 0};
    const std::string fields[2] = {text.substr(0, colon), text.substr(colon + 1)};
    for (int i = 0; i < 2; ++i)
        for (char c : fields[i]) {
            if (c < '0' || c > '9')
                return std::nullopt;
            parts[i] = parts[i] * 10 + (c - '0');
        }
    if (parts[0] > 23 || parts[1] > 59)
        return std::nullopt;
    return HourMinute{parts[0], parts[1]};
}

std::string timeText(const core::Date& date) {
    const auto hm = hmFromDate(date);
    if (hm.hour < 0)
        return "--:--";
    char text[8];
    std::snprintf(text, sizeof text, "%02d:%02d", hm.hour, hm.minute);
    return text;
}

std::string localDateText(const core::Date& date) {
    std::tm tm{};
    if (!scheduleLocalTime(date, tm))
        return "";
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &tm);
    return text;
}

} // namespace tpc::schedule
