// Removal on the macos layout: only marked items of marked categories, Safari's registry edit,
// startup items and login items, and the sorting and marking of the two lists.

#include "ExtensionsHarness.h"

#include "extensions/ExtensionKeys.h"
#include "extensions/SafariRegistry.h"

#include <sys/stat.h>

namespace tpc::test::ext {
namespace {

using core::DictObj;
using core::SortChoice;
namespace ek = tpc::extensions::keys;

struct stat statOf(const fs::path& p) {
    struct stat st {};
    EXPECT_EQ(::lstat(p.c_str(), &st), 0) << p;
    return st;
}

// Safari's registry listing `names`.
void writeRegistry(const fs::path& file, const std::vector<std::string>& names) {
    auto installed = core::ArrayObj::make();
    for (const auto& name : names)
        installed->append(Value(DictObj::make({{ek::ArchiveFileName, name}, {"Enabled", true}})));
    writePlist(file, DictObj::make({{ek::InstalledExtensions, Value(installed)}, {"Version", 1}}));
}

std::vector<std::string> registryNames(const fs::path& file) {
    std::vector<std::string> out;
    auto read = core::plist::readFile(file);
    if (!read)
        return out;
    for (const auto& e : read->dict()->getArray(ek::InstalledExtensions)->dicts())
        out.push_back(e->getString(ek::ArchiveFileName));
    return out;
}

class MacClean : public ::testing::Test {
protected:
    ExtensionsHarness h;
    fs::path safari() const { return h.library() / "Safari/Extensions"; }

    void SetUp() override {
        h.installApp("Safari");
        writeFile(safari() / "Ad.safariextz", "a");
        writeFile(safari() / "Bar.safariextz", "b");
        writeFile(safari() / "Gone.safariextz", "g");
        writeRegistry(safari() / "Extensions.plist", {"Bar.safariextz", "Ad.safariextz"});
        ::chmod((safari() / "Extensions.plist").c_str(), 0604);
        writeFile(h.library() / "Widgets/Clock.wdgt", "c");
        writeFile(h.library() / "Widgets/Notes.wdgt", "n");
        writeFile(h.system() / "StartupItems/Daemon", "d");
        h.installApp("Chat");
        h.loginItems->items = {(h.root() / "Applications/Chat.app").string()};
        h.start(platform::Layout::MacOS);
        h.scan();
    }
};

TEST_F(MacClean, OnlyMarkedItemsOfMarkedCategoriesGo) {
    const auto before = statOf(safari() / "Extensions.plist");
    // Safari: marked with its item. Widgets: an item marked, the category not.
    ASSERT_TRUE(h.driver().markOnly({"Safari Extensions/Ad", "Widgets/Clock"}).empty());
    core::setMark(h.category("Widgets"), false);
    h.clean();

    EXPECT_FALSE(fs::exists(safari() / "Ad.safariextz"));
    EXPECT_TRUE(fs::exists(safari() / "Bar.safariextz"));
    EXPECT_TRUE(fs::exists(h.library() / "Widgets/Clock.wdgt"));
    // The registry lost exactly that entry and kept its mode.
    EXPECT_EQ(registryNames(safari() / "Extensions.plist"),
              std::vector<std::string>{"Bar.safariextz"});
    const auto after = statOf(safari() / "Extensions.plist");
    EXPECT_EQ(after.st_mode & 07777, 0604u);
    EXPECT_EQ(after.st_uid, before.st_uid);

    // The rescan shows what is left, unmarked.
    EXPECT_EQ(h.items("Safari Extensions"), (std::vector<std::string>{"Bar", "Gone"}));
    EXPECT_EQ(h.frontend.resultText(), "Cleaning Done");
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Extensions), "(6 Items found)");
}

TEST_F(MacClean, AMarkedCategoryWithoutMarkedItemsRemovesNothing) {
    ASSERT_TRUE(h.driver().markOnly({"Widgets"}).empty());
    h.frontend.clear();
    h.clean();
    EXPECT_EQ(namesIn(h.library() / "Widgets"),
              (std::vector<std::string>{"Clock.wdgt", "Notes.wdgt"}));
    const auto shown = h.statuses();
    EXPECT_NE(std::find(shown.begin(), shown.end(), "Cleaning Widgets..."), shown.end());
    EXPECT_EQ(std::find(shown.begin(), shown.end(), "Cleaning Login Items..."), shown.end());
}

TEST_F(MacClean, ARegistryWithoutTheEntryIsNotRewritten) {
    const auto before = statOf(safari() / "Extensions.plist");
    h.cleanOnly({"Safari Extensions/Gone"});
    EXPECT_FALSE(fs::exists(safari() / "Gone.safariextz"));
    const auto after = statOf(safari() / "Extensions.plist");
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(registryNames(safari() / "Extensions.plist"),
              (std::vector<std::string>{"Bar.safariextz", "Ad.safariextz"}));

    // Nor is one that is a link.
    fs::rename(safari() / "Extensions.plist", h.dir / "kept.plist");
    fs::create_symlink(h.dir / "kept.plist", safari() / "Extensions.plist");
    EXPECT_FALSE(
        tpc::extensions::removeSafariExtensionFromPListAtPath(safari() / "Bar.safariextz"));
    EXPECT_TRUE(fs::is_symlink(safari() / "Extensions.plist"));
    EXPECT_EQ(registryNames(h.dir / "kept.plist").size(), 2u);
}

TEST_F(MacClean, LoginItemsLeaveTheListAndStartupItemsAreDeleted) {
    h.cleanOnly({"Login Items/Chat", "Login Items/Daemon Startup Item"});
    EXPECT_TRUE(h.loginItems->items.empty());
    EXPECT_TRUE(fs::is_directory(h.root() / "Applications/Chat.app"));
    EXPECT_FALSE(fs::exists(h.system() / "StartupItems/Daemon"));
    EXPECT_TRUE(h.items("Login Items").empty());
}

TEST_F(MacClean, SortingTwiceReversesAndMarkingIsPerList) {
    auto& d = h.driver();
    core::setSize(h.category("Widgets"), 10);
    core::setSize(h.category("Login Items"), 30);
    core::setSize(h.category("Safari Extensions"), 20);
    const std::vector<std::string> big{"Login Items", "Safari Extensions", "Widgets"};
    const std::vector<std::string> small{big.rbegin(), big.rend()};
    // Largest first, then smallest first; A to Z, then Z to A.
    for (auto [choice, first, second] :
         {std::tuple(SortChoice::Size, big, small), std::tuple(SortChoice::Name, big, small)}) {
        d.extMainListPopUpButtonClicked(choice);
        EXPECT_EQ(h.titles(), first);
        d.extMainListPopUpButtonClicked(choice);
        EXPECT_EQ(h.titles(), second);
        EXPECT_EQ(d.reflectPopUpButtonTitleInExtMainList(), choice);
    }
    d.extMainListPopUpButtonClicked(SortChoice::Default);
    EXPECT_EQ(h.titles(),
              (std::vector<std::string>{"Safari Extensions", "Widgets", "Login Items"}));

    // The sub list sorts and marks only while a category is selected.
    d.markAllExtSubList(true);
    EXPECT_EQ(core::countMarked(core::subList(h.category("Widgets"))), 0u);
    d.selectMainRow(1);
    d.extSubListPopUpButtonClicked(SortChoice::Name);
    d.extSubListPopUpButtonClicked(SortChoice::Name);
    EXPECT_EQ(h.items("Widgets"), (std::vector<std::string>{"Notes", "Clock"}));
    d.extSubListCheckBoxButtonClicked(core::CheckState::Mixed);
    EXPECT_EQ(d.reflectMarkStatusInExtSubList(), core::CheckState::On);
    // Marking items leaves the categories alone, and the reverse.
    EXPECT_FALSE(d.enableOrDisableExtScanAndCleanButton());
    d.setRowMark(0, true);
    EXPECT_EQ(d.reflectMarkStatusInExtMainList(), core::CheckState::Mixed);
    EXPECT_TRUE(d.enableOrDisableExtScanAndCleanButton());
    EXPECT_EQ(core::countMarked(core::subList(h.category("Safari Extensions"))), 0u);
    // A new sort of the main list drops its selection.
    d.extMainListPopUpButtonClicked(SortChoice::Name);
    EXPECT_EQ(d.selectedMainRow(), -1);
}

} // namespace
} // namespace tpc::test::ext
