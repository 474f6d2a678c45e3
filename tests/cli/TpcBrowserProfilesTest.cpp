// The command line reaches every profile of a linux Chrome-family browser, its Flatpak included.

#include "TpcFixture.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tpc::test {
namespace {

TEST_F(Tpc, BraveItemsRunOverEveryProfileOfEveryInstall) {
    const auto native = home / ".config/BraveSoftware/Brave-Browser/Default";
    const auto flatpak =
        home / ".var/app/com.brave.Browser/config/BraveSoftware/Brave-Browser/Profile 1";
    sqlExec(native / "Login Data", "CREATE TABLE logins (origin_url TEXT);"
                                   "INSERT INTO logins VALUES ('https://a.example/');");
    sqlExec(flatpak / "Login Data", "CREATE TABLE logins (origin_url TEXT);"
                                    "INSERT INTO logins VALUES ('https://b.example/'), "
                                    "('https://c.example/');");
    const std::vector<std::string> linux = {"--layout", "linux", "--home", home.string()};
    auto with = [&](std::vector<std::string> args) {
        args.insert(args.begin(), linux.begin(), linux.end());
        return tpc(args);
    };

    EXPECT_EQ(jsonOf(with({"count", "Brave", "Saved Passwords", "--json"}))["count"], 3);
    ASSERT_EQ(with({"delete", "Brave", "Saved Passwords"}).code, 0);
    EXPECT_EQ(jsonOf(with({"count", "Brave", "Saved Passwords", "--json"}))["count"], 0);
    // macos offers no Brave.
    EXPECT_EQ(macos({"count", "Brave", "Saved Passwords"}).code, 2);
}

} // namespace
} // namespace tpc::test
