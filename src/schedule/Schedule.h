#pragma once
// The weekly schedule engine: a copy of every enabled entry in one list per weekday, a clock check
// every 10 seconds (the announcer thread), and a queue of fired entries whose preset cleans run
// one at a time (the queue runner). An entry fires when its hour and minute are the current ones
// and it is not on hold; it then stays on hold ("schedule already run") for 80 seconds, which
// outlasts its minute, so it fires once per matching minute.
//
// Entries, day lists and the time fields belong to the main thread. The announcer, the queue
// runner and the holds are threads of the Schedule: they reach the main thread only by posting
// (never waiting for it, so stopping never waits on a busy main thread), sleep only through the
// Clock in short steps so that stop() ends them promptly, and are joined by stop() and the
// destructor: none outlives the Schedule. The queue and the flags are shared with the runner
// under a lock or as atomics.

#include "core/Clock.h"
#include "core/MainThread.h"
#include "core/ThreadGroup.h"
#include "core/Value.h"

#include <array>
#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>

namespace tpc::schedule {

// What the schedule asks of its owner; every call comes on the main thread.
struct ScheduleHooks {
    // buttonPresetsCleanClicked with the schedule as sender: starts the clean of the preset the
    // queued entry names. The owner calls setCleanRunning(false) when that clean has ended.
    std::function<void(const core::DictRef& entry)> cleanPreset;
    // markScheduleAsAlreadyRun / removeScheduleAsAlreadyRun: the entry stored in its preset gets
    // or loses "schedule already run".
    std::function<void(const core::DictRef& entry)> markScheduleAsAlreadyRun;
    std::function<void(const core::DictRef& entry)> removeScheduleAsAlreadyRun;
};

class Schedule {
public:
    Schedule(core::Clock& clock, core::MainThread& mainThread);
    ~Schedule();
    Schedule(const Schedule&) = delete;
    Schedule& operator=(const Schedule&) = delete;

    // Set before start().
    ScheduleHooks hooks;

    // Main thread. Reads the time, runs runSchedule once and starts the announcer thread. Until
    // then the schedule only keeps its entries and checks nothing.
    void start();
    bool started() const { return started_.load(); }
    // Ends the checking: no further clock check. Entries already queued still run, one at a
    // time.
    void stopChecking();
    // Ends the checking and every thread of the schedule, and waits for them. Entries whose hold
    // had not ended keep "schedule already run" (the next start clears it within 80 seconds).
    void stop();
    // The schedule's threads (the announcer, the queue runner, the holds) that have not ended.
    std::size_t threadsRunning() const { return threadsRunning_.load(); }

    // Entries, main thread. addSchedule: in the entry's day list, replaces the entry of the same
    // "presetName" by a copy of `entry`. removeSchedule: removes the first entry of that day with
    // the same "presetName". changeScheduleOldName: every day's entries of `oldName` get
    // `newName`.
    void addSchedule(const core::DictRef& entry);
    void removeSchedule(const core::DictRef& entry);
    void changeScheduleOldName(const std::string& oldName, const std::string& newName);
    // arraySunday ... arraySaturday; null for a name that is not a weekday.
    core::ArrayRef arrayForDay(const std::string& day) const;

    // Main thread: queues the entries of today that match the current hour and minute and are not
    // on hold, puts them on hold, and starts the queue runner when it is not running. Nothing while
    // checking is stopped (abortSchedule) or the schedule is not started.
    void runSchedule();

    bool abortSchedule() const { return abortSchedule_.load(); }
    // Main thread. Setting NO runs runSchedule at once.
    void setAbortSchedule(bool on);
    bool presetRunning() const { return presetRunning_.load(); }
    bool cleanRunning() const { return cleanRunning_.load(); }
    void setCleanRunning(bool on) { cleanRunning_.store(on); }
    std::string cleaningPresetName() const;
    void setCleaningPresetName(const std::string& name);

    // The queue of fired entries.
    std::size_t arrayRunCount() const;
    // A copy of the first queued entry; null when none.
    core::DictRef arrayRunObject() const;
    void removeArrayRunObject();

    // The time the last check read (main thread): the weekday's name ("nil" before any check),
    // hour and minute (-1 before any check).
    const std::string& dayOfTheWeek() const { return dayOfTheWeek_; }
    int hour() const { return hour_; }
    int minute() const { return minute_; }

    static void removeKeyFromDict(const core::DictRef& entry);

private:
    void updateTime();
    void announcerThread();
    void runPresets();
    void startRunnerIfIdle();
    void startThread(std::function<void()> body);
    // removeScheduleAlreadyRun: 80 seconds later the entry's hold ends. One hold per entry at a
    // time.
    void removeScheduleAlreadyRun(const core::DictRef& entry);
    // Sleeps `d` through the clock in short steps; false as soon as the schedule is stopping.
    bool pause(core::Clock::Duration d);
    // Queues `task` for the main thread; it does nothing once the schedule is stopped or gone.
    void onMain(std::function<void()> task);

    core::Clock& clock_;
    core::MainThread& main_;

    // Main thread.
    std::array<core::ArrayRef, 7> days_;
    std::string dayOfTheWeek_ = "nil";
    int hour_ = -1;
    int minute_ = -1;
    std::set<const core::DictObj*> holds_;

    // Shared with the queue runner.
    mutable std::mutex queueMutex_;
    std::deque<core::DictRef> arrayRun_;
    std::string cleaningPresetName_;

    std::atomic<bool> abortSchedule_{false};
    std::atomic<bool> presetRunning_{false};
    std::atomic<bool> cleanRunning_{false};
    std::atomic<bool> started_{false};
    std::atomic<bool> checking_{false};
    std::atomic<bool> stopping_{false};
    // Cleared when the schedule goes; tasks still queued for the main thread check it.
    std::shared_ptr<std::atomic<bool>> alive_ = std::make_shared<std::atomic<bool>>(true);
    std::atomic<std::size_t> threadsRunning_{0};
    core::ThreadGroup threads_;
};

} // namespace tpc::schedule
