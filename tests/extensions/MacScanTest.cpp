// The scan on the macos layout: which categories are listed and in what order, what each takes,
// the sizes, the progress texts, the result line and the Extensions button's subtitle.

#include "ExtensionsHarness.h"

#include "extensions/DiskSize.h"
#include "extensions/ExtensionKeys.h"

namespace tpc::test::ext {
namespace {

using core::DictObj;
namespace ck = core::keys;
namespace ek = tpc::extensions::keys;

class MacScan : public ::testing::Test {
protected:
    ExtensionsHarness h;
    std::uint64_t block = 0;

    void SetUp() override {
        fs::create_directories(h.home());
        block = tpc::extensions::blockSizeForPath(h.home());
    }
    void scan() {
        h.start(platform::Layout::MacOS);
        h.scan();
    }
};

TEST_F(MacScan, CategoriesInOrderWithTheirConditionsAndTheFileManagersFileIgnored) {
    h.installApp("Contacts");
    h.installApp("Safari");
    // Dictionary is not installed: its category is not offered even with dictionaries present.
    makeBundle(h.system() / "Dictionaries/Fr.dictionary",
               DictObj::make({{"CFBundleName", "Fr"}, {"DCSDictionaryPrimaryLanguage", "fr"}}));
    writeFile(h.library() / "Address Book Plug-Ins/Dialer.bundle", "d");
    writeFile(h.library() / "Address Book Plug-Ins/.DS_Store", "x");
    // Folders holding nothing but the file manager's file bring no category.
    writeFile(h.system() / "QuickLook/.DS_Store", "x");
    writeFile(h.library() / "Widgets/.DS_Store", "x");
    // Only ".safariextz" files are extensions.
    writeFile(h.library() / "Safari/Extensions/Foo.safariextz", "f");
    writeFile(h.library() / "Safari/Extensions/Foo.zip", "z");
    scan();

    EXPECT_EQ(h.titles(),
              (std::vector<std::string>{"Contacts Plugins", "Safari Extensions", "Login Items"}));
    EXPECT_EQ(h.items("Contacts Plugins"), std::vector<std::string>{"Dialer.bundle"});
    EXPECT_EQ(h.items("Safari Extensions"), std::vector<std::string>{"Foo"});
    EXPECT_TRUE(h.items("Login Items").empty());
    EXPECT_EQ(h.statuses(), (std::vector<std::string>{
                                "Preparing...", "Scanning Contacts Plugins...",
                                "Scanning Internet Plugins...", "Scanning QuickLook Plugins...",
                                "Scanning Spotlight Plugins...", "Scanning Safari Extensions...",
                                "Scanning Widgets...", "Scanning Login Items...", "Done...", " "}));

    // The records as the page and presets read them.
    const auto root = h.category("Safari Extensions");
    EXPECT_TRUE(root->getBool(ck::IsRootItem));
    EXPECT_EQ(root->getInt(ck::ValueForDefaultSort), 2);
    EXPECT_EQ(core::path(root), (h.root() / "Applications/Safari.app").string());
    EXPECT_EQ(core::descriptionDictionary(h.category("Login Items"))->getString(ck::Icon),
              "Login Items.png");
    const auto foo = h.item("Safari Extensions", "Foo");
    EXPECT_EQ(core::path(foo), (h.library() / "Safari/Extensions/Foo.safariextz").string());
    EXPECT_EQ(core::size(foo), block);
    EXPECT_EQ(root->getString(ck::SizeFormattedString), core::getFormattedStringForSize(block));
    EXPECT_EQ(h.frontend.resultText(), core::totalsText(2 * block, 2));
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Extensions), "(2 Items found)");
}

TEST_F(MacScan, RulesDecideTheItemsButTheFolderAloneBringsTheCategory) {
    h.installApp("Dictionary");
    makeBundle(h.system() / "Dictionaries/En.dictionary",
               DictObj::make({{"CFBundleName", "En"}, {"DCSDictionaryPrimaryLanguage", "en"}}));
    // The user's plug-ins come before the system's, in one category.
    makeBundle(h.library() / "Internet Plug-Ins/Mine.plugin",
               DictObj::make({{"WebPluginName", "Mine Player"}}));
    makeBundle(h.dir / "elsewhere/Target.plugin",
               DictObj::make({{"WebPluginName", "Linked Player"}}));
    writeFile(h.dir / "elsewhere/Target.plugin/Contents/MacOS/big", std::string(3 * block, 'x'));
    fs::create_directories(h.system() / "Internet Plug-Ins");
    fs::create_symlink(h.dir / "elsewhere/Target.plugin",
                       h.system() / "Internet Plug-Ins/L.plugin");
    makeBundle(h.system() / "Internet Plug-Ins/Java.plugin",
               DictObj::make({{"WebPluginName", "Java Plug-in"}}));
    writeFile(h.system() / "StartupItems/Daemon/run", "r");
    h.loginItems->items = {"/Applications/Chat.app", "/Users/u/Tools/Sync.app/"};
    scan();

    // English dictionaries only: the category is shown with nothing in it.
    EXPECT_EQ(h.titles(),
              (std::vector<std::string>{"Dictionaries", "Internet Plugins", "Login Items"}));
    EXPECT_TRUE(h.items("Dictionaries").empty());
    EXPECT_EQ(h.items("Internet Plugins"),
              (std::vector<std::string>{"Mine Player", "Linked Player"}));
    // Judged by the bundle it leads to, measured as the link itself.
    EXPECT_EQ(
        core::size(h.item("Internet Plugins", "Linked Player")),
        tpc::extensions::roundUpToBlocks(
            static_cast<std::uint64_t>(ownSize(h.system() / "Internet Plug-Ins/L.plugin")), block));
    // Startup items first, then the session's login items, which take no room.
    EXPECT_EQ(h.items("Login Items"),
              (std::vector<std::string>{"Daemon Startup Item", "Chat", "Sync"}));
    const auto chat = h.item("Login Items", "Chat");
    EXPECT_EQ(chat->getString(ck::SizeFormattedString), "0.00 KB");
    EXPECT_TRUE(chat->getBool(ek::HasTargetFileDeleteOption));
    EXPECT_FALSE(h.item("Login Items", "Daemon Startup Item")->has(ek::HasTargetFileDeleteOption));
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Extensions), "(5 Items found)");
}

TEST_F(MacScan, NothingFoundLeavesNoSubtitleAndARescanStartsFromEmptyLists) {
    scan();
    EXPECT_EQ(h.titles(), std::vector<std::string>{"Login Items"});
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Extensions), std::nullopt);
    EXPECT_EQ(h.frontend.resultText(), core::totalsText(0, 0));

    writeFile(h.library() / "Widgets/Clock.wdgt/Info.plist", "x");
    h.driver().selectMainRow(0);
    h.scan();
    EXPECT_EQ(h.titles(), (std::vector<std::string>{"Widgets", "Login Items"}));
    EXPECT_EQ(h.driver().selectedMainRow(), -1);
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Extensions), "(1 Items found)");
}

TEST_F(MacScan, AnAbortKeepsWhatWasFoundAndSaysSo) {
    writeFile(h.library() / "Widgets/A.wdgt", "a");
    writeFile(h.system() / "StartupItems/Daemon", "d");
    h.frontend.abortOnStatus = "Scanning Login Items...";
    scan();
    // Stopped before the first startup item.
    EXPECT_EQ(h.titles(), (std::vector<std::string>{"Widgets", "Login Items"}));
    EXPECT_EQ(h.items("Widgets"), std::vector<std::string>{"A"});
    EXPECT_TRUE(h.items("Login Items").empty());
    EXPECT_EQ(h.frontend.resultText(), "Aborted");
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Extensions), std::nullopt);
    EXPECT_TRUE(h.flags().allScansAndCleansAborted());
}

} // namespace
} // namespace tpc::test::ext
