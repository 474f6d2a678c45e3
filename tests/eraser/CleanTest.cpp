// The file eraser clean: what goes for each kind of marked row, and what stays.

#include "EraserHarness.h"

#include "core/GeneralPrefs.h"
#include "core/TaskFlags.h"

#include <gtest/gtest.h>

namespace tpc::test::eraser {
namespace {

using core::Category;
using core::TaskKind;
using Strings = std::vector<std::string>;

class Clean : public ::testing::TestWithParam<Main> {
protected:
    EraserHarness h{GetParam()};

    void contentsOnly(const std::string& path) {
        ASSERT_TRUE(h.list().setDeleteOption(h.list().findRow(path), true)) << path;
    }
    bool idle() {
        return !h.flags().running(Category::Shredder, TaskKind::Clean) &&
               !h.flags().aborting(Category::Shredder, TaskKind::Clean) &&
               !h.flags().abortCleaning() && h.app->tasks().idle();
    }
};

TEST_P(Clean, EachMarkedRowGoesAsItsKindAndOptionSay) {
    writeFile(h.files() / "d/x", "abc");
    writeFile(h.files() / "d/.hidden", "h");
    writeFile(h.files() / "d/sub/y", "12345");
    fs::create_directories(h.files() / "empty");
    writeFile(h.files() / "kept/k", "k");
    writeFile(h.files() / "whole/sub/y", "12345");
    writeFile(h.files() / "f", "abc");
    writeFile(h.files() / "gone", "1");
    h.start();
    h.add({h.at("d"), h.at("empty"), h.at("kept"), h.at("whole"), h.at("f"), h.at("gone")});
    fs::remove(h.files() / "gone");
    contentsOnly(h.at("d"));
    contentsOnly(h.at("empty"));
    h.list().setRowMark(h.list().findRow(h.at("kept")), false);
    h.frontend.clear();

    h.clean();
    EXPECT_TRUE(fs::is_directory(h.files() / "d"));
    EXPECT_TRUE(fs::is_empty(h.files() / "d"));
    EXPECT_TRUE(fs::is_directory(h.files() / "empty"));
    EXPECT_TRUE(fs::exists(h.files() / "kept/k"));
    EXPECT_FALSE(fs::exists(h.files() / "whole"));
    EXPECT_FALSE(fs::exists(h.files() / "f"));
    EXPECT_EQ(h.statuses(),
              (Strings{"Preparing...", "Shredding Folders/Files...", "Done...", " "}));
    EXPECT_EQ(h.frontend.resultText(), "Cleaning Done");
    EXPECT_FALSE(h.frontend.progressWindowShown());
    EXPECT_FALSE(h.frontend.progressState().visible);
    // No rescan: the rows keep the sizes they had.
    EXPECT_EQ(h.paths().size(), 6u);
    EXPECT_NE(core::size(h.row(h.at("d"))), 0u);
    EXPECT_TRUE(idle());
}

TEST_P(Clean, AListedLinkGoesAsALinkAndItsTargetStaysWhole) {
    writeFile(h.files() / "target/a", "keep me");
    writeFile(h.files() / "target/sub/b", "and me");
    fs::create_directories(h.files() / "was-a-folder");
    h.start();
    // Overwriting, so that writing through a link would show in the target's files.
    h.app->general().matrixFileDeletionOptionsClicked(1);
    ASSERT_EQ(h.app->general().fileDeletionOption(), 0);
    fs::create_directory_symlink(h.files() / "target", h.files() / "link");
    h.add({h.at("link"), h.at("was-a-folder")});
    // Listed as a folder with its contents to go, then replaced by a link.
    contentsOnly(h.at("was-a-folder"));
    fs::remove(h.files() / "was-a-folder");
    fs::create_directory_symlink(h.files() / "target", h.files() / "was-a-folder");

    h.clean();
    EXPECT_FALSE(fs::exists(fs::symlink_status(h.files() / "link")));
    EXPECT_FALSE(fs::exists(fs::symlink_status(h.files() / "was-a-folder")));
    EXPECT_EQ(readFile(h.files() / "target/a"), "keep me");
    EXPECT_EQ(readFile(h.files() / "target/sub/b"), "and me");
    EXPECT_TRUE(idle());
}

TEST_P(Clean, MarkOnlyNamesRowsByPathOrNameForThisRunOnly) {
    writeFile(h.files() / "a", "1");
    writeFile(h.files() / "b", "2");
    writeFile(h.files() / "c", "3");
    h.start();
    h.add({h.at("a"), h.at("b"), h.at("c")});
    EXPECT_EQ(h.driver().markOnly({h.at("a") + "/", "b", "nothing"}), (Strings{"nothing"}));
    h.clean();
    EXPECT_FALSE(fs::exists(h.files() / "a"));
    EXPECT_FALSE(fs::exists(h.files() / "b"));
    EXPECT_TRUE(fs::exists(h.files() / "c"));

    h.restart();
    EXPECT_EQ(core::mark(h.row(h.at("c"))), 1);
}

TEST_P(Clean, AnAbortedCleanStopsBeforeTheNextRow) {
    writeFile(h.files() / "a", "1");
    h.start();
    h.add({h.at("a")});
    h.frontend.abortOnStatus = "Shredding Folders/Files...";
    h.clean();
    EXPECT_TRUE(fs::exists(h.files() / "a"));
    EXPECT_EQ(h.frontend.resultText(), std::nullopt);
    EXPECT_TRUE(idle());
    EXPECT_TRUE(h.flags().allScansAndCleansAborted());
}

INSTANTIATE_TEST_SUITE_P(Eraser, Clean, ::testing::Values(Main::Queue, Main::Immediate), mainName);

} // namespace
} // namespace tpc::test::eraser
