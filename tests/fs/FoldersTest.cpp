// Opening and listing folders by each link rule: the kernel's resolution without links and the
// walk it falls back on, folder-relative opening and listing, and listing by path.
#include "fs/Folders.h"

#include "support/OddNames.h"
#include "support/TempDir.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tpc::fs {
namespace {

namespace stdfs = std::filesystem;
using test::TempDir;
using test::writeFile;

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

TEST(ListFolder, ListsHiddenEntriesButNotDotAndDotDot) {
    TempDir t;
    writeFile(t / "d/.h", "");
    writeFile(t / "d/v", "");
    stdfs::create_directories(t / "d/sub");
    const UniqueFd top = openFolderFollowingLinks(t.path().string());
    const UniqueFd d = openSubfolderNoFollow(top.get(), "d");
    std::vector<std::string> names;
    int error = -1;
    ASSERT_TRUE(listOpenFolder(d.get(), names, error));
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{".h", "sub", "v"}));
}

TEST(OpenSubfolder, RefusesALinkToAFolder) {
    TempDir t;
    stdfs::create_directories(t / "real");
    stdfs::create_directory_symlink(t / "real", t / "link");
    const UniqueFd top = openFolderFollowingLinks(t.path().string());
    EXPECT_TRUE(openSubfolderNoFollow(top.get(), "real"));
    EXPECT_FALSE(openSubfolderNoFollow(top.get(), "link"));
}

bool sameFolder(const UniqueFd& fd, const stdfs::path& folder) {
    struct stat a {
    }, b{};
    return fd && fstat(fd.get(), &a) == 0 && stat(folder.c_str(), &b) == 0 &&
           a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Both ways of resolving: the kernel's (with the walk to name a fault) and the walk alone, as on
// kernels without openat2.
using Opener = UniqueFd (*)(const std::string&, FolderOpenFailure&);

class OpenFolderWithoutLinks : public ::testing::TestWithParam<Opener> {
protected:
    UniqueFd open(const stdfs::path& folder, FolderOpenFailure& failure) {
        return GetParam()(folder.string(), failure);
    }
};

INSTANTIATE_TEST_SUITE_P(KernelOrWalk, OpenFolderWithoutLinks,
                         ::testing::Values(&openFolderWithoutLinks, &walkFolderWithoutLinks));

TEST_P(OpenFolderWithoutLinks, OpensRealFoldersAllTheWayDown) {
    TempDir t;
    stdfs::create_directories(t / "a/b c/.hidden/d");
    FolderOpenFailure failure;
    for (const char* rel : {"a", "a/b c", "a/b c/.hidden", "a/b c/.hidden/d"}) {
        const UniqueFd fd = open(t / rel, failure);
        EXPECT_TRUE(sameFolder(fd, t / rel)) << rel << ": " << failure.reason;
    }
    EXPECT_TRUE(sameFolder(open(t.path().string() + "//a/", failure), t / "a"));
    EXPECT_TRUE(sameFolder(open("/", failure), "/"));
}

TEST_P(OpenFolderWithoutLinks, RefusesALinkAnywhereOnThePath) {
    TempDir t;
    stdfs::create_directories(t / "real/inner/deep");
    stdfs::create_directory_symlink(t / "real", t / "top-link");
    stdfs::create_directory_symlink(t / "real/inner", t / "real/mid-link");
    stdfs::create_directory_symlink(t / "real/inner", t / "real/inner/deep/last-link");
    for (const char* rel :
         {"top-link", "top-link/inner", "real/mid-link/deep", "real/inner/deep/last-link"}) {
        FolderOpenFailure failure;
        EXPECT_FALSE(open(t / rel, failure)) << rel;
        EXPECT_EQ(failure.error, ELOOP) << rel;
        EXPECT_NE(failure.reason.find("is a symbolic link"), std::string::npos) << failure.reason;
    }
}

TEST_P(OpenFolderWithoutLinks, RefusesWhatIsNoFolder) {
    TempDir t;
    writeFile(t / "file", "x");
    stdfs::create_directories(t / "dir");
    FolderOpenFailure failure;
    EXPECT_FALSE(open(t / "file", failure));
    EXPECT_EQ(failure.error, ENOTDIR);
    EXPECT_FALSE(open(t / "missing/dir", failure));
    EXPECT_EQ(failure.error, ENOENT);
    // ".." would let the path climb out of the folder it names.
    EXPECT_FALSE(open(t / "dir/..", failure));
    EXPECT_EQ(failure.error, EINVAL);
    EXPECT_FALSE(open(t / "dir/./..", failure));
    EXPECT_FALSE(open("relative", failure));
    EXPECT_EQ(failure.error, EINVAL);
    EXPECT_FALSE(open("", failure));
}

std::vector<std::string> under(const stdfs::path& folder, std::vector<std::string> names) {
    for (auto& name : names)
        name = (folder / name).string();
    return names;
}

TEST(ListFolderNoFollow, ListsEveryEntryAsItselfInNameOrder) {
    TempDir t;
    writeFile(t / "d/b", "");
    writeFile(t / "d/.hidden", "");
    stdfs::create_directories(t / "d/a-folder");
    stdfs::create_directory_symlink(t.path(), t / "d/c-loop");
    stdfs::create_symlink(t / "nowhere", t / "d/dangling");
    const std::vector<std::string> expected =
        under(t / "d", {".hidden", "a-folder", "b", "c-loop", "dangling"});
    EXPECT_EQ(listFolderNoFollow(t / "d"), expected);
    EXPECT_EQ(listFolderNoFollow((t / "d").string() + "/"), expected);
    // A link above the folder is the caller's: it is followed.
    stdfs::create_directory_symlink(t.path(), t / "up");
    EXPECT_EQ(listFolderNoFollow(t / "up/d"),
              under(t / "up/d", {".hidden", "a-folder", "b", "c-loop", "dangling"}));
}

TEST(ListFolderNoFollow, ListsNothingButARealFolder) {
    TempDir t;
    writeFile(t / "d/inside", "");
    writeFile(t / "file", "");
    stdfs::create_directory_symlink(t / "d", t / "link");
    stdfs::create_symlink(t / "nowhere", t / "dangling");
    for (const stdfs::path& nothing :
         {t / "link", t / "dangling", t / "file", t / "missing", t / "file/below",
          stdfs::path("relative/d"), stdfs::path("/"), stdfs::path()})
        EXPECT_TRUE(listFolderNoFollow(nothing).empty()) << nothing;
}

TEST(ListFolderNoFollow, AFolderThatCannotBeReadListsNothing) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "permissions do not stop root";
    TempDir t;
    writeFile(t / "closed/inside", "");
    stdfs::permissions(t / "closed", stdfs::perms::owner_write | stdfs::perms::owner_exec);
    const auto listed = listFolderNoFollow(t / "closed");
    const auto names = folderNamesFollowingLinks(t / "closed");
    stdfs::permissions(t / "closed", stdfs::perms::owner_all);
    EXPECT_TRUE(listed.empty());
    EXPECT_TRUE(names.empty());
}

TEST(FolderNamesFollowingLinks, GivesSortedNamesThroughALinkAtTheFolderItself) {
    TempDir t;
    writeFile(t / "d/z", "");
    writeFile(t / "d/.h", "");
    stdfs::create_directories(t / "d/m");
    stdfs::create_directory_symlink(t / "d", t / "link");
    stdfs::create_symlink(t / "nowhere", t / "dangling");
    writeFile(t / "file", "");
    const std::vector<std::string> expected{".h", "m", "z"};
    EXPECT_EQ(folderNamesFollowingLinks(t / "d"), expected);
    EXPECT_EQ(folderNamesFollowingLinks(t / "link"), expected);
    for (const stdfs::path& nothing : {t / "dangling", t / "file", t / "missing", stdfs::path()})
        EXPECT_TRUE(folderNamesFollowingLinks(nothing).empty()) << nothing;
}

TEST(FolderListing, NamesThatAreNotUtf8ComeBackByteForByte) {
    TempDir t;
    for (const auto& name : test::kOddNames)
        writeFile(t / "d" / name, "x");
    auto names = test::kOddNames;
    std::sort(names.begin(), names.end());
    EXPECT_EQ(folderNamesFollowingLinks(t / "d"), names);
    EXPECT_EQ(listFolderNoFollow(t / "d"), under(t / "d", names));
    for (const auto& path : listFolderNoFollow(t / "d")) {
        struct stat st {};
        EXPECT_EQ(::lstat(path.c_str(), &st), 0) << "listed path reaches the very entry";
    }
}

} // namespace
} // namespace tpc::fs
