// Reaching a listed item's folder without following links (the privileged helper's rule), and
// the deletion engine refusing items whose folder path has a link in that mode.
#include "core/Clock.h"
#include "core/SystemLog.h"
#include "erase/Deleter.h"
#include "erase/FileWalk.h"
#include "support/TempDir.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tpc::erase {
namespace {

namespace fs = std::filesystem;
using tpc::test::readFile;
using tpc::test::TempDir;
using tpc::test::writeFile;

bool sameFolder(const UniqueFd& fd, const fs::path& folder) {
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
    UniqueFd open(const fs::path& folder, FolderOpenFailure& failure) {
        return GetParam()(folder.string(), failure);
    }
};

INSTANTIATE_TEST_SUITE_P(KernelOrWalk, OpenFolderWithoutLinks,
                         ::testing::Values(&openFolderWithoutLinks, &walkFolderWithoutLinks));

TEST_P(OpenFolderWithoutLinks, OpensRealFoldersAllTheWayDown) {
    TempDir t;
    fs::create_directories(t / "a/b c/.hidden/d");
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
    fs::create_directories(t / "real/inner/deep");
    fs::create_directory_symlink(t / "real", t / "top-link");
    fs::create_directory_symlink(t / "real/inner", t / "real/mid-link");
    fs::create_directory_symlink(t / "real/inner", t / "real/inner/deep/last-link");
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
    fs::create_directories(t / "dir");
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

struct LinkedFolder {
    TempDir t;
    std::atomic<bool> abort{false};
    std::int64_t option = -1;
    core::FakeClock clock;
    core::SystemLog log{false};
    // "victim" stands for a folder the requesting user may not change; "via" leads to it.
    LinkedFolder() {
        writeFile(t / "victim/plain", "plain data");
        writeFile(t / "victim/sub/inner", "inner data");
        writeFile(t / "own/file", "own data");
        fs::create_directory_symlink(t / "victim", t / "via");
        fs::create_directory_symlink(t / "own", t / "own-link");
    }
    Deleter deleter(bool refuseFolderLinks) {
        return Deleter(DeleterEnv{.abortCleaning = abort,
                                  .deletionOption = [this] { return option; },
                                  .clock = clock,
                                  .log = log,
                                  .refuseFolderLinks = refuseFolderLinks});
    }
    std::string path(const std::string& rel) const { return (t / rel).string(); }
    bool logged(const std::string& text) {
        auto lines = log.lines();
        return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
            return line.find(text) != std::string::npos;
        });
    }
};

TEST(DeleterFolderLinks, RefusedInHelperModeWhetherDeletingOrErasing) {
    LinkedFolder f;
    Deleter d = f.deleter(true);
    d.simpleDeleteFiles({f.path("via/plain"), f.path("via/sub")});
    f.option = 2;
    d.eraseFiles({f.path("via/plain"), f.path("via/sub/inner")});
    d.fillFilePath(f.path("via/plain"), 10);
    EXPECT_EQ(readFile(f.t / "victim/plain"), "plain data");
    EXPECT_EQ(readFile(f.t / "victim/sub/inner"), "inner data");
    EXPECT_TRUE(f.logged("Error removing item:" + f.path("via/plain")));
    EXPECT_TRUE(f.logged("Folder " + f.path("via") + " is a symbolic link"));
    EXPECT_TRUE(f.logged("Error removing item:" + f.path("via/sub/inner")));

    // Real folders are still served, and the item itself may be a link (removed as one).
    d.eraseFiles({f.path("own/file"), f.path("own-link")});
    EXPECT_FALSE(fs::exists(f.t / "own/file"));
    EXPECT_FALSE(fs::is_symlink(f.t / "own-link"));
    EXPECT_TRUE(fs::is_directory(f.t / "own"));
}

TEST(DeleterFolderLinks, FollowedByTheApplication) {
    // The application's own rule: links in a listed item's folder path are the caller's.
    LinkedFolder f;
    f.deleter(false).simpleDeleteFiles({f.path("via/plain")});
    EXPECT_FALSE(fs::exists(f.t / "victim/plain"));
}

} // namespace
} // namespace tpc::erase
