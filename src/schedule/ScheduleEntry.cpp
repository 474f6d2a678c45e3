#include "schedule/ScheduleEntry.h"

namespace tpc::schedule {

std::optional<std::size_t> weekdayIndex(const std::string& day) {
    for (std::size_t i = 0; i < kWeekdays.size(); ++i)
        if (day == kWeekdays[i])
            return i;
    return std::nullopt;
}

core::DictRef makeEntry(const std::string& day, const core::Date& time, const std::string& preset) {
    return core::DictObj::make({{keys::DayOfTheWeek, core::Value(day)},
                                {keys::Date, core::Value(time)},
                                {keys::PresetName, core::Value(preset)}});
}

std::optional<core::Date> entryDate(const core::DictRef& entry) {
    if (!entry)
        return std::nullopt;
    if (const core::Date* date = entry->get(keys::Date).date())
        return *date;
    return std::nullopt;
}

} // namespace tpc::schedule
