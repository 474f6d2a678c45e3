// The linux layout: recent documents and places from recently-used.xbel, the freedesktop trash
// and the session logs.

#include "SystemHarness.h"

#include "platform/RecentFiles.h"

namespace tpc::test::sys {
namespace {

std::string bookmark(const std::string& href, const std::string& mime) {
    return "  <bookmark href=\"" + href +
           "\" added=\"2024-01-01T10:00:00Z\" modified=\"2024-01-01T10:00:00Z\" "
           "visited=\"2024-01-01T10:00:00Z\">\n"
           "    <info><metadata owner=\"http://freedesktop.org\">\n"
           "      <mime:mime-type type=\"" +
           mime +
           "\"/>\n"
           "      <bookmark:applications><bookmark:application name=\"Files\" exec=\"'files'\" "
           "modified=\"2024-01-01T10:00:00Z\" count=\"1\"/></bookmark:applications>\n"
           "    </metadata></info>\n  </bookmark>\n";
}

void writeRecentlyUsed(const fs::path& file) {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xbel version=\"1.0\"\n"
        "  xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\"\n"
        "  xmlns:mime=\"http://www.freedesktop.org/standards/shared-mime-info\">\n";
    for (const auto* name : {"a.txt", "b.pdf", "c.odt", "d.png"})
        text += bookmark(std::string("file:///home/u/") + name, "text/plain");
    text += bookmark("file:///home/u/Music", "inode/directory");
    text += bookmark("file:///home/u/Projects", "inode/directory");
    writeFile(file, text + "</xbel>\n");
}

TEST(SystemLinux, RecentDocumentsAndPlacesAreTheFileAndFolderBookmarks) {
    JunkFixture f(platform::Layout::Linux);
    const auto file = f.platform.recentlyUsedFile();
    writeRecentlyUsed(file);
    EXPECT_EQ(f.count(system::kRecentDocuments).count, 4u);
    EXPECT_EQ(f.count(system::kRecentPlaces).count, 2u);

    f.clear(system::kRecentDocuments);
    const auto left = platform::RecentFiles(file).read();
    ASSERT_TRUE(left);
    ASSERT_EQ(left->size(), 2u);
    EXPECT_EQ((*left)[0].href, "file:///home/u/Music");
    EXPECT_EQ((*left)[1].href, "file:///home/u/Projects");
    EXPECT_EQ(f.count(system::kRecentDocuments).count, 0u);
    EXPECT_EQ(f.count(system::kRecentPlaces).count, 2u);

    // Lists only the macos desktop keeps.
    EXPECT_EQ(f.count(system::kApplicationRecents).count, 0u);
    f.clear(system::kRecentServerList);
}

struct TrashFixture : JunkFixture {
    TrashFixture() : JunkFixture(platform::Layout::Linux) {
        writeFile(trash / "files/a.txt", "aaa");
        writeFile(trash / "files/my dir/x", "x");
        writeFile(home() / "target.txt", "precious");
        fs::create_symlink(home() / "target.txt", trash / "files/link");
        for (const auto* name : {"a.txt", "my dir", "link", "orphan"})
            writeFile(trash / "info" / (std::string(name) + ".trashinfo"),
                      "[Trash Info]\nPath=/x\nDeletionDate=2024-01-01T00:00:00\n");
        writeFile(trash / "directorysizes", "4096 1700000000 my%20dir\n512 1700000000 gone\n");
    }
    fs::path trash = platform.trash();
};

TEST(SystemLinux, EmptyingTheTrashRemovesLinksAsLinksWithTheirInfoAndTheSizeCache) {
    TrashFixture f;
    // a.txt, "my dir", "my dir/x" and the link itself.
    EXPECT_EQ(f.count(system::kTrash).count, 4u);

    f.clear(system::kTrash);
    EXPECT_TRUE(fs::is_directory(f.trash / "files"));
    EXPECT_TRUE(fs::is_empty(f.trash / "files"));
    EXPECT_TRUE(fs::is_empty(f.trash / "info"));
    EXPECT_FALSE(fs::exists(f.trash / "directorysizes"));
    EXPECT_EQ(readFile(f.home() / "target.txt"), "precious");
    EXPECT_EQ(f.count(system::kTrash).count, 0u);
}

TEST(SystemLinux, AnInterruptedEmptyKeepsTheInfoAndCachedSizesOfWhatIsLeft) {
    TrashFixture f;
    // The clean's abort stops the deletion engine before the first item.
    f.abortCleaning = true;
    f.clear(system::kTrash);
    EXPECT_TRUE(fs::exists(f.trash / "files/a.txt"));
    EXPECT_TRUE(fs::exists(f.trash / "info/a.txt.trashinfo"));
    EXPECT_TRUE(fs::exists(f.trash / "info/my dir.trashinfo"));
    EXPECT_EQ(readFile(f.trash / "directorysizes"), "4096 1700000000 my%20dir\n");
}

TEST(SystemLinux, LogsAreTheSessionErrorFilesAndServerLogs) {
    JunkFixture f(platform::Layout::Linux);
    writeFile(f.home() / ".xsession-errors", "12");
    writeFile(f.home() / ".xsession-errors.old", "3");
    writeFile(f.platform.xdgDataHome() / "xorg/Xorg.0.log", "4567");
    writeFile(f.platform.xdgDataHome() / "xorg/keep.conf", "k");
    const auto found = f.count(system::kLogs);
    EXPECT_EQ(found.count, 3u);
    EXPECT_EQ(found.size, 7u);

    f.clear(system::kLogs);
    EXPECT_FALSE(fs::exists(f.home() / ".xsession-errors"));
    EXPECT_FALSE(fs::exists(f.home() / ".xsession-errors.old"));
    EXPECT_FALSE(fs::exists(f.platform.xdgDataHome() / "xorg/Xorg.0.log"));
    EXPECT_TRUE(fs::exists(f.platform.xdgDataHome() / "xorg/keep.conf"));
}

} // namespace
} // namespace tpc::test::sys
