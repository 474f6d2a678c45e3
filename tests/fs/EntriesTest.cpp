// Every kind question asked of every kind of entry: the answers differ only where the link rule in
// a function's name says they should.
#include "fs/Entries.h"

#include "support/OddNames.h"
#include "support/TempDir.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tpc::fs {
namespace {

namespace stdfs = std::filesystem;
using test::TempDir;
using test::writeFile;

struct Answers {
    bool exists, existsFollowing, link, folder, folderFollowing, file, fileFollowing;
};

Answers ask(const stdfs::path& path) {
    return {entryExists(path),
            existsFollowingLinks(path),
            isLink(path),
            isFolderNoFollow(path),
            isFolderFollowingLinks(path),
            isRegularFileNoFollow(path),
            isRegularFileFollowingLinks(path)};
}

void expectAnswers(const stdfs::path& path, const Answers& want) {
    SCOPED_TRACE(path.string());
    const Answers got = ask(path);
    EXPECT_EQ(got.exists, want.exists);
    EXPECT_EQ(got.existsFollowing, want.existsFollowing);
    EXPECT_EQ(got.link, want.link);
    EXPECT_EQ(got.folder, want.folder);
    EXPECT_EQ(got.folderFollowing, want.folderFollowing);
    EXPECT_EQ(got.file, want.file);
    EXPECT_EQ(got.fileFollowing, want.fileFollowing);
}

constexpr Answers kNothing{false, false, false, false, false, false, false};

// A folder holding one of every kind: a file, a folder, links to each, a dangling link, a FIFO.
struct Tree {
    TempDir t;
    Tree() {
        writeFile(t / "file", "12345");
        stdfs::create_directories(t / "folder");
        stdfs::create_symlink(t / "file", t / "fileLink");
        stdfs::create_directory_symlink(t / "folder", t / "folderLink");
        stdfs::create_symlink(t / "nowhere", t / "dangling");
        stdfs::create_symlink(t / "folderLink", t / "linkToLink");
        EXPECT_EQ(::mkfifo((t / "fifo").c_str(), 0600), 0);
    }
};

TEST(EntryKinds, EachKindByEachRule) {
    Tree tree;
    auto& t = tree.t;
    //                         exists fllw   link   folder fllw   file   fllw
    expectAnswers(t / "file", {true, true, false, false, false, true, true});
    expectAnswers(t / "folder", {true, true, false, true, true, false, false});
    expectAnswers(t / "fileLink", {true, true, true, false, false, false, true});
    expectAnswers(t / "folderLink", {true, true, true, false, true, false, false});
    expectAnswers(t / "linkToLink", {true, true, true, false, true, false, false});
    expectAnswers(t / "dangling", {true, false, true, false, false, false, false});
    expectAnswers(t / "fifo", {true, true, false, false, false, false, false});
    // A trailing slash asks for a folder, and makes the kernel follow a link at the last name.
    expectAnswers((t / "folder").string() + "/", {true, true, false, true, true, false, false});
}

TEST(EntryKinds, NothingThereAnswersFalseEverywhere) {
    Tree tree;
    auto& t = tree.t;
    for (const stdfs::path& path : {t / "missing", t / "file/below", t / "dangling/below",
                                    stdfs::path(), stdfs::path(std::string(5000, 'n'))})
        expectAnswers(path, kNothing);
}

TEST(EntryKinds, LinksAboveTheEntryAreFollowedByEveryRule) {
    Tree tree;
    auto& t = tree.t;
    writeFile(t / "folder/inner", "x");
    stdfs::create_symlink(t / "folder/inner", t / "folder/innerLink");
    expectAnswers(t / "folderLink/inner", {true, true, false, false, false, true, true});
    expectAnswers(t / "folderLink/innerLink", {true, true, true, false, false, false, true});
}

TEST(EntryKinds, AnEntryInAFolderThatMayNotBeSearchedIsNotThere) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "permissions do not stop root";
    Tree tree;
    auto& t = tree.t;
    writeFile(t / "closed/file", "x");
    stdfs::permissions(t / "closed", stdfs::perms::owner_read);
    const Answers inside = ask(t / "closed/file");
    const Answers folder = ask(t / "closed");
    const auto size = entrySizeNoFollow(t / "closed/file");
    stdfs::permissions(t / "closed", stdfs::perms::owner_all);
    EXPECT_FALSE(inside.exists || inside.existsFollowing || inside.link || inside.folder ||
                 inside.folderFollowing || inside.file || inside.fileFollowing);
    EXPECT_EQ(size, 0u);
    // The folder itself is still seen as one.
    EXPECT_TRUE(folder.folder);
}

TEST(EntrySize, IsTheEntrysOwnSize) {
    Tree tree;
    auto& t = tree.t;
    EXPECT_EQ(entrySizeNoFollow(t / "file"), 5u);
    struct stat st {};
    ASSERT_EQ(::lstat((t / "fileLink").c_str(), &st), 0);
    EXPECT_EQ(entrySizeNoFollow(t / "fileLink"), static_cast<std::uint64_t>(st.st_size));
    EXPECT_NE(entrySizeNoFollow(t / "fileLink"), 5u) << "the link's size, not its target's";
    EXPECT_EQ(entrySizeNoFollow(t / "dangling"), (t / "nowhere").string().size());
    EXPECT_EQ(entrySizeNoFollow(t / "missing"), 0u);
}

TEST(EntryKinds, NamesThatAreNotUtf8AreLookedAtAsTheyAre) {
    TempDir t;
    for (const auto& name : test::kOddNames) {
        writeFile(t / ("file-" + name), "abc");
        stdfs::create_directories(t / ("folder-" + name));
        stdfs::create_symlink(t / ("file-" + name), t / ("link-" + name));
    }
    for (const auto& name : test::kOddNames) {
        expectAnswers(t / ("file-" + name), {true, true, false, false, false, true, true});
        expectAnswers(t / ("folder-" + name), {true, true, false, true, true, false, false});
        expectAnswers(t / ("link-" + name), {true, true, true, false, false, false, true});
        EXPECT_EQ(entrySizeNoFollow(t / ("file-" + name)), 3u);
    }
    // The overlong "/" in one of the names is not read as a folder separator.
    expectAnswers(t / "file-g/h", kNothing);
}

} // namespace
} // namespace tpc::fs
