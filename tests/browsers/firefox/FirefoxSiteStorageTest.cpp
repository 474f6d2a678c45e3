// Firefox's "Site Storage" item through the browser's catalogue row: every profile's
// "storage/default" origin folders go unless their host is kept (container tabs included),
// "storage/permanent" and "storage/temporary" stay, and the macos layout offers no such row.

#include "FirefoxHarness.h"
#include "browsers/BrowserCatalogue.h"
#include "browsers/BrowserCleaners.h"
#include "browsers/SiteStorage.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace tpc::browsers::firefox::fxtest {
namespace {

// The entry's own size and that of everything under it, links as themselves.
std::int64_t bytesUnder(const fs::path& path) {
    std::int64_t total = test::ownSize(path);
    if (fs::is_directory(fs::symlink_status(path)))
        for (const auto& e : fs::recursive_directory_iterator(path))
            total += test::ownSize(e.path());
    return total;
}

class FirefoxSiteStorageTest : public ::testing::Test {
protected:
    Harness h{platform::Layout::Linux, ""};
    BrowserCleaners cleaners{CleanerEnv{*h.platform, *h.deleter, *h.cookies, h.log}};
    const BrowserEntry& firefox = *cleaners.find("Firefox");
    fs::path root = h.home() / ".mozilla/firefox";

    fs::path origin(const std::string& profile, const std::string& name) const {
        return root / profile / "storage/default" / name;
    }

    void fill() {
        writeFile(root / "profiles.ini", "[Profile0]\nName=a\nIsRelative=1\nPath=a.default\n\n"
                                         "[Profile1]\nName=b\nIsRelative=1\nPath=b.work\n");
        writeFile(origin("a.default", "https+++kept.example/idb/1.sqlite"), "kept");
        writeFile(origin("a.default", "https+++kept.example^userContextId=2/ls/data.sqlite"), "c");
        writeFile(origin("a.default", "https+++gone.example/idb/1.sqlite"), "gone");
        writeFile(origin("a.default", "moz-extension+++0a1b^userContextId=4/idb/x"), "extension");
        writeFile(origin("b.work", "http+++other.example+8080^userContextId=1/ls/data.sqlite"),
                  "other");
        writeFile(root / "a.default/storage/permanent/chrome/idb/1.sqlite", "browser");
        writeFile(root / "a.default/storage/temporary/https+++gone.example/x", "temporary");
        writeFile(h.dir.path() / "outside/keep.txt", "not the browser's");
    }
};

TEST_F(FirefoxSiteStorageTest, EveryProfileLosesTheOriginsNotKeptAndNothingElse) {
    fill();
    h.cookies->keep(CookieBrowser::Firefox, "kept.example");
    const auto gone = origin("a.default", "https+++gone.example");
    const auto other = origin("b.work", "http+++other.example+8080^userContextId=1");
    EXPECT_EQ(firefox.countItem("Site Storage"),
              (CountPair{2, bytesUnder(gone) + bytesUnder(other)}));

    // The storage records of every origin, which the browser keeps beside the folders.
    exec(root / "a.default/storage.sqlite",
         "CREATE TABLE origin (repository_id INTEGER, suffix TEXT, group_ TEXT, origin TEXT);"
         "INSERT INTO origin VALUES (0, '', 'kept.example', 'https://kept.example'),"
         "(0, '', 'gone.example', 'https://gone.example'), (0, '', '', 'moz-extension://0a1b');");

    ASSERT_TRUE(firefox.deleteItem("Site Storage"));
    EXPECT_EQ(scalar(root / "a.default/storage.sqlite",
                     "SELECT COUNT(*) FROM origin WHERE origin = 'https://gone.example'"),
              0);
    EXPECT_EQ(scalar(root / "a.default/storage.sqlite", "SELECT COUNT(*) FROM origin"), 2);
    EXPECT_FALSE(fs::exists(gone));
    EXPECT_FALSE(fs::exists(other));
    EXPECT_EQ(
        test::namesIn(root / "a.default/storage/default"),
        (std::vector<std::string>{"https+++kept.example", "https+++kept.example^userContextId=2",
                                  "moz-extension+++0a1b^userContextId=4"}));
    EXPECT_EQ(readFile(root / "a.default/storage/permanent/chrome/idb/1.sqlite"), "browser");
    EXPECT_EQ(readFile(root / "a.default/storage/temporary/https+++gone.example/x"), "temporary");
    EXPECT_EQ(readFile(h.dir.path() / "outside/keep.txt"), "not the browser's");
    EXPECT_EQ(firefox.countItem("Site Storage"), (CountPair{0, 0}));
    EXPECT_TRUE(h.log.lines().empty());
}

TEST_F(FirefoxSiteStorageTest, AnEmptyKeepListTakesEveryWebOriginAndALinkStaysALink) {
    fill();
    writeFile(h.dir.path() / "outside/idb/1.sqlite", "outside");
    fs::create_symlink(h.dir.path() / "outside", origin("b.work", "https+++linked.example"));
    EXPECT_EQ(firefox.countItem("Site Storage")->count, 5);

    firefox.deleteItem("Site Storage");
    EXPECT_EQ(test::namesIn(root / "a.default/storage/default"),
              (std::vector<std::string>{"moz-extension+++0a1b^userContextId=4"}));
    EXPECT_TRUE(test::namesIn(root / "b.work/storage/default").empty());
    EXPECT_EQ(readFile(h.dir.path() / "outside/idb/1.sqlite"), "outside");
}

TEST_F(FirefoxSiteStorageTest, OnlyTheLinuxLayoutOffersTheRowJustBeforeAutoQuit) {
    for (const auto& entry : browserCatalogue(platform::Layout::MacOS))
        EXPECT_EQ(std::count(entry.items.begin(), entry.items.end(), "Site Storage"), 0)
            << entry.name;
    const auto* linux = findCatalogueEntry(platform::Layout::Linux, "Firefox");
    ASSERT_TRUE(linux);
    EXPECT_EQ(linux->items[linux->items.size() - 2], "Site Storage");
    EXPECT_EQ(linux->scanOrder.back(), "Site Storage");
    EXPECT_EQ(firefox.items, linux->items);
}

TEST(FirefoxOriginHost, ReadsWebOriginsWithTheirAttributes) {
    EXPECT_EQ(firefoxOriginHost("http+++example.com+8080^userContextId=1"), "example.com");
    EXPECT_EQ(firefoxOriginHost("http+++[++1]+8080"), "[::1]");
    for (const char* other :
         {"moz-extension+++0a1b", "file++++home+me+a.html", "https+++", "chrome"})
        EXPECT_EQ(firefoxOriginHost(other), std::nullopt) << other;
}

} // namespace
} // namespace tpc::browsers::firefox::fxtest
