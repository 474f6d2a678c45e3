// `tpc schedule ...` on a fake home: the first-run days, a preset's days set and unset, the master
// switch, bad input, and `schedule run` cleaning a preset due this minute on the real clock.

#include "TpcFixture.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <ctime>
#include <fstream>
#include <thread>

namespace tpc::test {
namespace {

using nlohmann::json;

// The entries as "Day HH:MM preset" lines.
std::vector<std::string> scheduled(const json& schedule) {
    std::vector<std::string> out;
    for (const auto& e : schedule["entries"])
        out.push_back(e["Day Of The Week"].get<std::string>() + " " + e["time"].get<std::string>() +
                      " " + e["presetName"].get<std::string>());
    return out;
}

std::vector<json> traceEvents(const fs::path& file, const std::string& kind) {
    std::vector<json> out;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);)
        if (!line.empty() && json::parse(line)["event"] == kind)
            out.push_back(json::parse(line));
    return out;
}

class TpcSchedule : public Tpc {
protected:
    void SetUp() override {
        Tpc::SetUp();
        fs::create_directories(root);
    }
    json schedule(std::vector<std::string> args) {
        args.insert(args.begin(), "schedule");
        args.push_back("--json");
        return jsonOf(run(args));
    }
};

TEST_F(TpcSchedule, DaysAreSetPerPresetAndTheSwitchIsStored) {
    auto first = schedule({"list"});
    EXPECT_EQ(first["enabled"], true);
    EXPECT_EQ(scheduled(first), (std::vector<std::string>{"Monday 10:00 One Click Clean",
                                                          "Wednesday 12:00 One Click Clean",
                                                          "Friday 14:00 One Click Clean"}));
    EXPECT_EQ(first["entries"][0]["last scheduled run"], nullptr);

    ASSERT_EQ(run({"presets", "add"}).code, 0);
    schedule({"set", "Preset #1", "sunday", "7:05"});
    schedule({"set", "One Click Clean", "Monday", "23:59"});
    schedule({"unset", "One Click Clean", "Wednesday"});
    auto changed = schedule({"disable"});
    EXPECT_EQ(changed["enabled"], false);
    EXPECT_EQ(scheduled(changed),
              (std::vector<std::string>{"Monday 23:59 One Click Clean",
                                        "Friday 14:00 One Click Clean", "Sunday 07:05 Preset #1"}));
    EXPECT_EQ(schedule({"enable"})["enabled"], true);

    // Removing the preset removes its days.
    ASSERT_EQ(run({"presets", "remove", "Preset #1"}).code, 0);
    EXPECT_EQ(scheduled(schedule({"list"})).size(), 2u);

    for (const auto& bad : std::vector<std::vector<std::string>>{
             {"schedule", "set", "Nobody", "Monday", "10:00"},
             {"schedule", "set", "One Click Clean", "Someday", "10:00"},
             {"schedule", "set", "One Click Clean", "Monday", "24:00"},
             {"schedule", "set", "One Click Clean", "Monday", "10:5"},
             {"schedule", "unset", "One Click Clean", "Mon"},
             {"schedule", "run", "--for", "-1"}}) {
        auto r = run(bad);
        EXPECT_EQ(r.code, 2) << bad[2] << " " << bad[3];
        EXPECT_FALSE(r.err.empty());
    }

    // Switched off, the scheduler runs nothing.
    schedule({"disable"});
    auto idle = run({"schedule", "run", "--for", "0", "--json"});
    EXPECT_EQ(jsonOf(idle), json({{"ran", json::array()}}));
    EXPECT_NE(idle.err.find("disabled"), std::string::npos);
}

TEST_F(TpcSchedule, RunCleansAPresetDueThisMinuteOnceWithoutPromptingAndKeepsSleepAway) {
    const auto victim = dir / "victim.txt";
    writeFile(victim, "secret");
    for (const auto& setup : std::vector<std::vector<std::string>>{
             {"eraser", "add", victim.string()},
             {"presets", "add"},
             {"presets", "add-item", "Preset #1", "eraser", victim.string()},
             {"settings", "set", "Prevent Normal Sleep", "1"},
             // The built-in preset's days are taken off so that only the test's preset is due.
             {"schedule", "unset", "One Click Clean", "Monday"},
             {"schedule", "unset", "One Click Clean", "Wednesday"},
             {"schedule", "unset", "One Click Clean", "Friday"}})
        ASSERT_EQ(run(setup).code, 0) << setup[0] << " " << setup[1];

    // `tpc` reads the real clock: the entry is set for the current minute, once that minute has
    // time enough left for the program to start.
    auto now = std::chrono::system_clock::now();
    std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&seconds, &local);
    if (local.tm_sec >= 45) {
        std::this_thread::sleep_for(std::chrono::seconds(61 - local.tm_sec));
        seconds = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
        localtime_r(&seconds, &local);
    }
    char day[16], time[8];
    std::strftime(day, sizeof day, "%A", &local);
    std::strftime(time, sizeof time, "%H:%M", &local);
    ASSERT_EQ(run({"schedule", "set", "Preset #1", day, time}).code, 0);

    const auto trace = dir / "trace.jsonl";
    auto ran = jsonOf(run({"--trace", trace.string(), "schedule", "run", "--for", "25", "--json"}));
    EXPECT_EQ(
        ran["ran"],
        json::array({{{"presetName", "Preset #1"}, {"Day Of The Week", day}, {"time", time}}}));
    EXPECT_FALSE(fs::exists(victim));
    EXPECT_TRUE(traceEvents(trace, "alert").empty());
    EXPECT_EQ(traceEvents(trace, "power"),
              (std::vector<json>{
                  {{"event", "power"}, {"action", "register"}, {"normal", 1}, {"forced", 0}},
                  {{"event", "power"}, {"action", "deregister"}}}));
    const auto list = schedule({"list"});
    ASSERT_EQ(list["entries"].size(), 1u);
    EXPECT_TRUE(list["entries"][0]["last scheduled run"].is_string());
}

} // namespace
} // namespace tpc::test
