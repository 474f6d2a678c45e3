// Which profile is cleaned, what a missing profile gives, and quitting Firefox.

#include "FirefoxHarness.h"

#include <gtest/gtest.h>

namespace tpc::browsers::firefox::fxtest {
namespace {

void addCookieHost(const fs::path& db, const std::string& host) {
    exec(db, "INSERT INTO moz_cookies (name, host) VALUES ('n', '" + host + "');");
}

TEST(FirefoxProfileTest, LinuxCleansTheProfileThatProfilesIniNames) {
    Harness h(platform::Layout::Linux, "abcd.default-release");
    auto folder = h.home() / ".mozilla/firefox";
    ASSERT_EQ(h.profile, folder / "abcd.default-release");
    // Another profile whose name would win by the ".default" rule.
    auto other = folder / "aaaa.default/cookies.sqlite";
    for (const auto& db : {h.store("cookies.sqlite"), other}) {
        exec(db, kCookiesSchema);
        addCookieHost(db, "a.example");
    }
    EXPECT_EQ(h.cleaner->count("Cookies").value().count, 1);
    h.cleaner->remove("Cookies");
    EXPECT_EQ(scalar(h.store("cookies.sqlite"), "SELECT count(*) FROM moz_cookies;"), 0);
    EXPECT_EQ(scalar(other, "SELECT count(*) FROM moz_cookies;"), 1);
}

TEST(FirefoxProfileTest, LinuxInstallDefaultWins) {
    Harness h(platform::Layout::Linux, "old.default");
    auto folder = h.home() / ".mozilla/firefox";
    fs::create_directories(folder / "abcd.default-release");
    writeFile(folder / "profiles.ini",
              "[Profile1]\nName=default-release\nIsRelative=1\nPath=abcd.default-release\n\n"
              "[Profile0]\nName=default\nIsRelative=1\nPath=old.default\nDefault=1\n\n"
              "[Install4F96D1932A9F858E]\nDefault=abcd.default-release\nLocked=1\n");
    EXPECT_EQ(BrowserLocations(*h.platform).firefoxProfile(), folder / "abcd.default-release");
}

TEST(FirefoxProfileTest, MacosNeedsTheExactDefaultExtension) {
    Harness h(platform::Layout::MacOS, "r.default-release");
    EXPECT_TRUE(h.profile.empty());
    auto folder = h.home() / "Library/Application Support/Firefox/Profiles";
    writeFile(folder / "r.default-release/sessionstore.js", "{\"url\":\"https://a/\"}");
    EXPECT_EQ(h.cleaner->count("Sessions").value(), (CountPair{0, 0}));

    writeFile(folder / "q.default/sessionstore.js", "{\"url\":\"https://a/\"}");
    EXPECT_EQ(h.cleaner->count("Sessions").value().count, 1);
    h.cleaner->remove("Sessions");
    EXPECT_FALSE(fs::exists(folder / "q.default/sessionstore.js"));
    EXPECT_TRUE(fs::exists(folder / "r.default-release/sessionstore.js"));
}

TEST(FirefoxProfileTest, NoProfileCountsZeroEverywhereAndDeletesNothing) {
    Harness h(platform::Layout::MacOS, "");
    auto& c = *h.cleaner;
    for (auto pair : {c.count("Internet History").value(), c.count("Internet Cache").value(),
                      c.count("Cookies").value(), c.count("Download History").value(),
                      c.count("Saved Form Information").value(), c.count("Saved Passwords").value(),
                      c.count("Sessions").value(), c.count("Site Preferences").value(),
                      c.count("Application Cache").value()})
        EXPECT_EQ(pair, (CountPair{0, 0}));
    // A cache folder without a profile is not looked at.
    writeFile(h.home() / "Library/Caches/Firefox/Profiles/x.default/y", "y");
    EXPECT_EQ(c.count("Application Cache").value(), (CountPair{0, 0}));
    c.remove("Internet History");
    c.remove("Internet Cache");
    c.remove("Cookies");
    c.remove("Download History");
    c.remove("Saved Form Information");
    c.remove("Saved Passwords");
    c.remove("Sessions");
    c.remove("Site Preferences");
    c.remove("Application Cache");
    EXPECT_TRUE(fs::exists(h.home() / "Library/Caches/Firefox/Profiles/x.default/y"));
    EXPECT_FALSE(fs::exists(h.home() / "Library/Application Support/Firefox"));
    EXPECT_TRUE(h.logLines("SQLite failed query").empty());
}

TEST(FirefoxProfileTest, QuitAsksFirefoxToTerminate) {
    Harness h(platform::Layout::MacOS, "");
    h.cleaner->remove("Auto Quit Firefox");
    EXPECT_EQ(h.apps->terminated, (std::vector<std::string>{"org.mozilla.firefox"}));
}

} // namespace
} // namespace tpc::browsers::firefox::fxtest
