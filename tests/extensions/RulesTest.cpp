// The size on disk and the inclusion and name rules, on bundles made in a temporary folder.

#include "ExtensionsHarness.h"

#include "extensions/BundleRules.h"
#include "extensions/DiskSize.h"
#include "extensions/LaunchAgentRules.h"

#include <sys/statfs.h>

namespace tpc::test::ext {
namespace {

using namespace tpc::extensions;
using core::DictObj;

std::uint64_t blockOf(const fs::path& path) {
    struct statfs st {};
    EXPECT_EQ(::statfs(path.c_str(), &st), 0);
    return static_cast<std::uint64_t>(st.f_bsize);
}

TEST(ExtensionDiskSize, RoundsEveryFileUpToWholeBlocks) {
    EXPECT_EQ(roundUpToBlocks(0, 4096), 0u);
    EXPECT_EQ(roundUpToBlocks(1, 4096), 4096u);
    EXPECT_EQ(roundUpToBlocks(4096, 4096), 4096u);
    EXPECT_EQ(roundUpToBlocks(4097, 4096), 8192u);
    EXPECT_EQ(roundUpToBlocks(4097, 0), 4097u);

    TempDir dir;
    const std::uint64_t block = blockOf(dir.path());
    writeFile(dir / "one", "x");
    writeFile(dir / "full", std::string(block, 'x'));
    writeFile(dir / "over", std::string(block + 1, 'x'));
    EXPECT_EQ(onDiskSizeForPath(dir / "one"), block);
    EXPECT_EQ(onDiskSizeForPath(dir / "full"), block);
    EXPECT_EQ(onDiskSizeForPath(dir / "over"), 2 * block);
    EXPECT_EQ(onDiskSizeForPath(dir / "missing"), 0u);

    // A bundle: each file rounded on its own, folders adding nothing, links inside not followed.
    writeFile(dir / "B.plugin/Contents/Info.plist", "x");
    writeFile(dir / "B.plugin/Contents/MacOS/b", std::string(block + 1, 'x'));
    fs::create_directories(dir / "B.plugin/Contents/Empty");
    fs::create_symlink(dir / "over", dir / "B.plugin/Contents/link");
    EXPECT_EQ(onDiskSizeForPath(dir / "B.plugin"), 4 * block);

    // A link counts as itself; one that leads nowhere counts as nothing.
    fs::create_symlink(dir / "B.plugin", dir / "Linked.plugin");
    EXPECT_EQ(onDiskSizeForPath(dir / "Linked.plugin"),
              roundUpToBlocks(static_cast<std::uint64_t>(ownSize(dir / "Linked.plugin")), block));
    fs::create_symlink(dir / "nowhere", dir / "Dangling.plugin");
    EXPECT_EQ(onDiskSizeForPath(dir / "Dangling.plugin"), 0u);
    // A path the block size is not asked for counts with 4096-byte blocks.
    EXPECT_EQ(blockSizeForPath(fs::path(std::string(600, 'a'))), 4096u);
}

TEST(ExtensionRules, DictionariesLeaveOutEnglishAndTheSystemsOwn) {
    TempDir dir;
    auto dictionary = [&](const std::string& bundleName, const std::string& language) {
        makeBundle(dir / bundleName, DictObj::make({{"CFBundleName", bundleName},
                                                    {"DCSDictionaryPrimaryLanguage", language}}));
        return dictionaryCanBeIncludedAtPath(dir / bundleName);
    };
    EXPECT_TRUE(dictionary("Larousse", "fr"));
    EXPECT_EQ(dictionaryNameAtPath(dir / "Larousse"), "Larousse");
    EXPECT_FALSE(dictionary("Webster", "en_GB"));
    EXPECT_FALSE(dictionary("Apple", "de"));
    EXPECT_TRUE(dictionary("Apple Inc", "de"));
    writeFile(dir / "Broken/Contents/Info.plist", "not a list");
    EXPECT_FALSE(dictionaryCanBeIncludedAtPath(dir / "Broken"));
    EXPECT_EQ(dictionaryNameAtPath(dir / "Broken"), std::nullopt);
}

TEST(ExtensionRules, PluginsByTheirInformationList) {
    TempDir dir;
    makeBundle(dir / "Flip.plugin", DictObj::make({{"WebPluginName", "Flip Player"}}));
    makeBundle(dir / "Java.plugin",
               DictObj::make({{"WebPluginName", "Java Applet"}, {"CFBundleIdentifier", "x.y"}}));
    makeBundle(dir / "Os.plugin", DictObj::make({{"WebPluginName", "QuickTime"},
                                                 {"CFBundleIdentifier", "com.apple.qt"}}));
    // An identifier-less plug-in is listed.
    EXPECT_TRUE(internetPluginCanBeIncludedAtPath(dir / "Flip.plugin"));
    EXPECT_EQ(internetPluginNameAtPath(dir / "Flip.plugin"), "Flip Player");
    EXPECT_FALSE(internetPluginCanBeIncludedAtPath(dir / "Java.plugin"));
    EXPECT_FALSE(internetPluginCanBeIncludedAtPath(dir / "Os.plugin"));
    // A link is judged by the bundle it leads to; a relative link from its own folder.
    fs::create_symlink("Flip.plugin", dir / "Rel.plugin");
    EXPECT_TRUE(internetPluginCanBeIncludedAtPath(dir / "Rel.plugin"));
    EXPECT_EQ(resolvedLinkPath(dir / "Rel.plugin"), dir / "Flip.plugin");

    auto roles = [](const char* role) {
        auto type = DictObj::make({{"CFBundleTypeRole", role}});
        return DictObj::make({{"CFBundleName", std::string(role) + " Maker"},
                              {"CFBundleDocumentTypes", core::ArrayObj::make({Value(type)})}});
    };
    makeBundle(dir / "Ql.qlgenerator", roles("QLGenerator"));
    makeBundle(dir / "Md.mdimporter", roles("MDImporter"));
    EXPECT_TRUE(quickLookPluginCanBeIncludedAtPath(dir / "Ql.qlgenerator"));
    EXPECT_FALSE(quickLookPluginCanBeIncludedAtPath(dir / "Md.mdimporter"));
    EXPECT_TRUE(spotlightPluginCanBeIncludedAtPath(dir / "Md.mdimporter"));
    EXPECT_EQ(spotlightPluginNameAtPath(dir / "Md.mdimporter"), "MDImporter Maker");

    writePlist(dir / "Clock.wdgt/Info.plist", DictObj::make({{"CFBundleName", "Clock"}}));
    EXPECT_EQ(widgetNameAtPath(dir / "Clock.wdgt"), "Clock");
}

TEST(ExtensionRules, LaunchAgentsAreNamedAfterTheApplicationTheyStart) {
    TempDir dir;
    const std::string program = "/Applications/Maker.app/Contents/MacOS/helper";
    writePlist(dir / "a.plist",
               DictObj::make({{"Label", "com.maker.helper"}, {"Program", program}}));
    EXPECT_TRUE(userLaunchAgentCanBeIncludedAtPath(dir / "a.plist"));
    EXPECT_EQ(userLaunchAgentNameAtPath(dir / "a.plist"), "Maker helper");
    EXPECT_EQ(userLaunchAgentIconAtPath(dir / "a.plist"), "/Applications/Maker.app");
    auto args = core::ArrayObj::make({Value("-x"), Value("/Opt/Tool.app/run")});
    writePlist(dir / "b.plist", DictObj::make({{"Label", "plain"}, {"ProgramArguments", args}}));
    EXPECT_EQ(userLaunchAgentNameAtPath(dir / "b.plist"), "Tool ");
    writePlist(dir / "j.plist", DictObj::make({{"Label", "com.oracle.JAVA.update"}}));
    EXPECT_FALSE(userLaunchAgentCanBeIncludedAtPath(dir / "j.plist"));
}

} // namespace
} // namespace tpc::test::ext
