// The weekly schedule engine on a manual fake clock, with a fake clean that ends when the test
// says so: entries fire at their hour and minute of their weekday, once per matching minute;
// queued cleans run one at a time in the day list's order; the master switch checks at once.

#include "ScheduleTestSupport.h"

#include "schedule/ScheduleEntry.h"
#include "schedule/ScheduleTime.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tpc::test::schedule {
namespace {

using namespace tpc::schedule;
using Names = std::vector<std::string>;

class ScheduleEngine : public ::testing::Test {
protected:
    ScheduleEngine() {
        schedule.hooks.cleanPreset = [this](const core::DictRef& entry) {
            cleaned.push_back(entryPresetName(entry));
        };
        schedule.hooks.markScheduleAsAlreadyRun = [this](const core::DictRef& entry) {
            held.push_back(entryPresetName(entry));
        };
        schedule.hooks.removeScheduleAsAlreadyRun = [this](const core::DictRef& entry) {
            released.push_back(entryPresetName(entry));
        };
    }
    void TearDown() override {
        whileTimeMoves(clock, [this] { schedule.stop(); });
    }

    // `preset` on `day` at hour:minute:second of an arbitrary date.
    void add(const std::string& preset, const std::string& day, int hour, int minute,
             int second = 0) {
        const auto when = dateFromWallTime(localTime(2019, 6, 15, hour, minute, second));
        schedule.addSchedule(makeEntry(day, when, preset));
    }
    void start() {
        schedule.start();
        settle(clock, main, schedule);
    }
    void pass(double seconds) {
        clock.advance(Clock::seconds(seconds));
        settle(clock, main, schedule);
    }
    // The clean the schedule started has ended.
    void endClean() {
        schedule.setCleanRunning(false);
        pass(1);
    }
    bool onHold(const std::string& day, std::size_t i) {
        return schedule.arrayForDay(day)->at(i).dict()->has(keys::ScheduleAlreadyRun);
    }

    // Monday 1 January 2024, 09:59:55 local time.
    FakeClock clock{FakeClock::Mode::Manual, localTime(2024, 1, 1, 9, 59, 55)};
    core::QueueMainThread main;
    Schedule schedule{clock, main};
    Names cleaned, held, released;
};

TEST_F(ScheduleEngine, PresetsDueTheSameMinuteRunOneAtATimeInTheDaysOrder) {
    add("Zeta", "Monday", 10, 0);
    add("Alpha", "Monday", 10, 0);
    start();
    EXPECT_TRUE(cleaned.empty());

    pass(10); // 10:00:05
    EXPECT_EQ(cleaned, Names{"Zeta"});
    EXPECT_EQ(held, (Names{"Zeta", "Alpha"}));
    EXPECT_EQ(schedule.arrayRunCount(), 1u);
    EXPECT_EQ(schedule.cleaningPresetName(), "Zeta");
    EXPECT_TRUE(schedule.cleanRunning());

    // While the first clean runs, the second waits, however long it takes.
    pass(30);
    pass(30);
    EXPECT_EQ(cleaned, Names{"Zeta"});

    endClean();
    EXPECT_EQ(cleaned, (Names{"Zeta", "Alpha"}));
    EXPECT_EQ(schedule.arrayRunCount(), 0u);
    endClean();
    EXPECT_FALSE(schedule.presetRunning());
}

TEST_F(ScheduleEngine, AnEntryFiringWhileACleanRunsWaitsInTheQueue) {
    add("First", "Monday", 10, 0);
    add("Second", "Monday", 10, 1);
    start();
    pass(10); // 10:00:05: First starts and keeps running
    for (int tick = 0; tick < 6; ++tick)
        pass(10); // to 10:01:05
    EXPECT_EQ(held, (Names{"First", "Second"}));
    EXPECT_EQ(cleaned, Names{"First"});
    EXPECT_EQ(schedule.arrayRunCount(), 1u);

    endClean();
    EXPECT_EQ(cleaned, (Names{"First", "Second"}));
}

TEST_F(ScheduleEngine, AnEntryFiresOncePerMatchingMinuteAndIsHeldForEightySeconds) {
    add("Daily", "Monday", 10, 0);
    start();
    pass(10); // 10:00:05: fires
    endClean();
    for (int tick = 0; tick < 6; ++tick)
        pass(10); // every check of the minute, and the next: 10:01:06
    EXPECT_EQ(cleaned, Names{"Daily"});
    EXPECT_EQ(held, Names{"Daily"});
    EXPECT_TRUE(released.empty());
    EXPECT_TRUE(onHold("Monday", 0));

    pass(20); // 10:01:26: 80 s after it fired
    EXPECT_EQ(released, Names{"Daily"});
    EXPECT_FALSE(onHold("Monday", 0));
    EXPECT_EQ(cleaned, Names{"Daily"});
}

TEST_F(ScheduleEngine, SwitchingTheScheduleOnChecksAtOnce) {
    add("Daily", "Monday", 10, 0);
    schedule.setAbortSchedule(true);
    start();
    pass(10);
    pass(10); // 10:00:15, checked while switched off
    EXPECT_TRUE(held.empty());

    schedule.setAbortSchedule(false);
    EXPECT_EQ(held, Names{"Daily"}); // before any time passes
    settle(clock, main, schedule);
    EXPECT_EQ(cleaned, Names{"Daily"});

    // Off and on again within the minute: the entry is on hold.
    schedule.setAbortSchedule(true);
    schedule.setAbortSchedule(false);
    EXPECT_EQ(held, Names{"Daily"});
}

TEST_F(ScheduleEngine, MatchingComparesTheWeekdayHourAndMinuteOnly) {
    add("Late seconds", "Monday", 10, 0, 59);
    add("Next minute", "Monday", 10, 1);
    add("Tuesday", "Tuesday", 10, 0);
    start();
    pass(10);
    EXPECT_EQ(held, Names{"Late seconds"});
    EXPECT_EQ(cleaned, Names{"Late seconds"});

    const auto date = dateFromWallTime(localTime(2013, 1, 1, 14, 7, 42));
    EXPECT_EQ(hmFromDate(date), (HourMinute{14, 7}));
    EXPECT_EQ(dayFromDate(date), "Tuesday");
    EXPECT_EQ(dayFromDate(core::Date{1e300}), "nil");
    EXPECT_EQ(hmFromDate(pickerDate(0, 59)), (HourMinute{0, 59}));
}

TEST(ScheduleEntries, OneEntryPerPresetAndDayCopiedAndRenamed) {
    FakeClock clock;
    core::QueueMainThread main;
    Schedule schedule(clock, main);
    auto first = makeEntry("Friday", pickerDate(8, 0), "A");
    schedule.addSchedule(first);
    schedule.addSchedule(makeEntry("Friday", pickerDate(9, 0), "B"));
    schedule.addSchedule(makeEntry("Friday", pickerDate(9, 30), "A"));  // replaces A's
    schedule.addSchedule(makeEntry("Someday", pickerDate(9, 30), "A")); // no such day
    first->set(keys::PresetName, core::Value("changed outside"));       // the schedule kept a copy

    const auto friday = schedule.arrayForDay("Friday");
    ASSERT_EQ(friday->size(), 2u);
    EXPECT_EQ(entryPresetName(friday->at(0).dict()), "B");
    EXPECT_EQ(hmFromDate(*entryDate(friday->at(1).dict())), (HourMinute{9, 30}));
    EXPECT_EQ(schedule.arrayForDay("Someday"), nullptr);

    schedule.changeScheduleOldName("A", "A2");
    schedule.removeSchedule(makeEntry("Friday", pickerDate(0, 0), "B"));
    ASSERT_EQ(friday->size(), 1u);
    EXPECT_EQ(entryPresetName(friday->at(0).dict()), "A2");
    // Not started: checking does nothing.
    schedule.setAbortSchedule(false);
    EXPECT_EQ(schedule.arrayRunCount(), 0u);
}

} // namespace
} // namespace tpc::test::schedule
