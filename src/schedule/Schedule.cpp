#include "schedule/Schedule.h"

#include "schedule/ScheduleEntry.h"
#include "schedule/ScheduleTime.h"

#include <algorithm>
#include <utility>

namespace tpc::schedule {

using core::Clock;
using core::DictRef;

namespace {

// The announcer's clock check.
constexpr Clock::Duration kScheduleCheckInterval = Clock::seconds(10);
// How long a fired entry stays on hold: longer than the minute it fired in.
constexpr Clock::Duration kScheduleHoldTime = Clock::seconds(80);
// The queue runner's poll while a scheduled clean runs.
constexpr Clock::Duration kScheduleCleanPoll = Clock::seconds(1);
// The longest single sleep of a schedule thread, so that stopping ends it promptly.
constexpr Clock::Duration kScheduleStopStep = Clock::seconds(0.5);

DictRef copyOfEntry(const DictRef& entry) {
    return core::Value(entry).deepCopy().dict();
}

} // namespace

Schedule::Schedule(Clock& clock, core::MainThread& mainThread) : clock_(clock), main_(mainThread) {
    for (auto& day : days_)
        day = core::ArrayObj::make();
}

Schedule::~Schedule() {
    stop();
    alive_->store(false);
}

// ---- Threads ----

void Schedule::start() {
    if (started_.load() || stopping_.load())
        return;
    started_.store(true);
    checking_.store(true);
    updateTime();
    runSchedule();
    startThread([this] { announcerThread(); });
}

void Schedule::stopChecking() {
    checking_.store(false);
}

void Schedule::stop() {
    checking_.store(false);
    stopping_.store(true);
    threads_.joinAll();
}

void Schedule::startThread(std::function<void()> body) {
    // Counted from before the thread exists until its body has returned.
    struct Count {
        std::atomic<std::size_t>& n;
        ~Count() { n.fetch_sub(1); }
    };
    threadsRunning_.fetch_add(1);
    try {
        threads_.start([this, body = std::move(body)] {
            Count counted{threadsRunning_};
            body();
        });
    } catch (...) {
        threadsRunning_.fetch_sub(1);
        throw;
    }
}

bool Schedule::pause(Clock::Duration d) {
    const auto deadline = clock_.now() + d;
    for (;;) {
        if (stopping_.load())
            return false;
        const auto now = clock_.now();
        if (now >= deadline)
            return true;
        clock_.sleepFor(std::min<Clock::Duration>(kScheduleStopStep, deadline - now));
    }
}

void Schedule::onMain(std::function<void()> task) {
    // A stopped schedule starts nothing more, even from tasks queued before it stopped.
    main_.post([this, alive = alive_, task = std::move(task)] {
        if (alive->load() && !stopping_.load())
            task();
    });
}

void Schedule::updateTime() {
    const auto now = dateFromWallTime(clock_.wallNow());
    dayOfTheWeek_ = dayFromDate(now);
    const auto hm = hmFromDate(now);
    hour_ = hm.hour;
    minute_ = hm.minute;
}

void Schedule::announcerThread() {
    // The check is queued, not waited for: the main thread may be busy for a long time (an alert),
    // and a stopping schedule never waits on it.
    while (pause(kScheduleCheckInterval)) {
        if (!checking_.load())
            return;
        onMain([this] {
            updateTime();
            runSchedule();
        });
    }
}

void Schedule::runSchedule() {
    if (!started_.load() || !checking_.load() || abortSchedule_.load())
        return;
    if (auto today = arrayForDay(dayOfTheWeek_)) {
        for (const auto& entry : today->dicts()) {
            if (entry->has(keys::ScheduleAlreadyRun)) {
                removeScheduleAlreadyRun(entry);
                continue;
            }
            const auto date = entryDate(entry);
            if (!date || hmFromDate(*date) != HourMinute{hour_, minute_})
                continue;
            {
                // The runner gets its own copy: the day list's entry stays on the main thread.
                std::lock_guard lock(queueMutex_);
                arrayRun_.push_back(copyOfEntry(entry));
            }
            entry->set(keys::ScheduleAlreadyRun, core::Value(true));
            if (hooks.markScheduleAsAlreadyRun)
                hooks.markScheduleAsAlreadyRun(entry);
            removeScheduleAlreadyRun(entry);
        }
    }
    startRunnerIfIdle();
}

void Schedule::startRunnerIfIdle() {
    {
        std::lock_guard lock(queueMutex_);
        if (presetRunning_.load() || arrayRun_.empty() || stopping_.load())
            return;
        presetRunning_.store(true);
    }
    startThread([this] { runPresets(); });
}

void Schedule::runPresets() {
    for (;;) {
        DictRef entry;
        {
            // Deciding to end and clearing presetRunning happen under the queue's lock, so an
            // entry queued meanwhile either is taken here or starts a new runner.
            std::lock_guard lock(queueMutex_);
            if (stopping_.load() || arrayRun_.empty()) {
                presetRunning_.store(false);
                return;
            }
            entry = arrayRun_.front();
            arrayRun_.pop_front();
            cleaningPresetName_ = entryPresetName(entry);
            cleanRunning_.store(true);
        }
        onMain([this, entry] {
            if (hooks.cleanPreset)
                hooks.cleanPreset(entry);
            else
                cleanRunning_.store(false);
        });
        // The preset clean clears the flag when it ends.
        while (cleanRunning_.load() && pause(kScheduleCleanPoll)) {
        }
    }
}

void Schedule::removeScheduleAlreadyRun(const DictRef& entry) {
    if (stopping_.load() || !holds_.insert(entry.get()).second)
        return;
    startThread([this, entry] {
        if (!pause(kScheduleHoldTime))
            return;
        onMain([this, entry] {
            holds_.erase(entry.get());
            removeKeyFromDict(entry);
            if (hooks.removeScheduleAsAlreadyRun)
                hooks.removeScheduleAsAlreadyRun(entry);
        });
    });
}

void Schedule::removeKeyFromDict(const DictRef& entry) {
    if (entry)
        entry->remove(keys::ScheduleAlreadyRun);
}

// ---- Entries ----

core::ArrayRef Schedule::arrayForDay(const std::string& day) const {
    const auto index = weekdayIndex(day);
    return index ? days_[*index] : nullptr;
}

void Schedule::addSchedule(const DictRef& entry) {
    auto day = arrayForDay(entryDay(entry));
    if (!day)
        return;
    removeSchedule(entry);
    day->append(core::Value(copyOfEntry(entry)));
}

void Schedule::removeSchedule(const DictRef& entry) {
    auto day = arrayForDay(entryDay(entry));
    if (!day)
        return;
    const auto name = entryPresetName(entry);
    auto& items = day->items;
    const auto found = std::find_if(items.begin(), items.end(), [&name](const core::Value& v) {
        const auto dict = v.dict();
        return dict && entryPresetName(dict) == name;
    });
    if (found != items.end())
        items.erase(found);
}

void Schedule::changeScheduleOldName(const std::string& oldName, const std::string& newName) {
    for (const auto& day : days_)
        for (const auto& entry : day->dicts())
            if (entryPresetName(entry) == oldName)
                entry->set(keys::PresetName, core::Value(newName));
}

// ---- Flags and queue ----

void Schedule::setAbortSchedule(bool on) {
    abortSchedule_.store(on);
    if (!on)
        runSchedule();
}

std::string Schedule::cleaningPresetName() const {
    std::lock_guard lock(queueMutex_);
    return cleaningPresetName_;
}

void Schedule::setCleaningPresetName(const std::string& name) {
    std::lock_guard lock(queueMutex_);
    cleaningPresetName_ = name;
}

std::size_t Schedule::arrayRunCount() const {
    std::lock_guard lock(queueMutex_);
    return arrayRun_.size();
}

DictRef Schedule::arrayRunObject() const {
    std::lock_guard lock(queueMutex_);
    return arrayRun_.empty() ? nullptr : copyOfEntry(arrayRun_.front());
}

void Schedule::removeArrayRunObject() {
    std::lock_guard lock(queueMutex_);
    if (!arrayRun_.empty())
        arrayRun_.pop_front();
}

} // namespace tpc::schedule
