// `tpc one-click` and the preset runs from end to end: real browser stores on fake homes of both
// layouts, the cookie keep list, items unmarked in the built-in preset, and the sleep prevention
// around a preset clean as the trace shows it.

#include "TpcFixture.h"

#include "support/Sql.h"
#include "support/StoreSchemas.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>

namespace tpc::test {
namespace {

using nlohmann::json;
using Strings = std::vector<std::string>;

// Three Firefox cookies, and two Chrome ones of which "keep.org" is on the keep list.
const std::string kMozCookies =
    std::string(test::schema::kFirefoxCookies) +
    "INSERT INTO moz_cookies(name, value, host, path) VALUES ('a', '1', '.example.com', '/'), "
    "('b', '2', 'shop.example', '/'), ('c', '3', 'keep.org', '/');";
const std::string kChromeCookies =
    std::string(test::schema::kCookies) +
    "INSERT INTO cookies VALUES(13300000000000000, '.example.com', '', 'a', 'v', X'0102', '/', "
    "13400000000000000, 1, 0, 13300000000000001, 1, 1, 1, -1, 2, 443, 13300000000000002, 0, 0);"
    "INSERT INTO cookies VALUES(13300000000000000, 'keep.org', '', 'k', 'v', X'0102', '/', "
    "13400000000000000, 1, 0, 13300000000000001, 1, 1, 1, -1, 2, 443, 13300000000000002, 0, 0);";

// The trace's events of one kind, in order.
std::vector<json> eventsOf(const fs::path& file, const std::string& kind) {
    std::vector<json> out;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);)
        if (!line.empty() && json::parse(line)["event"] == kind)
            out.push_back(json::parse(line));
    return out;
}

const json& recordNamed(const json& records, const std::string& name) {
    for (const auto& r : records)
        if (r["Description Dictionary"]["Description"] == name)
            return r;
    ADD_FAILURE() << name << " is not listed";
    static const json none = json::object();
    return none;
}

class TpcOneClick : public Tpc {
protected:
    fs::path trace = dir / "trace.jsonl";
    std::string layout = "macos";

    Result in(std::vector<std::string> args) {
        args.insert(args.begin(),
                    {"--layout", layout, "--home", home.string(), "--root", root.string()});
        return tpc(args);
    }

    // Unmarks rows of the built-in preset, one check-box click each. Every browser's auto-quit
    // item is among them: quitting would reach the processes of the machine running the test.
    void unmark(const Strings& rows) {
        for (const auto& row : rows) {
            auto r = in({"presets", "mark-item", "One Click Clean", row, "0"});
            ASSERT_EQ(r.code, 0) << row << ": " << r.err;
        }
    }

    void firefoxStore(const fs::path& profile) {
        exec(profile / "cookies.sqlite", kMozCookies);
        writeFile(profile / "sessionstore.js", "{}");
    }
    void chromeStore(const fs::path& profile) {
        exec(profile / "Cookies", kChromeCookies);
        writeFile(profile / "Current Session", "tabs");
    }
    static Strings chromeHosts(const fs::path& profile) {
        return rows(profile / "Cookies", "SELECT host_key FROM cookies ORDER BY host_key");
    }

    // Runs the one-click clean; its printed result.
    json oneClick() {
        auto r = in({"one-click", "--json", "--trace", trace.string()});
        EXPECT_EQ(r.code, 0) << r.err;
        auto out = r.code == 0 ? json::parse(r.out) : json::object();
        EXPECT_EQ(out["category"], "presets");
        EXPECT_EQ(out["result"], "Cleaning Done");
        return out;
    }
};

TEST_F(TpcOneClick, MacosCleansWhatTheBuiltInPresetMarksAndNothingElse) {
    for (const char* app : {"Firefox", "Google Chrome", "Safari"})
        fs::create_directories(root / "Applications" / (std::string(app) + ".app"));
    const auto firefox = home / "Library/Application Support/Firefox/Profiles/x.default";
    const auto chrome = home / "Library/Application Support/Google/Chrome/Default";
    firefoxStore(firefox);
    chromeStore(chrome);
    writeFile(home / "Library/Caches/com.apple.Safari/Cache.db", "cache");
    writeFile(home / "Library/Safari/Downloads.plist",
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
              "<key>DownloadHistory</key><array><dict/></array></dict></plist>\n");
    writeFile(home / ".Trash/t.txt", "t");
    writeFile(home / "Library/Logs/a.log", "log");
    writeFile(home / "Downloads/keep.zip", "zip"); // a row the system page leaves unmarked

    ASSERT_EQ(in({"cookies", "Google Chrome", "keep", "keep.org"}).code, 0);
    unmark({"Firefox/Cookies", "Firefox/Auto Quit Firefox", "Google Chrome/Auto Quit Chrome",
            "Safari/Auto Quit Safari"});

    // The presets scan, reached through the category registry, measures and removes nothing.
    auto scanned = jsonOf(in({"scan", "presets", "--json"}));
    EXPECT_EQ(scanned["result"].get<std::string>().rfind("Total Size To Clean: ", 0), 0u);
    EXPECT_GT(recordNamed(scanned["list"], "One Click Clean")["Size"].get<std::uint64_t>(), 0u);
    EXPECT_TRUE(fs::exists(firefox / "sessionstore.js"));

    auto out = oneClick();
    EXPECT_EQ(hostsIn(firefox / "cookies.sqlite"),
              (Strings{".example.com", "keep.org", "shop.example"}));
    EXPECT_FALSE(fs::exists(firefox / "sessionstore.js"));
    EXPECT_EQ(chromeHosts(chrome), Strings{"keep.org"});
    EXPECT_FALSE(fs::exists(chrome / "Current Session"));
    EXPECT_FALSE(fs::exists(home / "Library/Caches/com.apple.Safari/Cache.db"));
    EXPECT_FALSE(fs::exists(home / "Library/Safari/Downloads.plist"));
    EXPECT_TRUE(fs::is_empty(home / ".Trash"));
    EXPECT_FALSE(fs::exists(home / "Library/Logs/a.log"));
    EXPECT_EQ(readFile(home / "Downloads/keep.zip"), "zip");

    const auto& builtIn = recordNamed(out["list"], "One Click Clean");
    EXPECT_EQ(recordNamed(recordNamed(builtIn["Sub List Array"], "Firefox")["Sub List Array"],
                          "Cookies")["Mark"],
              0);
    // Both sleep options are off: nothing is taken or released.
    EXPECT_TRUE(eventsOf(trace, "power").empty());
    EXPECT_EQ(eventsOf(trace, "window").size(), 2u);

    // The status menu's entry, with "Prevent Normal Sleep" on: held for the clean, then released.
    ASSERT_EQ(in({"settings", "set", "Prevent Normal Sleep", "1"}).code, 0);
    writeFile(home / ".Trash/u.txt", "u");
    fs::remove(trace);
    auto menu =
        jsonOf(in({"presets", "clean", "One Click Clean", "--json", "--trace", trace.string()}));
    EXPECT_EQ(menu["result"], "Cleaning Done");
    EXPECT_TRUE(fs::is_empty(home / ".Trash"));
    EXPECT_EQ(eventsOf(trace, "power"),
              (std::vector<json>{
                  {{"event", "power"}, {"action", "register"}, {"normal", 1}, {"forced", 0}},
                  {{"event", "power"}, {"action", "deregister"}}}));
    EXPECT_EQ(hostsIn(firefox / "cookies.sqlite").size(), 3u);
}

TEST_F(TpcOneClick, LinuxCleansFirefoxAndChromiumProfilesAndTheTrash) {
    layout = "linux";
    for (const char* exe : {"firefox", "chromium"}) {
        writeFile(root / "usr/bin" / exe, "#!/bin/sh\n");
        fs::permissions(root / "usr/bin" / exe, fs::perms::owner_all);
    }
    const auto firefox = home / ".mozilla/firefox/abcd.default-release";
    writeFile(home / ".mozilla/firefox/profiles.ini",
              "[Profile0]\nName=default-release\nIsRelative=1\nPath=abcd.default-release\n"
              "Default=1\n");
    const auto chromium = home / ".config/chromium/Default";
    firefoxStore(firefox);
    chromeStore(chromium);
    writeFile(home / ".local/share/Trash/files/t.txt", "t");
    writeFile(home / ".local/share/Trash/info/t.txt.trashinfo",
              "[Trash Info]\nPath=/tmp/t.txt\nDeletionDate=2024-01-02T10:00:00\n");
    writeFile(home / "Downloads/keep.zip", "zip");

    ASSERT_EQ(in({"cookies", "Chromium", "keep", "keep.org"}).code, 0);
    unmark({"Firefox/Cookies", "Firefox/Auto Quit Firefox", "Chromium/Auto Quit Chromium"});

    auto out = oneClick();
    EXPECT_EQ(hostsIn(firefox / "cookies.sqlite"),
              (Strings{".example.com", "keep.org", "shop.example"}));
    EXPECT_FALSE(fs::exists(firefox / "sessionstore.js"));
    EXPECT_EQ(chromeHosts(chromium), Strings{"keep.org"});
    EXPECT_FALSE(fs::exists(chromium / "Current Session"));
    EXPECT_TRUE(namesIn(home / ".local/share/Trash/files").empty());
    EXPECT_EQ(readFile(home / "Downloads/keep.zip"), "zip");
    EXPECT_EQ(recordNamed(out["list"], "One Click Clean")["Mark"], 1);
    EXPECT_TRUE(eventsOf(trace, "power").empty());
}

} // namespace
} // namespace tpc::test
