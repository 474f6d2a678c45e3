// Plain deletion: nothing is ever opened for writing, links are removed as links.
#include "erase/EraseHarness.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace tpc::erase::test {
namespace {

namespace fs = std::filesystem;
using tpc::test::readFile;

class SimpleDelete : public ::testing::Test {
protected:
    EraseHarness h;
    Deleter deleter = h.deleter();
};

TEST_F(SimpleDelete, PlainModeRemovesEverythingWithoutOpeningAFileForWriting) {
    h.option = -1;
    h.makeFile("a", 70000);
    h.makeFile("d/read-only", 100);
    h.makeFile("d/sub/.hidden", 100);
    fs::permissions(h.path("d/read-only"), fs::perms::owner_read);
    WriteOpenWatch top(h.dir.path());
    WriteOpenWatch inner(h.path("d"));

    deleter.deleteFiles({h.path("a"), h.path("d")});

    EXPECT_FALSE(fs::exists(h.path("a")));
    EXPECT_FALSE(fs::exists(h.path("d")));
    EXPECT_TRUE(top.closedAfterWrite().empty());
    EXPECT_TRUE(inner.closedAfterWrite().empty());
    EXPECT_TRUE(h.writer.calls.empty());
    EXPECT_TRUE(h.log.lines().empty());
}

TEST_F(SimpleDelete, AFolderTreeIsRemovedWithoutFollowingItsLinks) {
    const auto kept = h.makeFile("outside/dir/kept", 100);
    h.makeFile("d/x/y/z", 10);
    fs::create_directory_symlink(h.path("outside/dir"), h.path("d/x/to-dir"));
    fs::create_directory_symlink(h.path("outside"), h.path("link-to-outside"));

    deleter.simpleDeleteFiles({h.path("d"), h.path("link-to-outside") + "/"});

    EXPECT_FALSE(fs::exists(h.path("d")));
    EXPECT_FALSE(fs::exists(fs::symlink_status(h.path("link-to-outside"))));
    EXPECT_EQ(readFile(h.path("outside/dir/kept")), kept);
}

TEST_F(SimpleDelete, AFailedRemovalIsLoggedWithPathErrorAndReason) {
    h.checker.allowMissing = true; // deletable as far as the check goes, gone when removed
    h.makeFile("next", 10);
    deleter.simpleDeleteFiles({h.path("gone"), h.path("next")});
    EXPECT_FALSE(fs::exists(h.path("next")));
    EXPECT_EQ(h.log.lines(), std::vector<std::string>{
                                 "Error removing item:" + h.path("gone") +
                                 ", error:No such file or directory, reason:Could not read the "
                                 "attributes of " +
                                 h.path("gone")});
    EXPECT_TRUE(h.helper.requests.empty());
}

TEST_F(SimpleDelete, BadPathsAreLoggedNotSentToTheHelper) {
    const auto keep = h.makeFile("sub/keep", 10);
    deleter.simpleDeleteFiles({"", "tpc-no-such-relative-item", h.path("sub") + "/.."});
    EXPECT_EQ(readFile(h.path("sub/keep")), keep);
    EXPECT_EQ(h.log.lines().size(), 3u);
    EXPECT_TRUE(h.helper.requests.empty());
}

} // namespace
} // namespace tpc::erase::test
