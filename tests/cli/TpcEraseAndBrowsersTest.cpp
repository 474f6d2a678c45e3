#include "TpcFixture.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sqlite3.h>

namespace tpc::test {
namespace {

class TpcBrowsers : public Tpc {
protected:
    fs::path profile = home / ".mozilla/firefox/abcd.default-release";
    fs::path cookies = profile / "cookies.sqlite";

    void SetUp() override {
        Tpc::SetUp();
        writeFile(home / ".mozilla/firefox/profiles.ini",
                  "[Profile0]\nName=default-release\nIsRelative=1\nPath=abcd.default-release\n"
                  "Default=1\n");
        fs::create_directories(profile);
        sqlExec(cookies,
                "CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, originAttributes TEXT NOT "
                "NULL DEFAULT '', name TEXT, value TEXT, host TEXT, path TEXT, expiry "
                "INTEGER, lastAccessed INTEGER, creationTime INTEGER, isSecure INTEGER, "
                "isHttpOnly INTEGER, inBrowserElement INTEGER DEFAULT 0, sameSite INTEGER "
                "DEFAULT 0, rawSameSite INTEGER DEFAULT 0, schemeMap INTEGER DEFAULT 0);"
                "INSERT INTO moz_cookies(name, value, host, path) VALUES ('a', '1', "
                "'.example.com', '/'), ('b', '2', 'it''s.example', '/'), ('c', '3', "
                "'keep.org', '/');");
    }

    Result linux(std::vector<std::string> args) {
        args.insert(args.begin(), {"--layout", "linux", "--home", home.string()});
        return tpc(args);
    }
};

TEST_F(TpcBrowsers, CountKeepAndDeleteCookiesThroughTheCommandLine) {
    auto counted = linux({"count", "Firefox", "Cookies", "--json"});
    ASSERT_EQ(counted.code, 0) << counted.err;
    EXPECT_EQ(nlohmann::json::parse(counted.out)["count"], 3);

    auto kept = linux({"cookies", "Firefox", "keep", ".keep.org", "--json"});
    ASSERT_EQ(kept.code, 0) << kept.err;
    auto lists = nlohmann::json::parse(kept.out);
    EXPECT_EQ(lists["keep"], nlohmann::json::array({"keep.org"}));
    EXPECT_EQ(lists["delete"], nlohmann::json::array({"example.com", "it's.example"}));

    auto deleted = linux({"delete", "Firefox", "Cookies"});
    ASSERT_EQ(deleted.code, 0) << deleted.err;
    EXPECT_EQ(hostsIn(cookies), std::vector<std::string>{"keep.org"});

    auto after = nlohmann::json::parse(linux({"cookies", "Firefox", "list", "--json"}).out);
    EXPECT_TRUE(after["delete"].empty());
    EXPECT_EQ(after["keep"], nlohmann::json::array({"keep.org"}));
}

TEST_F(TpcBrowsers, UnknownBrowsersAndItemsAreBadInput) {
    EXPECT_EQ(linux({"count", "Netscape", "Cookies"}).code, 2);
    auto r = linux({"count", "Firefox", "Nope"});
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.err.find("Internet History"), std::string::npos);
    EXPECT_EQ(linux({"count", "Firefox", "Auto Quit Firefox"}).code, 2);
    EXPECT_EQ(linux({"cookies", "Firefox", "keep", "..."}).code, 2);
    EXPECT_EQ(hostsIn(cookies).size(), 3u);
}

TEST_F(Tpc, EraseOverwritesAndRemovesAndRefusesMissingPaths) {
    auto victim = dir / "victim";
    writeFile(victim / "a.txt", std::string(40000, 'x'));
    writeFile(dir / "outside.txt", "keep me");
    fs::create_symlink(dir / "outside.txt", victim / "link");

    auto missing = macos({"erase", (dir / "nothing-here").string()});
    EXPECT_EQ(missing.code, 2);
    EXPECT_TRUE(fs::exists(victim / "a.txt"));

    auto r = macos({"erase", "--method", "2", victim.string()});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_FALSE(fs::exists(victim));
    EXPECT_EQ(readFile(dir / "outside.txt"), "keep me");

    EXPECT_EQ(macos({"erase", "--method", "9", (dir / "outside.txt").string()}).code, 2);
    EXPECT_TRUE(fs::exists(dir / "outside.txt"));
}

} // namespace
} // namespace tpc::test
