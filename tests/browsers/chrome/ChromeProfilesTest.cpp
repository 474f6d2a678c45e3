// Chrome-family browsers on the linux layout with several profiles and installs: every
// "Default" and "Profile N" of the native, Flatpak and Snap data folders is counted (summed) and
// cleaned, and nothing beside the profiles is touched.

#include "ChromeHarness.h"
#include "browsers/ItemRunner.h"

#include <gtest/gtest.h>

namespace tpc::browsers {
namespace {

namespace fs = std::filesystem;
using test::BrowserHarness;
using test::Db;
using test::readFile;
using test::writeFile;

class ChromeProfilesTest : public ::testing::Test {
protected:
    BrowserHarness h;

    // A login store with `n` saved logins.
    static void addLogins(const fs::path& profile, int n) {
        Db db(profile / "Login Data");
        db.exec("CREATE TABLE logins (origin_url TEXT);");
        for (int i = 0; i < n; ++i)
            db.exec("INSERT INTO logins VALUES('https://a.example/');");
    }
    static long long logins(const fs::path& profile) {
        return Db(profile / "Login Data").rows("logins");
    }
};

TEST_F(ChromeProfilesTest, EveryProfileIsCountedAndCleanedAndNothingElse) {
    const auto data = h.home() / ".config/chromium";
    addLogins(data / "Default", 2);
    addLogins(data / "Profile 3", 3);
    // Not profiles: the guest's, a look-alike name and a link to a folder outside.
    addLogins(data / "Guest Profile", 1);
    addLogins(data / "Profile x", 1);
    addLogins(h.dir / "outside", 1);
    fs::create_directory_symlink(h.dir / "outside", data / "Profile 4");
    writeFile(data / "Default/Current Session", "12345");
    writeFile(data / "Profile 3/Current Session", "123");
    writeFile(data / "Local State", "{}");

    ItemRunner chromium{h.env(), chromeFamilyDef(Browser::Chromium)};
    EXPECT_EQ(chromium.count("Saved Passwords").value().count, 5);
    EXPECT_EQ(chromium.count("Current Session").value(), (CountPair{2, 8}));

    chromium.remove("Saved Passwords");
    chromium.remove("Current Session");
    EXPECT_EQ(logins(data / "Default"), 0);
    EXPECT_EQ(logins(data / "Profile 3"), 0);
    EXPECT_FALSE(fs::exists(data / "Default/Current Session"));
    EXPECT_FALSE(fs::exists(data / "Profile 3/Current Session"));
    EXPECT_EQ(logins(data / "Guest Profile"), 1);
    EXPECT_EQ(logins(data / "Profile x"), 1);
    EXPECT_EQ(logins(h.dir / "outside"), 1);
    EXPECT_EQ(readFile(data / "Local State"), "{}");
}

TEST_F(ChromeProfilesTest, SnapAndFlatpakInstallsAreCleanedWithTheirCaches) {
    // Chromium's snap keeps its profiles in common/chromium and its cache in common/.cache.
    const auto snap = h.home() / "snap/chromium/common";
    addLogins(snap / "chromium/Default", 1);
    writeFile(snap / ".cache/chromium/Default/Cache/data_0", "abcd");
    // Brave: a native profile, a Flatpak one and the Brave snap's profile in current/.config.
    const auto braveNative = h.home() / ".config/BraveSoftware/Brave-Browser/Profile 1";
    const auto braveFlatpak =
        h.home() / ".var/app/com.brave.Browser/config/BraveSoftware/Brave-Browser/Default";
    const auto braveSnap =
        h.home() / "snap/brave/current/.config/BraveSoftware/Brave-Browser/Default";
    addLogins(braveNative, 1);
    addLogins(braveFlatpak, 2);
    addLogins(braveSnap, 4);
    writeFile(h.home() / ".var/app/com.brave.Browser/cache/BraveSoftware/Brave-Browser/f", "xy");

    ItemRunner chromium{h.env(), chromeFamilyDef(Browser::Chromium)};
    EXPECT_EQ(chromium.count("Saved Passwords").value().count, 1);
    EXPECT_EQ(chromium.count("Internet Cache").value().count, 3); // Default, Cache, data_0
    chromium.remove("Saved Passwords");
    chromium.remove("Internet Cache");
    EXPECT_EQ(logins(snap / "chromium/Default"), 0);
    EXPECT_FALSE(fs::exists(snap / ".cache/chromium/Default"));
    EXPECT_TRUE(fs::is_directory(snap / ".cache/chromium"));

    ItemRunner brave{h.env(), chromeFamilyDef(Browser::Brave)};
    EXPECT_EQ(brave.count("Saved Passwords").value().count, 7);
    EXPECT_EQ(brave.count("Internet Cache").value(), (CountPair{1, 2}));
    brave.remove("Saved Passwords");
    EXPECT_EQ(logins(braveNative) + logins(braveFlatpak) + logins(braveSnap), 0);
}

} // namespace
} // namespace tpc::browsers
