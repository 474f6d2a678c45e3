// The deletion engine refusing items whose folder path has a link in the privileged helper's mode
// (opening such folders is tested with the file-system layer).
#include "core/Clock.h"
#include "core/SystemLog.h"
#include "erase/Deleter.h"
#include "support/FakeClock.h"
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

struct LinkedFolder {
    TempDir t;
    std::atomic<bool> abort{false};
    std::int64_t option = -1;
    ::tpc::test::FakeClock clock;
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
