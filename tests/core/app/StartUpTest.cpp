#include "AppFixture.h"

#include "core/Keys.h"
#include "core/PropertyList.h"

#include <gtest/gtest.h>

namespace tpc::test {
namespace {

namespace fs = std::filesystem;
using core::DictRef;
using core::Value;

const char* kFolder = "Library/Application Support/Tavrin Software/Tavrin Privacy Cleaner";

DictRef readArchive(const fs::path& file) {
    auto v = core::plist::readSettingsFile(file);
    return v ? v->dict() : nullptr;
}

TEST(StartUp, FirstStartCreatesTheSettingsFilesWithTheirDefaults) {
    AppFixture f;
    f.start();
    auto folder = f.home() / kFolder;
    ASSERT_TRUE(fs::is_directory(folder));

    // Both files are keyed archives that a plain property-list reader opens.
    for (const char* name : {"General.plist", "Presets.plist"}) {
        auto raw = core::plist::parse(
            [&] {
                auto s = readFile(folder / name);
                return std::vector<std::uint8_t>(s.begin(), s.end());
            }(),
            nullptr);
        ASSERT_TRUE(raw && raw->dict()) << name;
        EXPECT_EQ(raw->dict()->getString("$archiver"), "NSKeyedArchiver") << name;
    }

    auto general = readArchive(folder / "General.plist");
    ASSERT_TRUE(general);
    EXPECT_EQ(general->getString("presetName"), "General");
    EXPECT_EQ(general->getInt("presetIndex"), -1);
    EXPECT_EQ(general->getInt("File Deletion Option"), -1);
    EXPECT_EQ(general->getInt("Prevent Normal Sleep"), 0);
    EXPECT_EQ(general->getInt("Prevent Forced Sleep"), 0);
    EXPECT_EQ(general->get("Prompt For Enabling System UI Elements"), Value(true));
    EXPECT_EQ(general->get("First Run Done"), Value(true));
    // First run switches the weekly schedule on.
    EXPECT_EQ(general->get("enableSchedule"), Value(true));

    auto presets = readArchive(folder / "Presets.plist");
    ASSERT_TRUE(presets);
    EXPECT_EQ(presets->getString("presetName"), "Presets");
    EXPECT_EQ(presets->getInt("presetIndex"), 0);
    // The built-in preset, holding the system junk (no browser is installed).
    const auto all = presets->getArray("Array Of Presets");
    ASSERT_TRUE(all);
    ASSERT_EQ(all->size(), 1u);
    EXPECT_EQ(all->at(0).dict()->getString("presetName"), "One Click Clean");
}

TEST(StartUp, SecondStartReadsTheFilesBackUnchanged) {
    AppFixture f;
    f.start();
    auto folder = f.home() / kFolder;
    auto general = readFile(folder / "General.plist");
    auto presets = readFile(folder / "Presets.plist");
    auto firstDict = f.app->general().dict()->items;

    f.start();
    EXPECT_EQ(readFile(folder / "General.plist"), general);
    EXPECT_EQ(readFile(folder / "Presets.plist"), presets);
    EXPECT_EQ(f.app->general().dict()->items, firstDict);
}

TEST(StartUp, LinuxLayoutKeepsSettingsUnderTheConfigFolder) {
    AppFixture f;
    f.layout = platform::Layout::Linux;
    f.start();
    EXPECT_TRUE(
        fs::exists(f.home() / ".config/Tavrin Software/Tavrin Privacy Cleaner/General.plist"));
    EXPECT_FALSE(fs::exists(f.home() / "Library"));
}

TEST(StartUp, UnreadableGeneralFileIsKeptAsideAndDefaultsUsed) {
    AppFixture f;
    auto folder = f.home() / kFolder;
    writeFile(folder / "General.plist", "this is not a property list \x01\x02\x03");
    f.start();

    int aside = 0;
    for (const auto& e : fs::directory_iterator(folder)) {
        auto name = e.path().filename().string();
        if (name.rfind("General.plist.unreadable-", 0) == 0) {
            ++aside;
            EXPECT_EQ(readFile(e.path()), "this is not a property list \x01\x02\x03");
        }
    }
    EXPECT_EQ(aside, 1);
    auto general = readArchive(folder / "General.plist");
    ASSERT_TRUE(general);
    EXPECT_EQ(general->getInt("File Deletion Option"), -1);
}

TEST(StartUp, OldGeneralFileGetsThePromptKeyAddedAndSaved) {
    AppFixture f;
    f.start();
    auto folder = f.home() / kFolder;
    auto old = f.app->general().dict();
    old->remove("Prompt For Enabling System UI Elements");
    old->set("File Deletion Option", 4);
    ASSERT_TRUE(f.app->settings().flushPresetData(old));

    f.start();
    auto general = readArchive(folder / "General.plist");
    ASSERT_TRUE(general);
    EXPECT_EQ(general->get("Prompt For Enabling System UI Elements"), Value(true));
    EXPECT_EQ(general->getInt("File Deletion Option"), 4);
    EXPECT_TRUE(f.app->general().promptForSystemUIElementsEnabled());
}

TEST(StartUp, PlainXmlGeneralFileIsAccepted) {
    AppFixture f;
    auto folder = f.home() / kFolder;
    writeFile(folder / "General.plist",
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
              "<key>presetName</key><string>General</string>"
              "<key>File Deletion Option</key><integer>7</integer>"
              "<key>First Run Done</key><true/>"
              "<key>Prompt For Enabling System UI Elements</key><false/>"
              "<key>enableSchedule</key><true/></dict></plist>\n");
    f.start();
    EXPECT_EQ(f.app->general().fileDeletionOption(), 7);
    EXPECT_FALSE(f.app->general().promptForSystemUIElementsEnabled());
    EXPECT_TRUE(f.app->general().scheduleEnabled());
}

TEST(FirstRun, AddsTheLoginItemOnceAndOnlyWithAWindow) {
    AppFixture headless;
    headless.start(true);
    EXPECT_TRUE(headless.loginItems->items.empty());

    AppFixture gui;
    gui.scripts->compiles = false;
    gui.start(false);
    ASSERT_EQ(gui.loginItems->items.size(), 1u);
    EXPECT_EQ(gui.loginItems->items[0], gui.platform->applicationPath().string());

    // A user who then switches it off keeps it off: first run does not come back.
    gui.app->toggleLoginItem(false);
    gui.start(false);
    EXPECT_TRUE(gui.loginItems->items.empty());
}

TEST(Preferences, FileDeletionChoiceAndStoredValues) {
    AppFixture f;
    auto& general = f.start().general();
    EXPECT_EQ(core::fileDeletionChoiceFor(-1).row, 0);
    EXPECT_FALSE(core::fileDeletionChoiceFor(-1).popUpEnabled);
    auto erase = core::fileDeletionChoiceFor(5);
    EXPECT_EQ(erase.row, 1);
    EXPECT_TRUE(erase.popUpEnabled);
    EXPECT_EQ(erase.selectedMethod, 5);

    general.matrixFileDeletionOptionsClicked(1);
    EXPECT_EQ(general.fileDeletionOption(), 0);
    general.popUpButtonFileDeletionMethodClicked(8);
    EXPECT_EQ(general.fileDeletionOption(), 8);
    general.matrixFileDeletionOptionsClicked(0);
    EXPECT_EQ(general.fileDeletionOption(), -1);
    general.preventForcedSleep(true);

    auto saved = readArchive(f.home() / kFolder / "General.plist");
    EXPECT_EQ(saved->getInt("File Deletion Option"), -1);
    EXPECT_EQ(saved->getInt("Prevent Forced Sleep"), 1);
    EXPECT_EQ(saved->getInt("Prevent Normal Sleep"), 0);

    EXPECT_TRUE(general.setFromText("File Deletion Option", "9"));
    EXPECT_TRUE(general.setFromText("File Deletion Option", "-2"));
    EXPECT_TRUE(general.setFromText("File Deletion Option", "3x"));
    EXPECT_TRUE(general.setFromText("Prevent Normal Sleep", "2"));
    EXPECT_TRUE(general.setFromText("presetName", "Other"));
    EXPECT_EQ(general.fileDeletionOption(), -1);
    EXPECT_FALSE(general.setFromText("File Deletion Option", "3"));
    EXPECT_EQ(readArchive(f.home() / kFolder / "General.plist")->getInt("File Deletion Option"), 3);
}

} // namespace
} // namespace tpc::test
