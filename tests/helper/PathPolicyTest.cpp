#include "helper/PathPolicy.h"

#include "support/TempDir.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace tpc::test {
namespace {

using helper::parentFolderProblem;
using helper::pathTextProblem;

TEST(PathPolicy, AcceptsAbsoluteNormalisedPaths) {
    for (const char* path : {"/a", "/var/log/x.log", "/home/u/.cache/some dir/f", "/a/b c/d-e_f",
                             "/a/...", "/a/.hidden", "/a/..x"})
        EXPECT_FALSE(pathTextProblem(path)) << path;
}

TEST(PathPolicy, RefusesEverythingElse) {
    for (const char* path : {"", "/", "relative", "a/b", "./a", "//a", "/a//b", "/a/", "/a/b/",
                             "/a/./b", "/a/../b", "/..", "/.", "/a/.", "/a/.."})
        EXPECT_TRUE(pathTextProblem(path)) << '"' << path << '"';
}

TEST(PathPolicy, RefusesZeroBytesAndOverlongPaths) {
    EXPECT_TRUE(pathTextProblem(std::string("/a\0b", 4)));
    std::string longPath;
    while (longPath.size() + 11 <= helper::kMaxPathLength)
        longPath += "/0123456789";
    EXPECT_FALSE(pathTextProblem(longPath));
    EXPECT_TRUE(pathTextProblem(longPath + "/0123456789"));
    EXPECT_TRUE(pathTextProblem("/" + std::string(helper::kMaxNameLength + 1, 'x')));
    EXPECT_FALSE(pathTextProblem("/" + std::string(helper::kMaxNameLength, 'x')));
}

TEST(PathPolicy, RefusesTextThatIsNotUtf8) {
    EXPECT_FALSE(pathTextProblem("/home/u/caf\xC3\xA9/\xE2\x82\xAC"));
    for (const char* path : {"/a\xFF"
                             "b",
                             "/a/\xC3", "/\xC0\xAF", "/\xED\xA0\x80"})
        EXPECT_EQ(pathTextProblem(path), "the path is not valid UTF-8") << path;
}

TEST(PathPolicy, FoldersAboveMustBeRealFolders) {
    TempDir tmp;
    std::filesystem::create_directories(tmp / "real/inner");
    writeFile(tmp / "real/inner/file", "x");
    std::filesystem::create_directory_symlink(tmp / "real", tmp / "link");
    std::filesystem::create_symlink(tmp / "real/inner/file", tmp / "real/inner/filelink");

    EXPECT_FALSE(parentFolderProblem((tmp / "real/inner/file").string()));
    // The item itself may be a link (it is removed as a link).
    EXPECT_FALSE(parentFolderProblem((tmp / "real/inner/filelink").string()));
    // The item need not exist.
    EXPECT_FALSE(parentFolderProblem((tmp / "real/inner/missing").string()));

    auto viaLink = parentFolderProblem((tmp / "link/inner/file").string());
    ASSERT_TRUE(viaLink);
    EXPECT_NE(viaLink->find("symbolic link"), std::string::npos);
    EXPECT_TRUE(parentFolderProblem((tmp / "missing/file").string()));
    EXPECT_TRUE(parentFolderProblem((tmp / "real/inner/file/below").string()));
}

} // namespace
} // namespace tpc::test
