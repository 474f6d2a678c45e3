// The folder and preference-file categories of the macos layout: what they count, what their
// clean removes and what it leaves.

#include "SystemHarness.h"

#include "core/PropertyList.h"
#include "platform/SharedFileList.h"

#include <sys/stat.h>

namespace tpc::test::sys {
namespace {

std::uint64_t lsize(const fs::path& p) {
    struct stat st {};
    EXPECT_EQ(::lstat(p.c_str(), &st), 0) << p;
    return static_cast<std::uint64_t>(st.st_size);
}

TEST(SystemFolders, NestedLogFoldersCountOnceEachBesidesTheirFilesAndAreRemovedPlainly) {
    JunkFixture f;
    const auto logs = f.home() / "Library/Logs";
    writeFile(logs / "a.log", "12345");
    writeFile(logs / "sub/b.log", "xy");
    writeFile(logs / "sub/deeper/c.log", "z");
    const std::uint64_t bytes = lsize(logs / "a.log") + lsize(logs / "sub") +
                                lsize(logs / "sub/b.log") + lsize(logs / "sub/deeper") +
                                lsize(logs / "sub/deeper/c.log");

    const auto found = f.count(system::kLogs);
    EXPECT_EQ(found.count, 5u);
    EXPECT_EQ(found.size, bytes);

    f.clear(system::kLogs);
    EXPECT_TRUE(fs::is_directory(logs));
    EXPECT_TRUE(fs::is_empty(logs));
}

TEST(SystemFolders, ATrashThatIsAPlainFileCountsOneOfItsSizeAndStays) {
    JunkFixture f;
    writeFile(f.home() / ".Trash", std::string(1234, 'x'));
    const auto found = f.count(system::kTrash);
    EXPECT_EQ(found.count, 1u);
    EXPECT_EQ(found.size, 1234u);
    f.clear(system::kTrash);
    EXPECT_TRUE(fs::is_regular_file(f.home() / ".Trash"));
}

TEST(SystemFolders, AnEmptyDownloadsFolderCountsNothingAndItsCleanDeletesNothing) {
    JunkFixture f;
    fs::create_directories(f.home() / "Downloads");
    writeFile(f.home() / "outside.txt", "keep");
    EXPECT_EQ(f.count(system::kUserDownloads).count, 0u);
    f.clear(system::kUserDownloads);
    EXPECT_TRUE(fs::is_directory(f.home() / "Downloads"));
    EXPECT_TRUE(fs::exists(f.home() / "outside.txt"));
}

TEST(SystemFolders, EmptyingTrashAndDownloadsKeepsTheFoldersAndLinkTargets) {
    JunkFixture f;
    writeFile(f.home() / ".Trash/old.doc", "old");
    writeFile(f.home() / ".Trash/folder/inner.txt", "inner");
    writeFile(f.home() / "Documents/target.txt", "precious");
    fs::create_directories(f.home() / "Downloads");
    fs::create_symlink(f.home() / "Documents", f.home() / "Downloads/docs");
    writeFile(f.home() / "Downloads/setup.bin", "bin");

    EXPECT_EQ(f.count(system::kTrash).count, 3u);
    // The link counts as itself; nothing behind it is walked.
    EXPECT_EQ(f.count(system::kUserDownloads).count, 2u);

    f.clear(system::kTrash);
    f.clear(system::kUserDownloads);
    EXPECT_TRUE(fs::is_empty(f.home() / ".Trash"));
    EXPECT_TRUE(fs::is_empty(f.home() / "Downloads"));
    EXPECT_EQ(readFile(f.home() / "Documents/target.txt"), "precious");
}

TEST(SystemFolders, ApplicationAndServerRecentsComeFromTheRecentItemsPreferences) {
    JunkFixture f;
    auto item = [](const std::string& name) {
        return core::Value(core::DictObj::make(
            {{"Name", name}, {"Bookmark", core::Data(10, 0x2a)}, {"Icon", core::Data(3, 1)}}));
    };
    auto apps = core::ArrayObj::make({item("Editor"), item("Mail"), item("Terminal")});
    auto recentApps = core::DictObj::make(
        {{"Controller", "CustomListItems"}, {"CustomListItems", apps}, {"MaxAmount", 10}});
    auto recentServers = core::DictObj::make({{"Controller", "CustomListItems"}});
    auto plist = core::DictObj::make(
        {{"RecentApplications", recentApps}, {"RecentServers", recentServers}, {"Other", 1}});
    const auto file = f.home() / "Library/Preferences/com.apple.recentitems.plist";
    fs::create_directories(file.parent_path());
    const auto bytes = core::plist::toBinary(core::Value(plist));
    writeFile(file, std::string(bytes.begin(), bytes.end()));

    const auto found = f.count(system::kApplicationRecents);
    EXPECT_EQ(found.count, 3u);
    EXPECT_EQ(found.size, platform::sizeofCustomListItemsArrayElements(apps));
    EXPECT_GT(found.size, 0u);
    EXPECT_EQ(f.count(system::kRecentServerList).count, 0u);

    f.clear(system::kApplicationRecents);
    const auto after = core::plist::readFile(file);
    ASSERT_TRUE(after && after->dict());
    EXPECT_FALSE(after->dict()->has("RecentApplications"));
    EXPECT_TRUE(after->dict()->has("RecentServers"));
    EXPECT_EQ(f.count(system::kApplicationRecents).count, 0u);
}

TEST(SystemFolders, FinderRecentFolderSizesAddNameAndBookmarkLengths) {
    auto items =
        core::ArrayObj::make({core::Value(core::DictObj::make(
                                  {{"name", "Doc\xC3\xA9"}, {"file-bookmark", core::Data(7)}})),
                              core::Value(core::DictObj::make({{"name", "x"}}))});
    EXPECT_EQ(system::SystemJunk::sizeofFXRecentFoldersArrayElements(items), 4u + 7u + 1u);
    EXPECT_EQ(system::SystemJunk::sizeofFXRecentFoldersArrayElements(core::ArrayObj::make()), 0u);
}

} // namespace
} // namespace tpc::test::sys
