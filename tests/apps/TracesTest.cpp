// One application's traces in the macos layout: what is counted and what a clean changes.

#include "AppsHarness.h"

#include <sys/stat.h>
#include <unistd.h>

namespace tpc::test::apps {
namespace {

core::Data bytes(std::size_t n) {
    return core::Data(n, 0x41);
}

std::int32_t lstatSize(const fs::path& p) {
    struct stat st {};
    return ::lstat(p.c_str(), &st) == 0 ? static_cast<std::int32_t>(st.st_size) : -1;
}

class Traces : public ::testing::Test {
protected:
    void SetUp() override { h.start(); }

    fs::path pref(const std::string& domain) { return h.prefs() / (domain + ".plist"); }
    // A shared file list of `n` items of 10 + 1 bytes each.
    void sharedList(const std::string& domain, int n) {
        auto items = core::ArrayObj::make();
        for (int i = 0; i < n; ++i)
            items->append(Value(DictObj::make({{"Bookmark", bytes(10)}, {"Name", "a"}})));
        auto list = DictObj::make({{"Controller", "CustomListItems"}, {"CustomListItems", items}});
        writePlist(pref(domain), DictObj::make({{"RecentDocuments", list}, {"Other", 1}}));
    }

    AppsHarness h;
};

TEST_F(Traces, OfficeSharesOneCacheAndCountsItsOwnMostRecentlyUsedList) {
    writeFile(h.caches() / "Microsoft/Office/a", "12345");
    writeFile(h.caches() / "Microsoft/Office/sub/b", "123");
    writeFile(h.caches() / "com.microsoft.Excel/c", "1");
    const auto excel = h.bundle("Microsoft Excel", "com.microsoft.Excel", {}, "14.1.0", "XCEL");
    auto mru = core::ArrayObj::make(
        {Value(DictObj::make({{"Access Date", bytes(8)}, {"File Alias", bytes(100)}})),
         Value(DictObj::make({{"File Alias", bytes(50)}}))});
    writePlist(pref("com.microsoft.office"),
               DictObj::make({{"14\\File MRU\\XCEL", mru}, {"14\\File MRU\\MSWD", 1}}));

    auto rec = record("com.microsoft.Excel", excel.string());
    rec->set(ak::Cache, 1);
    rec->set(ak::ClearRecents, 1);
    EXPECT_EQ(h.traces().officeMruKey(excel.string()), "14\\File MRU\\XCEL");
    const auto count = h.traces().countAppDetailsToClear(rec);
    EXPECT_EQ(count.count, 3 + 2);
    EXPECT_EQ(count.size, 5 + 3 + lstatSize(h.caches() / "Microsoft/Office/sub") + 158);

    h.traces().deleteAppData(rec);
    EXPECT_FALSE(fs::exists(h.caches() / "Microsoft/Office"));
    EXPECT_TRUE(fs::exists(h.caches() / "com.microsoft.Excel/c"));
    auto office = readPlist(pref("com.microsoft.office"));
    EXPECT_FALSE(office->has("14\\File MRU\\XCEL"));
    EXPECT_TRUE(office->has("14\\File MRU\\MSWD"));
}

TEST_F(Traces, ASingleFileCacheCountsOneAndBothSharedListsAreCounted) {
    writeFile(h.caches() / "org.app", std::string(700, 'x'));
    sharedList("org.app.LSSharedFileList", 2);
    sharedList("org.app.SandboxedPersistentURLs.LSSharedFileList", 1);
    auto rec = record("org.app");
    rec->set(ak::Cache, 1);
    EXPECT_EQ(h.traces().countAppDetailsToClear(rec).count, 1);
    EXPECT_EQ(h.traces().countAppDetailsToClear(rec).size, 700);

    rec->set(ak::Cache, 0);
    rec->set(ak::ClearDockRecents, 1);
    const auto count = h.traces().countAppDetailsToClear(rec);
    EXPECT_EQ(count.count, 3);
    EXPECT_EQ(count.size, 3 * 11);
}

TEST_F(Traces, WithEveryOptionOffACleanOnlyResetsTheTwoSwitches) {
    writeFile(h.caches() / "org.app/a", "1");
    sharedList("org.app.LSSharedFileList", 2);
    sharedList("org.app.SandboxedPersistentURLs.LSSharedFileList", 1);
    writePlist(pref("org.app"), DictObj::make({{"NSRecentDocumentsLimit", 5}, {"Theme", "dark"}}));
    auto rec = record("org.app");
    EXPECT_EQ(h.traces().countAppDetailsToClear(rec).count, 0);
    EXPECT_EQ(h.traces().countAppDetailsToClear(rec).size, 0);

    h.traces().deleteAppData(rec);
    EXPECT_TRUE(fs::exists(h.caches() / "org.app/a"));
    EXPECT_TRUE(h.running->terminated.empty());
    auto own = readPlist(pref("org.app"));
    EXPECT_FALSE(own->has("NSRecentDocumentsLimit"));
    EXPECT_TRUE(own->has("Theme"));
    auto dock = readPlist(pref("org.app.LSSharedFileList"));
    EXPECT_FALSE(dock->has("RecentDocuments"));
    EXPECT_TRUE(dock->has("Other"));
    EXPECT_TRUE(readPlist(pref("org.app.SandboxedPersistentURLs.LSSharedFileList"))
                    ->has("RecentDocuments"));
}

TEST_F(Traces, TheSwitchesOnWriteTheirLimitsAndAutoQuitAsksTheApplicationToQuit) {
    auto rec = record("org.app");
    rec->set(ak::DisableRecents, 1);
    rec->set(ak::DisableDockRecents, 1);
    rec->set(ak::AutoQuit, 1);
    h.traces().deleteAppData(rec);
    EXPECT_EQ(readPlist(pref("org.app"))->getString("NSRecentDocumentsLimit"), "0");
    auto dock = readPlist(pref("org.app.LSSharedFileList"))->getDict("RecentDocuments");
    ASSERT_TRUE(dock);
    EXPECT_EQ(dock->getString("MaxAmount"), "0");
    EXPECT_EQ(h.running->terminated, (std::vector<std::string>{"org.app"}));
}

TEST_F(Traces, SizesWrapAt32BitsAndTheScanReadsThemUnsigned) {
    const auto file = h.caches() / "com.apple.Notes/big";
    writeFile(file, "");
    ASSERT_EQ(::truncate(file.c_str(), 3'000'000'000), 0); // sparse: no disk used
    h.catalogue().addApplication(h.bundle("Notes", "com.apple.Notes").string());
    EXPECT_LT(h.traces().countAppDetailsToClear(h.row("Notes")).size, 0);
    h.scan();
    EXPECT_EQ(core::size(h.row("Notes")), 3'000'000'000u);
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Recents), "(3.00 GB)");
}

TEST_F(Traces, AnIdentifierThatIsNoFileNameNeverReachesOutsideTheCaches) {
    writeFile(h.home() / "Library/victim/keep", "x");
    auto rec = record("../victim");
    for (const char* flag : ak::kOptionFlags)
        rec->set(flag, 1);
    EXPECT_EQ(h.traces().countAppDetailsToClear(rec).count, 0);
    h.traces().deleteAppData(rec);
    EXPECT_TRUE(fs::exists(h.home() / "Library/victim/keep"));
    EXPECT_FALSE(fs::exists(h.prefs() / "../victim.plist"));
}

} // namespace
} // namespace tpc::test::apps
