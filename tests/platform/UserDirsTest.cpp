#include "platform/UserDirs.h"

#include <gtest/gtest.h>

namespace tpc::platform {
namespace {

const std::filesystem::path home = "/home/ann";

std::optional<std::filesystem::path> download(const std::string& text) {
    return parseUserDir(text, "XDG_DOWNLOAD_DIR", home);
}

TEST(UserDirsTest, ExpandsHomeAndAcceptsAbsoluteFolders) {
    EXPECT_EQ(download("XDG_DOWNLOAD_DIR=\"$HOME/Downloads\"\n"), home / "Downloads");
    EXPECT_EQ(download("XDG_DOWNLOAD_DIR=\"${HOME}/dl\""), home / "dl");
    EXPECT_EQ(download("  XDG_DOWNLOAD_DIR=/data/downloads  # comment"), "/data/downloads");
    EXPECT_EQ(download("XDG_DOWNLOAD_DIR=\"$HOME/My \\\"Files\\\"\""), home / "My \"Files\"");
}

TEST(UserDirsTest, LastAssignmentWinsAndOtherLinesAreIgnored) {
    auto text = "# XDG_DOWNLOAD_DIR=\"$HOME/commented\"\n"
                "XDG_DESKTOP_DIR=\"$HOME/Desktop\"\n"
                "XDG_DOWNLOAD_DIR_OLD=\"$HOME/old\"\n"
                "XDG_DOWNLOAD_DIR=\"$HOME/first\"\n"
                "XDG_DOWNLOAD_DIR=\"$HOME/second\"\n";
    EXPECT_EQ(download(text), home / "second");
    EXPECT_EQ(parseUserDir(text, "XDG_DESKTOP_DIR", home), home / "Desktop");
}

TEST(UserDirsTest, RejectsRelativeUnknownAndDangerousValues) {
    EXPECT_EQ(download(""), std::nullopt);
    EXPECT_EQ(download("XDG_DOWNLOAD_DIR=\"Downloads\""), std::nullopt);
    EXPECT_EQ(download("XDG_DOWNLOAD_DIR=\"$HOMEDIR/x\""), std::nullopt);
    EXPECT_EQ(download("XDG_DOWNLOAD_DIR=\"$USER/x\""), std::nullopt);
    EXPECT_EQ(download("XDG_DOWNLOAD_DIR=\"$HOME/unterminated"), std::nullopt);
    // A folder set to the home switches it off; the home or any folder holding it never counts.
    EXPECT_EQ(download("XDG_DOWNLOAD_DIR=\"$HOME/\""), std::nullopt);
    EXPECT_EQ(download("XDG_DOWNLOAD_DIR=\"$HOME\""), std::nullopt);
    EXPECT_EQ(download("XDG_DOWNLOAD_DIR=\"$HOME/..\""), std::nullopt);
    EXPECT_EQ(download("XDG_DOWNLOAD_DIR=/"), std::nullopt);
    EXPECT_EQ(download("XDG_DOWNLOAD_DIR=\"/home/ann/./\""), std::nullopt);
}

} // namespace
} // namespace tpc::platform
