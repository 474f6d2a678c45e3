// Firefox on the linux layout with several profiles and installs: every profile profiles.ini
// lists, in the native, Flatpak and Snap profiles folders, is counted (summed) and cleaned with
// its own cache folder; folders no profiles.ini lists are left alone.

#include "FirefoxHarness.h"
#include "browsers/BrowserCleaners.h"

#include <gtest/gtest.h>

namespace tpc::browsers::firefox::fxtest {
namespace {

class FirefoxAllProfilesTest : public ::testing::Test {
protected:
    Harness h{platform::Layout::Linux, ""};
    BrowserCleaners cleaners{CleanerEnv{*h.platform, *h.deleter, *h.cookies, h.log}};
    const BrowserEntry& firefox = *cleaners.find("Firefox");

    // A profile whose cookie store holds one cookie of `host`, and a 3-byte web cache entry.
    static void makeProfile(const fs::path& profile, const fs::path& cache,
                            const std::string& host) {
        exec(profile / "cookies.sqlite", std::string(kCookiesSchema) +
                                             "INSERT INTO moz_cookies(name, host) VALUES('n', '" +
                                             host + "');");
        writeFile(cache / "cache2/e", "abc");
    }
    static std::int64_t cookies(const fs::path& profile) {
        return scalar(profile / "cookies.sqlite", "SELECT COUNT(*) FROM moz_cookies");
    }
};

TEST_F(FirefoxAllProfilesTest, EveryProfileTheIniListsIsCountedAndCleaned) {
    const auto root = h.home() / ".mozilla/firefox";
    const auto caches = h.home() / ".cache/mozilla/firefox";
    writeFile(root / "profiles.ini", "[Install4F96D1932A9F858E]\nDefault=b.work\n\n"
                                     "[Profile0]\nName=default\nIsRelative=1\nPath=a.default\n\n"
                                     "[Profile1]\nName=work\nIsRelative=1\nPath=b.work\n\n"
                                     "[Profile2]\nName=gone\nIsRelative=1\nPath=missing\n");
    makeProfile(root / "a.default", caches / "a.default", "a.example");
    makeProfile(root / "b.work", caches / "b.work", "b.example");
    makeProfile(root / "c.unlisted", caches / "c.unlisted", "c.example");

    EXPECT_EQ(firefox.countItem("Cookies")->count, 2);
    EXPECT_EQ(*firefox.countItem("Internet Cache"), (CountPair{2, 6}));
    firefox.refreshCookies();
    EXPECT_EQ(h.cookies->disAllowed(CookieBrowser::Firefox),
              (std::vector<std::string>{"a.example", "b.example"}));

    EXPECT_TRUE(firefox.deleteItem("Cookies"));
    EXPECT_TRUE(firefox.deleteItem("Internet Cache"));
    EXPECT_EQ(cookies(root / "a.default") + cookies(root / "b.work"), 0);
    EXPECT_FALSE(fs::exists(caches / "a.default/cache2"));
    EXPECT_FALSE(fs::exists(caches / "b.work/cache2"));
    EXPECT_EQ(cookies(root / "c.unlisted"), 1);
    EXPECT_TRUE(fs::exists(caches / "c.unlisted/cache2/e"));
    EXPECT_TRUE(h.cookies->disAllowed(CookieBrowser::Firefox).empty());

    // The browser is asked to quit once, however many profiles it has.
    EXPECT_TRUE(firefox.deleteItem("Auto Quit Firefox"));
    EXPECT_EQ(h.apps->terminated.size(), 1u);
}

TEST_F(FirefoxAllProfilesTest, FlatpakAndSnapProfilesAreFoundWithTheirCaches) {
    const auto flatpak = h.home() / ".var/app/org.mozilla.firefox";
    writeFile(flatpak / ".mozilla/firefox/profiles.ini",
              "[Profile0]\nName=default\nIsRelative=1\nPath=f.default-release\n");
    makeProfile(flatpak / ".mozilla/firefox/f.default-release",
                flatpak / "cache/mozilla/firefox/f.default-release", "f.example");
    // The snap without a profiles.ini: its ".default" folder is the profile.
    const auto snap = h.home() / "snap/firefox/common";
    makeProfile(snap / ".mozilla/firefox/s.default", snap / ".cache/mozilla/firefox/s.default",
                "s.example");

    EXPECT_EQ(firefox.countItem("Cookies")->count, 2);
    EXPECT_EQ(firefox.countItem("Internet Cache")->count, 2);
    firefox.deleteItem("Cookies");
    firefox.deleteItem("Internet Cache");
    EXPECT_EQ(cookies(flatpak / ".mozilla/firefox/f.default-release"), 0);
    EXPECT_EQ(cookies(snap / ".mozilla/firefox/s.default"), 0);
    EXPECT_FALSE(fs::exists(flatpak / "cache/mozilla/firefox/f.default-release/cache2"));
    EXPECT_FALSE(fs::exists(snap / ".cache/mozilla/firefox/s.default/cache2"));
}

} // namespace
} // namespace tpc::browsers::firefox::fxtest
