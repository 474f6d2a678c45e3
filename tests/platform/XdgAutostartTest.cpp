#include "platform/DesktopExec.h"
#include "platform/Services.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace tpc::platform {
namespace {

namespace fs = std::filesystem;
using test::readFile;
using test::TempDir;
using test::writeFile;

const std::string app = "/usr/bin/tavrin-privacy-cleaner";

struct AutostartFixture : ::testing::Test {
    TempDir dir;
    fs::path config = dir / "home/.config";
    fs::path system1 = dir / "root/etc/xdg1";
    fs::path system2 = dir / "root/etc/xdg2";
    XdgAutostart autostart{config, {system1, system2}};
    fs::path user = config / "autostart/tavrin-privacy-cleaner.desktop";

    void systemEntry(const fs::path& configDir, const std::string& body) {
        writeFile(configDir / "autostart/tavrin-privacy-cleaner.desktop",
                  "[Desktop Entry]\nType=Application\nName=Tavrin Privacy Cleaner\n" + body);
    }
};

TEST_F(AutostartFixture, EnableWritesTheUserEntryAndDisableRemovesIt) {
    EXPECT_TRUE(autostart.available());
    EXPECT_FALSE(autostart.exists(app));
    ASSERT_TRUE(autostart.enable(app));
    EXPECT_EQ(readFile(user), "[Desktop Entry]\n"
                              "Type=Application\n"
                              "Name=Tavrin Privacy Cleaner\n"
                              "Exec=/usr/bin/tavrin-privacy-cleaner\n"
                              "X-GNOME-Autostart-enabled=true\n");
    EXPECT_TRUE(autostart.exists(app));
    EXPECT_TRUE(autostart.exists("/usr/bin/tavrin")); // a prefix of the program path
    EXPECT_FALSE(autostart.exists("/opt/other"));
    EXPECT_EQ(std::distance(fs::directory_iterator(config / "autostart"), {}), 1); // no temp left

    ASSERT_TRUE(autostart.disable(app));
    EXPECT_FALSE(fs::exists(user));
    EXPECT_FALSE(autostart.exists(app));
    EXPECT_TRUE(autostart.disable(app)); // nothing left to do
}

TEST_F(AutostartFixture, RejectsEmptyOrRelativePaths) {
    EXPECT_FALSE(autostart.enable(""));
    EXPECT_FALSE(autostart.enable("bin/tpc"));
    EXPECT_FALSE(fs::exists(user));
    ASSERT_TRUE(autostart.enable(app));
    EXPECT_FALSE(autostart.exists(""));
    EXPECT_FALSE(autostart.disable(""));
    EXPECT_TRUE(fs::exists(user));
}

TEST_F(AutostartFixture, EnableReplacesALinkInsteadOfWritingThroughIt) {
    writeFile(dir / "target.desktop", "keep me");
    fs::create_directories(user.parent_path());
    fs::create_symlink(dir / "target.desktop", user);
    ASSERT_TRUE(autostart.enable(app));
    EXPECT_FALSE(fs::is_symlink(user));
    EXPECT_EQ(readFile(dir / "target.desktop"), "keep me");
}

TEST_F(AutostartFixture, SystemEntryCountsUntilTheUserHidesIt) {
    systemEntry(system2, "Exec=/usr/bin/tavrin-privacy-cleaner --minimized\n");
    EXPECT_TRUE(autostart.exists(app));

    ASSERT_TRUE(autostart.disable(app));
    EXPECT_FALSE(autostart.exists(app));
    EXPECT_NE(readFile(user).find("Hidden=true\n"), std::string::npos);
    EXPECT_TRUE(fs::exists(system2 / "autostart/tavrin-privacy-cleaner.desktop"));
    // Disabling again keeps the hiding entry.
    ASSERT_TRUE(autostart.disable(app));
    EXPECT_TRUE(fs::exists(user));

    ASSERT_TRUE(autostart.enable(app));
    EXPECT_TRUE(autostart.exists(app));
    EXPECT_EQ(readFile(user).find("Hidden"), std::string::npos);
}

TEST_F(AutostartFixture, FirstConfigDirWinsAndHiddenSystemEntriesDoNotCount) {
    systemEntry(system1, "Exec=/opt/other/tpc\n");
    systemEntry(system2, "Exec=/usr/bin/tavrin-privacy-cleaner\n");
    EXPECT_FALSE(autostart.exists(app));
    EXPECT_TRUE(autostart.exists("/opt/other"));

    systemEntry(system1, "Exec=/usr/bin/tavrin-privacy-cleaner\nHidden=true\n");
    EXPECT_FALSE(autostart.exists(app));
    systemEntry(system1, "Exec=/usr/bin/tavrin-privacy-cleaner\nX-GNOME-Autostart-enabled=false\n");
    EXPECT_FALSE(autostart.exists(app));
}

TEST_F(AutostartFixture, AnotherProgramsUserEntryIsLeftAlone) {
    systemEntry(system1, "Exec=/usr/bin/tavrin-privacy-cleaner\n");
    writeFile(user, "[Desktop Entry]\nType=Application\nExec=/opt/other/tpc\n");
    // The user's file shadows the system one.
    EXPECT_FALSE(autostart.exists(app));
    ASSERT_TRUE(autostart.disable(app));
    EXPECT_EQ(readFile(user), "[Desktop Entry]\nType=Application\nExec=/opt/other/tpc\n");
}

TEST_F(AutostartFixture, PathsWithSpacesSurviveTheRoundTrip) {
    const std::string spaced = "/opt/Tavrin Software/Tavrin Privacy Cleaner 100%";
    ASSERT_TRUE(autostart.enable(spaced));
    EXPECT_NE(readFile(user).find("Exec=\"/opt/Tavrin Software/Tavrin Privacy Cleaner 100%%\"\n"),
              std::string::npos);
    EXPECT_TRUE(autostart.exists(spaced));
    EXPECT_FALSE(autostart.exists("/opt/Tavrin Software/Tavrin Privacy Cleaner 2"));
}

// A user entry this cannot read line by line (not UTF-8, a line that is neither a group, a key
// nor a comment, a NUL, a key given twice) is neither replaced nor removed.
TEST_F(AutostartFixture, DamagedUserEntryIsNeverReplacedOrRemoved) {
    systemEntry(system1, "Exec=/usr/bin/tavrin-privacy-cleaner\n");
    const std::string head = "[Desktop Entry]\nType=Application\nExec=" + app + "\n";
    const std::vector<std::string> damaged = {
        head + "Name=caf\xE9\n",
        head + "this line is not an entry\n",
        head + std::string("Name=a\0b\n", 9),
        head + "Exec=/opt/other\n",
        "Exec=" + app + "\n[Desktop Entry]\n",
    };
    for (const auto& text : damaged) {
        writeFile(user, text);
        EXPECT_FALSE(autostart.enable(app));
        EXPECT_FALSE(autostart.disable(app));
        EXPECT_EQ(readFile(user), text);
    }
    // A whole entry with comments, locales and CRLF line ends is ours to change.
    writeFile(user, "# mine\r\n[Desktop Entry]\r\nName[de]=Reiniger\r\nExec=" + app + "\r\n");
    ASSERT_TRUE(autostart.disable(app));
    EXPECT_NE(readFile(user).find("Hidden=true"), std::string::npos);
}

TEST(DesktopExecTest, ProgramOfExecValues) {
    EXPECT_EQ(execProgram("/usr/bin/tpc %U"), "/usr/bin/tpc");
    EXPECT_EQ(execProgram("  tpc"), "tpc");
    EXPECT_EQ(execProgram("\"/opt/My App/tpc\" --flag"), "/opt/My App/tpc");
    EXPECT_EQ(execProgram("/opt/My\\sApp"), "/opt/My"); // \s is a space: the word ends there
    EXPECT_EQ(execProgram("\"/opt/a \\\\$b\\\\\\\\c\""), "/opt/a $b\\c");
    EXPECT_EQ(execProgram(""), "");
    EXPECT_EQ(execProgram("\"unterminated"), "unterminated");
    for (std::string path : {"/usr/bin/tpc", "/opt/a b/c", "/opt/quote\"d/$x`y`\\z", "/o/50%"})
        EXPECT_EQ(execProgram(execValue(path)), path) << path;
}

} // namespace
} // namespace tpc::platform
