// Folders the Chrome-family and Opera cleaners empty or count, found to be symbolic links to other
// folders: the link counts as nothing, and neither it nor anything behind it is touched.

#include "ChromeHarness.h"
#include "browsers/ItemRunner.h"

#include <gtest/gtest.h>

namespace tpc::browsers {
namespace {

namespace fs = std::filesystem;
using test::BrowserHarness;
using test::readFile;
using test::writeFile;

class FolderLinksTest : public ::testing::Test {
protected:
    BrowserHarness h;
    fs::path outside = h.dir / "outside";

    void SetUp() override {
        writeFile(outside / "precious", "keep me");
        writeFile(outside / "deeper/also", "and me");
    }

    // The folder behind the links, as it was made.
    void expectOutsideUntouched() {
        EXPECT_EQ(readFile(outside / "precious"), "keep me");
        EXPECT_EQ(readFile(outside / "deeper/also"), "and me");
    }
    void linkInPlaceOf(const fs::path& folder) {
        fs::create_directories(folder.parent_path());
        fs::create_directory_symlink(outside, folder);
    }
    static bool isLink(const fs::path& path) { return fs::is_symlink(fs::symlink_status(path)); }
};

TEST_F(FolderLinksTest, ChromiumCacheFolderThatIsALinkIsNeitherCountedNorEmptied) {
    for (auto browser : {Browser::Chromium, Browser::GoogleChrome}) {
        SCOPED_TRACE(browser == Browser::Chromium ? "Chromium" : "Google Chrome");
        ItemRunner cleaner{h.env(), chromeFamilyDef(browser)};
        const auto cache = BrowserLocations(*h.platform).chromeCache(browser);
        linkInPlaceOf(cache);

        EXPECT_EQ(cleaner.count("Internet Cache").value(), CountPair{});
        cleaner.remove("Internet Cache");
        EXPECT_TRUE(isLink(cache));
        expectOutsideUntouched();
    }
}

TEST_F(FolderLinksTest, SessionStorageThatIsALinkIsNeitherCountedNorEmptied) {
    ItemRunner cleaner{h.env(), chromeFamilyDef(Browser::Chromium)};
    const auto storage = h.chromiumProfile() / "Session Storage";
    linkInPlaceOf(storage);
    // The cache beside it is still emptied.
    writeFile(BrowserLocations(*h.platform).chromeCache(Browser::Chromium) / "data_0",
              "0123456789");

    EXPECT_EQ(cleaner.count("Internet Cache").value().count, 1);
    cleaner.remove("Internet Cache");
    EXPECT_TRUE(isLink(storage));
    EXPECT_FALSE(
        fs::exists(BrowserLocations(*h.platform).chromeCache(Browser::Chromium) / "data_0"));
    expectOutsideUntouched();
}

TEST_F(FolderLinksTest, OperaGpuCacheThatIsALinkIsNeitherCountedNorEmptied) {
    ItemRunner opera{h.env(), operaDef()};
    fs::create_directories(h.operaData());
    linkInPlaceOf(h.operaData() / "GPUCache");
    EXPECT_EQ(opera.count("Application Cache").value(), CountPair{});
    opera.remove("Application Cache");
    EXPECT_TRUE(isLink(h.operaData() / "GPUCache"));
    expectOutsideUntouched();

    // The web cache is removed whole: a link in its place goes as a link, never walked.
    linkInPlaceOf(h.operaWebCache());
    EXPECT_EQ(opera.count("Internet Cache").value(), CountPair{});
    opera.remove("Internet Cache");
    EXPECT_FALSE(fs::exists(fs::symlink_status(h.operaWebCache())));
    expectOutsideUntouched();
}

TEST_F(FolderLinksTest, NamesThatAreNotUtf8InsideACacheAreCountedAndRemoved) {
    ItemRunner cleaner{h.env(), chromeFamilyDef(Browser::Chromium)};
    const auto cache = BrowserLocations(*h.platform).chromeCache(Browser::Chromium);
    const std::string odd = "f\xff\xfe";
    writeFile(cache / odd /
                  ("g\xc0\xaf"
                   "h"),
              "12345");
    writeFile(cache / "plain", "1");
    // The entry "f" beside them is another folder altogether.
    writeFile(h.dir / "f/keep", "kept");

    EXPECT_EQ(cleaner.count("Internet Cache").value().count, 3);
    cleaner.remove("Internet Cache");
    EXPECT_TRUE(fs::is_empty(cache));
    EXPECT_EQ(readFile(h.dir / "f/keep"), "kept");
}

} // namespace
} // namespace tpc::browsers
