#include "fs/TreeMeasure.h"

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

std::uint64_t linkSize(const stdfs::path& p) {
    struct stat st {};
    EXPECT_EQ(::lstat(p.c_str(), &st), 0) << p;
    return static_cast<std::uint64_t>(st.st_size);
}

std::size_t openDescriptors() {
    return static_cast<std::size_t>(
        std::distance(stdfs::directory_iterator("/proc/self/fd"), stdfs::directory_iterator()));
}

TEST(TreeMeasureTest, CountsEveryEntryBelowAFolderButNotTheFolderItself) {
    TempDir dir;
    writeFile(dir / "outside", std::string(100000, 'x'));
    const auto top = dir / "top";
    writeFile(top / "a", "12345");
    writeFile(top / "sub/b", "1234567");
    writeFile(top / "sub/deeper/c", "");
    stdfs::create_directory(top / "empty");
    stdfs::create_symlink(dir / "outside", top / "link");
    stdfs::create_directory_symlink(dir.path(), top / "sub/loop");
    ASSERT_EQ(::mkfifo((top / "fifo").c_str(), 0600), 0);

    std::uint64_t expected = 0;
    for (const char* rel :
         {"a", "sub", "sub/b", "sub/deeper", "sub/deeper/c", "empty", "link", "sub/loop", "fifo"})
        expected += linkSize(top / rel);
    int asked = 0;
    const auto totals = measureTreeNoFollow(top.string(), [&] { return ++asked, false; });
    EXPECT_EQ(totals.count, 9u);
    EXPECT_EQ(totals.bytes, expected);
    EXPECT_TRUE(totals.complete);
    EXPECT_EQ(asked, 9); // once before every entry

    // A trailing slash names the same folder.
    EXPECT_EQ(measureTreeNoFollow(top.string() + "/").count, 9u);
}

TEST(TreeMeasureTest, AnythingButAFolderCountsAsItself) {
    TempDir dir;
    writeFile(dir / "file", "123456");
    stdfs::create_directory_symlink(dir.path(), dir / "folderLink");
    const auto file = measureTreeNoFollow((dir / "file").string());
    EXPECT_EQ(file.count, 1u);
    EXPECT_EQ(file.bytes, 6u);
    const auto link = measureTreeNoFollow((dir / "folderLink").string());
    EXPECT_EQ(link.count, 1u);
    EXPECT_EQ(link.bytes, linkSize(dir / "folderLink"));

    for (const std::string& missing : {(dir / "missing").string(), std::string()}) {
        const auto none = measureTreeNoFollow(missing);
        EXPECT_EQ(none.count, 0u);
        EXPECT_EQ(none.bytes, 0u);
        EXPECT_TRUE(none.complete);
    }
}

TEST(TreeMeasureTest, AbortStopsTheWalkWithWhatWasMet) {
    TempDir dir;
    for (int i = 0; i < 20; ++i)
        writeFile(dir / "top" / ("f" + std::to_string(i)), "x");
    int asked = 0;
    const auto totals = measureTreeNoFollow((dir / "top").string(), [&] { return ++asked > 5; });
    EXPECT_FALSE(totals.complete);
    EXPECT_EQ(totals.count, 5u);
    EXPECT_EQ(totals.bytes, 5u);

    const auto file = measureTreeNoFollow((dir / "top/f0").string(), [] { return true; });
    EXPECT_FALSE(file.complete);
    EXPECT_EQ(file.count, 0u);
}

TEST(TreeMeasureTest, DeepTreesAreWalkedWholeWithFewDescriptors) {
    // Every level holds the chain's next folder "a" and a side folder "b" with one file, so the
    // walk must come back to levels whose descriptors were closed on the way down.
    TempDir dir;
    constexpr int depth = 100;
    stdfs::path level = dir / "top";
    for (int i = 0; i < depth; ++i) {
        writeFile(level / "b/file", "xy");
        level /= "a";
    }
    stdfs::create_directories(level);

    const std::size_t before = openDescriptors();
    std::size_t most = 0;
    int asked = 0;
    const auto totals = measureTreeNoFollow((dir / "top").string(), [&] {
        if (++asked % 8 == 0)
            most = std::max(most, openDescriptors());
        return false;
    });
    EXPECT_TRUE(totals.complete);
    EXPECT_EQ(totals.count, depth * 3u); // a, b, b/file at every level
    EXPECT_LT(most, before + 64);
    EXPECT_EQ(openDescriptors(), before);
}

TEST(TreeMeasureTest, AFolderThatCannotBeOpenedCountsOnlyItself) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "permissions do not stop root";
    TempDir dir;
    writeFile(dir / "top/closed/hidden", "12345");
    stdfs::permissions(dir / "top/closed", stdfs::perms::none);
    const auto totals = measureTreeNoFollow((dir / "top").string());
    stdfs::permissions(dir / "top/closed", stdfs::perms::owner_all);
    EXPECT_EQ(totals.count, 1u);
    EXPECT_EQ(totals.bytes, linkSize(dir / "top/closed"));
}

TEST(TreeMeasureTest, MeasureFolderLeavesOutSkippedNamesAndNeverFollowsItsOwnPlace) {
    TempDir dir;
    writeFile(dir / "top/keep", "12345");
    writeFile(dir / "top/LOCK", "1");
    writeFile(dir / "top/skipped/deep", std::string(50, 'x'));
    writeFile(dir / "top/sub/skipped", "12"); // only the top level's names are left out
    const auto totals = measureFolderNoFollow((dir / "top").string(), {"LOCK", "skipped"});
    EXPECT_EQ(totals.count, 3u);
    EXPECT_EQ(totals.bytes, 5u + linkSize(dir / "top/sub") + 2u);
    EXPECT_TRUE(totals.complete);

    // A link in the folder's place, a file, or nothing at all: nothing to empty.
    stdfs::create_directory_symlink(dir / "top", dir / "link");
    for (const auto& nothing : {dir / "link", dir / "top/keep", dir / "missing"}) {
        const auto none = measureFolderNoFollow(nothing.string());
        EXPECT_EQ(none.count, 0u) << nothing;
        EXPECT_EQ(none.bytes, 0u) << nothing;
    }
    // A link above the folder is the caller's.
    EXPECT_EQ(measureFolderNoFollow((dir / "link/sub").string()).count, 1u);
}

TEST(TreeMeasureTest, NamesThatAreNotUtf8AreCounted) {
    TempDir dir;
    for (const auto& name : test::kOddNames)
        writeFile(dir / "top" / name / name, "abc");
    const auto totals = measureTreeNoFollow((dir / "top").string());
    EXPECT_EQ(totals.count, 2 * test::kOddNames.size());
    EXPECT_EQ(measureFolderNoFollow((dir / "top").string(), {test::kOddNames[0]}).count,
              2 * test::kOddNames.size() - 2);
}

} // namespace
} // namespace tpc::fs
