// `tpc schedule ...`: the weekly schedule as the schedule page edits it (a preset's weekday check
// boxes and time pickers, the master switch), and `schedule run`, the scheduler the desktop
// application keeps in its status item, run in the foreground.

#include "cli/Commands.h"

#include "cli/Json.h"
#include "core/Clock.h"
#include "core/Record.h"
#include "core/TaskFlags.h"
#include "core/Utf8.h"
#include "presets/PresetsModule.h"
#include "schedule/ScheduleEntry.h"
#include "schedule/ScheduleModule.h"
#include "schedule/ScheduleTime.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <csignal>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

namespace tpc::cli {

namespace {

using nlohmann::json;
using schedule::ScheduleModule;

struct ScheduleArgs {
    std::string preset;
    std::string day;
    std::string time;
    std::optional<double> forSeconds;
};

ScheduleModule& scheduleModule(Session& session) {
    return session.module<ScheduleModule>();
}

presets::PresetModel& schedulePresets(Session& session) {
    return session.module<presets::PresetsModule>().model();
}

// The preset by "Description", as the schedule's preset table lists them.
std::string schedulePresetNamed(Session& session, const std::string& name) {
    auto& model = schedulePresets(session);
    if (model.presetNamed(name))
        return name;
    std::string known;
    if (const auto rows = model.presets())
        for (const auto& preset : rows->dicts())
            known += (known.empty() ? "\"" : ", \"") + core::description(preset) + "\"";
    throw UsageError("no preset \"" + core::displayText(name) +
                     "\" (presets: " + (known.empty() ? "none" : known) + ")");
}

// "Sunday" ... "Saturday", in any letter case.
std::string scheduleDayNamed(const std::string& given) {
    for (const char* day : schedule::kWeekdays) {
        const std::string name = day;
        if (name.size() == given.size() &&
            std::equal(name.begin(), name.end(), given.begin(), [](char a, char b) {
                return std::tolower(static_cast<unsigned char>(a)) ==
                       std::tolower(static_cast<unsigned char>(b));
            }))
            return name;
    }
    throw UsageError("unknown day \"" + core::displayText(given) + "\" (Sunday ... Saturday)");
}

json scheduleTimeJson(const core::DictRef& entry) {
    const auto date = schedule::entryDate(entry);
    return date ? json(schedule::timeText(*date)) : json(nullptr);
}

int printSchedule(Session& session) {
    auto& settings = scheduleModule(session).settings();
    json entries = json::array();
    std::ostringstream text;
    text << "Weekly schedule: " << (settings.scheduleEnabled() ? "enabled" : "disabled") << "\n";
    if (const auto rows = schedulePresets(session).presets())
        for (const auto& preset : rows->dicts()) {
            const core::Date* lastRun = preset->get(schedule::keys::LastScheduledRun).date();
            for (const char* day : schedule::kWeekdays) {
                const auto entry = preset->getDict(day);
                if (!entry)
                    continue;
                std::string name = schedule::entryPresetName(entry);
                if (name.empty())
                    name = core::description(preset);
                const json time = scheduleTimeJson(entry);
                entries.push_back(
                    {{"presetName", name},
                     {"Day Of The Week", day},
                     {"time", time},
                     {"last scheduled run", lastRun ? json(isoDate(*lastRun)) : json(nullptr)}});
                text << "  " << day << std::string(10 - std::string(day).size(), ' ')
                     << (time.is_string() ? time.get<std::string>() : "--:--") << "  "
                     << core::displayText(name);
                if (lastRun)
                    text << "  (last scheduled run " << schedule::localDateText(*lastRun) << ")";
                text << "\n";
            }
        }
    if (entries.empty())
        text << "  (no day is scheduled)\n";
    session.print({{"enabled", settings.scheduleEnabled()}, {"entries", entries}}, text.str());
    return 0;
}

int scheduleSet(Session& session, const ScheduleArgs& args) {
    const std::string preset = schedulePresetNamed(session, args.preset);
    const std::string day = scheduleDayNamed(args.day);
    const auto time = schedule::parseHourMinute(args.time);
    if (!time)
        throw UsageError("a time is HH:MM from 00:00 to 23:59, not \"" +
                         core::displayText(args.time) + "\"");
    scheduleModule(session).settings().checkBoxEnableScheduleForDayClicked(
        preset, day, true, schedule::pickerDate(time->hour, time->minute));
    return printSchedule(session);
}

int scheduleUnset(Session& session, const ScheduleArgs& args) {
    const std::string preset = schedulePresetNamed(session, args.preset);
    const std::string day = scheduleDayNamed(args.day);
    scheduleModule(session).settings().checkBoxEnableScheduleForDayClicked(preset, day, false,
                                                                           core::Date{});
    return printSchedule(session);
}

int scheduleSwitch(Session& session, bool on) {
    scheduleModule(session).settings().checkBoxEnableScheduleClicked(on);
    return printSchedule(session);
}

// ---- schedule run ----

std::atomic<bool> scheduleRunStopRequested{false};

extern "C" void onScheduleRunSignal(int) {
    scheduleRunStopRequested.store(true);
}

// Ctrl-C (or a termination request) ends the run in order instead of in the middle of a delete.
class ScheduleRunSignalGuard {
public:
    ScheduleRunSignalGuard() {
        scheduleRunStopRequested.store(false);
        struct sigaction action {};
        action.sa_handler = onScheduleRunSignal;
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &previousInt_);
        sigaction(SIGTERM, &action, &previousTerm_);
    }
    ~ScheduleRunSignalGuard() {
        sigaction(SIGINT, &previousInt_, nullptr);
        sigaction(SIGTERM, &previousTerm_, nullptr);
    }
    ScheduleRunSignalGuard(const ScheduleRunSignalGuard&) = delete;
    ScheduleRunSignalGuard& operator=(const ScheduleRunSignalGuard&) = delete;

private:
    struct sigaction previousInt_ {};
    struct sigaction previousTerm_ {};
};

int scheduleRun(Session& session, const ScheduleArgs& args) {
    auto& module = scheduleModule(session);
    auto& schedule = module.schedule();
    auto& app = session.app();
    auto& clock = app.context().clock;
    auto& flags = app.flags();

    json ran = json::array();
    std::ostringstream text;
    module.onScheduledClean = [&ran, &text](const core::DictRef& entry) {
        const json time = scheduleTimeJson(entry);
        ran.push_back({{"presetName", schedule::entryPresetName(entry)},
                       {"Day Of The Week", schedule::entryDay(entry)},
                       {"time", time}});
        text << "Cleaned " << core::displayText(schedule::entryPresetName(entry)) << " ("
             << schedule::entryDay(entry) << " "
             << (time.is_string() ? time.get<std::string>() : "--:--") << ")\n";
    };
    if (!module.settings().scheduleEnabled())
        std::cerr << "tpc: the weekly schedule is disabled: nothing will run (tpc schedule "
                     "enable switches it on)\n";

    ScheduleRunSignalGuard guard;
    const auto began = clock.now();
    std::optional<core::Clock::Duration> limit;
    if (args.forSeconds)
        limit = core::Clock::seconds(*args.forSeconds);
    const auto presetCleanRunning = [&flags] {
        return flags.running(core::Category::Presets, core::TaskKind::Clean);
    };

    schedule.start();
    bool checking = true;
    bool abortPressed = false;
    session.mainThread().runUntil([&] {
        const bool stopRequested = scheduleRunStopRequested.load();
        if (checking && (stopRequested || (limit && clock.now() - began >= *limit))) {
            checking = false;
            schedule.stopChecking();
        }
        if (checking)
            return false;
        if (stopRequested) {
            // Interrupted: what waits in the queue is dropped, and the clean running now is
            // aborted as its abort button would.
            while (schedule.arrayRunCount() > 0)
                schedule.removeArrayRunObject();
            if (!abortPressed && presetCleanRunning())
                if (auto abort = session.frontend().abortAction()) {
                    abortPressed = true;
                    abort();
                }
        }
        // Entries that fired before the time was up run to their end.
        return !schedule.presetRunning() && !schedule.cleanRunning() && !presetCleanRunning();
    });
    schedule.stop();
    module.onScheduledClean = nullptr;
    session.mainThread().runUntil([&app] { return app.tasks().idle(); });
    session.mainThread().drain();

    if (ran.empty())
        text << "No scheduled preset was due.\n";
    session.print({{"ran", ran}}, text.str());
    return 0;
}

} // namespace

void addScheduleCommands(CLI::App& app, Handler& chosen) {
    auto args = std::make_shared<ScheduleArgs>();
    auto* group = app.add_subcommand("schedule", "The weekly schedule of preset cleans");
    group->require_subcommand(1);

    group->add_subcommand("list", "Show the scheduled days and times")->callback([&chosen] {
        chosen = printSchedule;
    });

    auto* set = group->add_subcommand("set", "Clean PRESET every DAY at HH:MM");
    set->add_option("PRESET", args->preset, "the preset's name")->required();
    set->add_option("DAY", args->day, "Sunday ... Saturday")->required();
    set->add_option("TIME", args->time, "HH:MM")->required();
    set->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return scheduleSet(s, *args);
        };
    });

    auto* unset = group->add_subcommand("unset", "Stop cleaning PRESET on DAY");
    unset->add_option("PRESET", args->preset, "the preset's name")->required();
    unset->add_option("DAY", args->day, "Sunday ... Saturday")->required();
    unset->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return scheduleUnset(s, *args);
        };
    });

    group->add_subcommand("enable", "Switch the weekly schedule on")->callback([&chosen] {
        chosen = [](Session& s) {
            return scheduleSwitch(s, true);
        };
    });
    group->add_subcommand("disable", "Switch the weekly schedule off")->callback([&chosen] {
        chosen = [](Session& s) {
            return scheduleSwitch(s, false);
        };
    });

    auto* run = group->add_subcommand(
        "run", "Run the scheduler in the foreground: check every 10 s and clean due presets");
    run->add_option("--for", args->forSeconds,
                    "stop checking after SECONDS, then end once a running clean has ended")
        ->check(CLI::NonNegativeNumber);
    run->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return scheduleRun(s, *args);
        };
    });
}

} // namespace tpc::cli
