// The System page's folders found to be symbolic links to other folders: the trash's "files" and
// "info", the Trash and Downloads folders themselves. A link counts as nothing, and neither it nor
// anything behind it is touched.

#include "SystemHarness.h"

namespace tpc::test::sys {
namespace {

// Two files behind every link the tests make, and what they must still hold.
struct Outside {
    explicit Outside(const fs::path& at) : folder(at) {
        writeFile(folder / "a.txt.trashinfo", "[Trash Info]\nPath=/precious\n");
        writeFile(folder / "a.txt", "precious");
    }
    void expectUntouched() const {
        EXPECT_EQ(readFile(folder / "a.txt.trashinfo"), "[Trash Info]\nPath=/precious\n");
        EXPECT_EQ(readFile(folder / "a.txt"), "precious");
    }
    fs::path folder;
};

bool isLink(const fs::path& path) {
    return fs::is_symlink(fs::symlink_status(path));
}

TEST(SystemFolderLinks, TrashInfoThatIsALinkLeavesWhatItPointsToAndTheTrashAlone) {
    JunkFixture f(platform::Layout::Linux);
    const auto trash = f.platform.trash();
    Outside outside(f.dir.path() / "outside");
    writeFile(trash / "files/a.txt", "aaa");
    fs::create_directory_symlink(outside.folder, trash / "info");

    f.clear(system::kTrash);
    outside.expectUntouched();
    EXPECT_TRUE(isLink(trash / "info"));
    // An item goes only together with its info entry.
    EXPECT_EQ(readFile(trash / "files/a.txt"), "aaa");
}

TEST(SystemFolderLinks, TrashFilesThatIsALinkCountsNothingAndKeepsTheInfoEntries) {
    JunkFixture f(platform::Layout::Linux);
    const auto trash = f.platform.trash();
    Outside outside(f.dir.path() / "outside");
    fs::create_directories(trash);
    fs::create_directory_symlink(outside.folder, trash / "files");
    writeFile(trash / "info/gone.trashinfo", "[Trash Info]\nPath=/gone\n");

    EXPECT_EQ(f.count(system::kTrash).count, 0u);
    f.clear(system::kTrash);
    outside.expectUntouched();
    EXPECT_TRUE(isLink(trash / "files"));
    EXPECT_TRUE(fs::exists(trash / "info/gone.trashinfo"));
}

TEST(SystemFolderLinks, TrashAndDownloadsThatAreLinksCountNothingAndStay) {
    for (auto layout : {platform::Layout::MacOS, platform::Layout::Linux}) {
        SCOPED_TRACE(layout == platform::Layout::MacOS ? "macos" : "linux");
        JunkFixture f(layout);
        Outside outside(f.dir.path() / "outside");
        std::vector<fs::path> links{f.platform.downloads()};
        std::vector<const char*> names{system::kUserDownloads};
        if (layout == platform::Layout::MacOS) {
            links.push_back(f.platform.trash());
            names.push_back(system::kTrash);
            links.push_back(f.home() / "Library/Logs");
            names.push_back(system::kLogs);
        }
        for (const auto& link : links) {
            fs::create_directories(link.parent_path());
            fs::create_directory_symlink(outside.folder, link);
        }
        for (const char* name : names) {
            SCOPED_TRACE(name);
            EXPECT_EQ(f.count(name).count, 0u);
            EXPECT_EQ(f.count(name).size, 0u);
            f.clear(name);
        }
        for (const auto& link : links)
            EXPECT_TRUE(isLink(link)) << link;
        outside.expectUntouched();
    }
}

TEST(SystemFolderLinks, TrashedItemsWhoseNamesAreNotUtf8GoWithTheirInfo) {
    JunkFixture f(platform::Layout::Linux);
    const auto trash = f.platform.trash();
    const std::string odd = "a\xff"
                            "b";
    writeFile(trash / "files" / odd / "x", "x");
    writeFile(trash / "info" / (odd + ".trashinfo"), "[Trash Info]\nPath=/a%FFb\n");
    // What a name cut at the bad byte would reach.
    writeFile(trash / "files/a", "other");
    writeFile(trash / "info/a.trashinfo", "[Trash Info]\nPath=/a\n");

    EXPECT_EQ(f.count(system::kTrash).count, 3u);
    f.clear(system::kTrash);
    EXPECT_TRUE(fs::is_empty(trash / "files"));
    EXPECT_TRUE(fs::is_empty(trash / "info"));
}

} // namespace
} // namespace tpc::test::sys
