// The building blocks: tree removal without following links, and the kernel's permission rules as
// this user sees them.
#include "erase/AccessChecker.h"
#include "erase/FileWalk.h"
#include "support/TempDir.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tpc::erase {
namespace {

namespace stdfs = std::filesystem;
using tpc::test::readFile;
using tpc::test::TempDir;
using tpc::test::writeFile;

TEST(RemoveEntry, RemovesATreeAndOnlyTheLinksInIt) {
    TempDir t;
    writeFile(t / "outside/file", "keep");
    writeFile(t / "tree/a/b/c", "x");
    writeFile(t / "tree/.hidden", "x");
    stdfs::create_directory_symlink(t / "outside", t / "tree/a/to-outside");
    stdfs::create_symlink(t / "outside/file", t / "tree/to-file");

    const fs::UniqueFd dir = fs::openFolderFollowingLinks(t.path().string());
    RemovalFailure failure;
    EXPECT_TRUE(removeEntry(dir.get(), "tree", (t / "tree").string(), failure));
    EXPECT_EQ(failure.error, 0);
    EXPECT_FALSE(stdfs::exists(t / "tree"));
    EXPECT_EQ(readFile(t / "outside/file"), "keep");
}

TEST(RemoveEntry, ReportsAMissingItem) {
    TempDir t;
    const fs::UniqueFd dir = fs::openFolderFollowingLinks(t.path().string());
    RemovalFailure failure;
    EXPECT_FALSE(removeEntry(dir.get(), "none", (t / "none").string(), failure));
    EXPECT_EQ(failure.error, ENOENT);
    EXPECT_EQ(failure.reason, "Could not read the attributes of " + (t / "none").string());
}

TEST(PosixAccessChecker, NeedsTheItemAndAFolderHoldingIt) {
    TempDir t;
    writeFile(t / "file", "x");
    stdfs::create_symlink(t / "file", t / "link");
    stdfs::create_symlink(t / "nowhere", t / "dangling");
    const PosixAccessChecker check;
    EXPECT_TRUE(check.canRemoveEntry((t / "file").string()));
    EXPECT_TRUE(check.canWrite((t / "file").string()));
    EXPECT_TRUE(check.canWrite(t.path().string()));
    EXPECT_TRUE(check.canRemoveEntry((t / "dangling").string()));
    EXPECT_FALSE(check.canWrite((t / "link").string())) << "a link is never written";
    EXPECT_FALSE(check.canRemoveEntry((t / "missing").string()));
    EXPECT_FALSE(check.canRemoveEntry((t / "file/inside").string()));
    EXPECT_FALSE(check.canRemoveEntry("relative"));
    EXPECT_FALSE(check.canRemoveEntry("/"));
}

TEST(PosixAccessChecker, FollowsPermissionBitsForOrdinaryUsers) {
    if (geteuid() == 0)
        GTEST_SKIP() << "permission bits do not bind root";
    TempDir t;
    writeFile(t / "locked/file", "x");
    writeFile(t / "ro", "x");
    stdfs::permissions(t / "locked", stdfs::perms::owner_read | stdfs::perms::owner_exec);
    stdfs::permissions(t / "ro", stdfs::perms::owner_read);
    const PosixAccessChecker check;
    EXPECT_FALSE(check.canRemoveEntry((t / "locked/file").string()));
    EXPECT_TRUE(check.canWrite((t / "locked/file").string()));
    EXPECT_TRUE(check.canRemoveEntry((t / "ro").string()));
    EXPECT_FALSE(check.canWrite((t / "ro").string()));
    EXPECT_FALSE(check.canWrite((t / "locked").string()));
}

} // namespace
} // namespace tpc::erase
