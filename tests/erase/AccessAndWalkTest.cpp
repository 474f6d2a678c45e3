// The building blocks: path splitting, tree removal without following links, and the kernel's
// permission rules as this user sees them.
#include "erase/AccessChecker.h"
#include "erase/FileWalk.h"
#include "support/TempDir.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tpc::erase {
namespace {

namespace fs = std::filesystem;
using tpc::test::readFile;
using tpc::test::TempDir;
using tpc::test::writeFile;

std::pair<std::string, std::string> split(const std::string& path) {
    std::string folder, name;
    if (!splitItemPath(path, folder, name))
        return {"<none>", ""};
    return {folder, name};
}

TEST(SplitItemPath, GivesFolderAndLastNameOfAbsolutePaths) {
    using P = std::pair<std::string, std::string>;
    EXPECT_EQ(split("/a/b/c"), (P{"/a/b", "c"}));
    EXPECT_EQ(split("/a/b/"), (P{"/a", "b"}));
    EXPECT_EQ(split("/a//b//"), (P{"/a", "b"}));
    EXPECT_EQ(split("/top"), (P{"/", "top"}));
    EXPECT_EQ(split("//top"), (P{"/", "top"}));
    EXPECT_EQ(split("/a/.hidden"), (P{"/a", ".hidden"}));
}

TEST(SplitItemPath, RefusesPathsWithoutAnItemToActOn) {
    for (const std::string& bad :
         {std::string(""), std::string("/"), std::string("///"), std::string("relative"),
          std::string("a/b"), std::string("/a/.."), std::string("/a/./"), std::string("/a\0b", 4)})
        EXPECT_EQ(split(bad).first, "<none>") << bad;
}

TEST(RemoveEntry, RemovesATreeAndOnlyTheLinksInIt) {
    TempDir t;
    writeFile(t / "outside/file", "keep");
    writeFile(t / "tree/a/b/c", "x");
    writeFile(t / "tree/.hidden", "x");
    fs::create_directory_symlink(t / "outside", t / "tree/a/to-outside");
    fs::create_symlink(t / "outside/file", t / "tree/to-file");

    const UniqueFd dir = openLookupFolder(t.path().string());
    RemovalFailure failure;
    EXPECT_TRUE(removeEntry(dir.get(), "tree", (t / "tree").string(), failure));
    EXPECT_EQ(failure.error, 0);
    EXPECT_FALSE(fs::exists(t / "tree"));
    EXPECT_EQ(readFile(t / "outside/file"), "keep");
}

TEST(RemoveEntry, ReportsAMissingItem) {
    TempDir t;
    const UniqueFd dir = openLookupFolder(t.path().string());
    RemovalFailure failure;
    EXPECT_FALSE(removeEntry(dir.get(), "none", (t / "none").string(), failure));
    EXPECT_EQ(failure.error, ENOENT);
    EXPECT_EQ(failure.reason, "Could not read the attributes of " + (t / "none").string());
}

TEST(ListFolder, ListsHiddenEntriesButNotDotAndDotDot) {
    TempDir t;
    writeFile(t / "d/.h", "");
    writeFile(t / "d/v", "");
    fs::create_directories(t / "d/sub");
    const UniqueFd top = openLookupFolder(t.path().string());
    const UniqueFd d = openSubfolder(top.get(), "d");
    std::vector<std::string> names;
    int error = -1;
    ASSERT_TRUE(listFolder(d.get(), names, error));
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{".h", "sub", "v"}));
}

TEST(OpenSubfolder, RefusesALinkToAFolder) {
    TempDir t;
    fs::create_directories(t / "real");
    fs::create_directory_symlink(t / "real", t / "link");
    const UniqueFd top = openLookupFolder(t.path().string());
    EXPECT_TRUE(openSubfolder(top.get(), "real"));
    EXPECT_FALSE(openSubfolder(top.get(), "link"));
}

TEST(PosixAccessChecker, NeedsTheItemAndAFolderHoldingIt) {
    TempDir t;
    writeFile(t / "file", "x");
    fs::create_symlink(t / "file", t / "link");
    fs::create_symlink(t / "nowhere", t / "dangling");
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
    fs::permissions(t / "locked", fs::perms::owner_read | fs::perms::owner_exec);
    fs::permissions(t / "ro", fs::perms::owner_read);
    const PosixAccessChecker check;
    EXPECT_FALSE(check.canRemoveEntry((t / "locked/file").string()));
    EXPECT_TRUE(check.canWrite((t / "locked/file").string()));
    EXPECT_TRUE(check.canRemoveEntry((t / "ro").string()));
    EXPECT_FALSE(check.canWrite((t / "ro").string()));
    EXPECT_FALSE(check.canWrite((t / "locked").string()));
}

} // namespace
} // namespace tpc::erase
