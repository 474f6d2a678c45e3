// Runs the real `tpc` program on fake homes.

#include "TpcFixture.h"

#include "core/PropertyList.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace tpc::test {
namespace {

namespace fs = std::filesystem;

TEST_F(Tpc, SettingsListOnAnEmptyHomeCreatesTheStore) {
    auto r = macos({"settings", "list", "--json"});
    ASSERT_EQ(r.code, 0) << r.err;
    auto j = nlohmann::json::parse(r.out);
    EXPECT_EQ(j["File Deletion Option"], -1);
    EXPECT_EQ(j["First Run Done"], true);
    EXPECT_EQ(j["Prompt For Enabling System UI Elements"], true);
    EXPECT_EQ(j["presetName"], "General");

    auto presets = core::plist::readSettingsFile(folder() / "Presets.plist");
    ASSERT_TRUE(presets && presets->dict());
    // Only the built-in preset.
    EXPECT_EQ(presets->dict()->getArray("Array Of Presets")->size(), 1u);

    auto general = readFile(folder() / "General.plist");
    auto again = macos({"settings", "list", "--json"});
    EXPECT_EQ(again.out, r.out);
    EXPECT_EQ(readFile(folder() / "General.plist"), general);
}

TEST_F(Tpc, LinuxLayoutUsesTheXdgConfigFolder) {
    auto config = dir / "xdg-config";
    auto r = tpc({"--layout", "linux", "settings", "list"},
                 {"HOME=" + home.string(), "XDG_CONFIG_HOME=" + config.string()});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(fs::exists(config / "Tavrin Software/Tavrin Privacy Cleaner/General.plist"));
    EXPECT_NE(r.out.find("File Deletion Option: -1"), std::string::npos);
}

TEST_F(Tpc, SetRefusesOutOfRangeValuesAndPersistsGoodOnes) {
    ASSERT_EQ(macos({"settings", "list"}).code, 0);
    auto before = readFile(folder() / "General.plist");

    auto bad = macos({"settings", "set", "File Deletion Option", "9"});
    EXPECT_EQ(bad.code, 2);
    EXPECT_NE(bad.err.find("File Deletion Option"), std::string::npos);
    EXPECT_EQ(bad.err.find('\n'), bad.err.size() - 1) << "one line: " << bad.err;
    EXPECT_EQ(readFile(folder() / "General.plist"), before);

    auto good = macos({"settings", "set", "File Deletion Option", "3", "--json"});
    ASSERT_EQ(good.code, 0) << good.err;
    EXPECT_EQ(nlohmann::json::parse(good.out), 3);
    EXPECT_EQ(macos({"settings", "get", "File Deletion Option"}).out, "3\n");

    EXPECT_EQ(macos({"settings", "set", "Prompt For Enabling System UI Elements", "false"}).code,
              0);
    EXPECT_EQ(macos({"settings", "get", "Prompt For Enabling System UI Elements"}).out, "false\n");
}

TEST_F(Tpc, BadInputExitsTwoAndFailuresExitOne) {
    EXPECT_EQ(macos({"frobnicate"}).code, 2);
    EXPECT_EQ(macos({"settings"}).code, 2);
    EXPECT_EQ(macos({"settings", "get", "No Such Key"}).code, 2);
    EXPECT_EQ(tpc({"--layout", "beos", "--home", home.string(), "settings", "list"}).code, 2);
    EXPECT_EQ(tpc({"--home", (dir / "missing").string(), "settings", "list"}).code, 2);
    EXPECT_EQ(tpc({"--version"}).code, 0);

    // A file where the settings folder must go: nothing can be saved.
    auto blocked = dir / "blocked";
    writeFile(blocked / "Library/Application Support", "in the way");
    auto r = tpc({"--layout", "macos", "--home", blocked.string(), "settings", "list"});
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.err.find("settings folder"), std::string::npos);
}

TEST_F(Tpc, TraceRecordsTheLogLineOfAFileKeptAside) {
    writeFile(folder() / "General.plist", "garbage");
    auto trace = dir / "trace.jsonl";
    auto r = macos({"--trace", trace.string(), "settings", "list"});
    ASSERT_EQ(r.code, 0) << r.err;
    std::istringstream lines(readFile(trace));
    std::string line;
    int logs = 0;
    while (std::getline(lines, line)) {
        auto e = nlohmann::json::parse(line);
        if (e["event"] == "log" &&
            e["text"].get<std::string>().find("General.plist") != std::string::npos)
            ++logs;
    }
    EXPECT_GE(logs, 1);
}

} // namespace
} // namespace tpc::test
