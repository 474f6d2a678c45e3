// `tpc scan CATEGORY` and `tpc clean CATEGORY [--item PATH]... [--all]` on the browsers.

#include "TpcFixture.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sqlite3.h>

#include <fstream>

namespace tpc::test {
namespace {

using nlohmann::json;

std::vector<json> traceLines(const fs::path& file) {
    std::vector<json> out;
    std::ifstream in(file);
    std::string line;
    while (std::getline(in, line))
        if (!line.empty())
            out.push_back(json::parse(line));
    return out;
}

class TpcScanClean : public Tpc {
protected:
    fs::path profile = home / "Library/Application Support/Firefox/Profiles/x.default";
    fs::path cookies = profile / "cookies.sqlite";
    fs::path trace = dir / "trace.jsonl";

    void SetUp() override {
        Tpc::SetUp();
        fs::create_directories(root / "Applications/Firefox.app");
        sqlExec(cookies,
                "CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, originAttributes TEXT NOT NULL "
                "DEFAULT '', name TEXT, value TEXT, host TEXT, path TEXT, expiry INTEGER, "
                "lastAccessed INTEGER, creationTime INTEGER, isSecure INTEGER, isHttpOnly "
                "INTEGER, inBrowserElement INTEGER DEFAULT 0, sameSite INTEGER DEFAULT 0, "
                "rawSameSite INTEGER DEFAULT 0, schemeMap INTEGER DEFAULT 0);"
                "INSERT INTO moz_cookies(name, value, host, path) VALUES ('a', '1', "
                "'.example.com', '/'), ('b', '2', 'it''s.example', '/'), ('c', '3', "
                "'.keep.org', '/');");
    }
};

TEST_F(TpcScanClean, CleaningFirefoxCookiesDeletesExactlyTheUnkeptOnes) {
    auto kept = run({"cookies", "Firefox", "keep", "keep.org"});
    ASSERT_EQ(kept.code, 0) << kept.err;

    auto r = run(
        {"clean", "browsers", "--item", "Firefox/Cookies", "--trace", trace.string(), "--json"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(hostsIn(cookies), std::vector<std::string>{".keep.org"});

    auto out = json::parse(r.out);
    EXPECT_EQ(out["category"], "browsers");
    EXPECT_EQ(out["subtitle"], "Cleaning Done");
    EXPECT_TRUE(out["result"].is_null());
    ASSERT_EQ(out["list"].size(), 1u);
    const auto& firefox = out["list"][0];
    EXPECT_EQ(firefox["Description Dictionary"]["Description"], "Firefox");
    EXPECT_EQ(firefox["Description Dictionary"]["Path"],
              (root / "Applications/Firefox.app").string());
    EXPECT_EQ(firefox["Mark"], 1);
    EXPECT_FALSE(firefox.contains("Parent"));
    int marked = 0;
    for (const auto& sub : firefox["Sub List Array"]) {
        EXPECT_FALSE(sub.contains("Parent"));
        if (sub["Mark"] == 1) {
            ++marked;
            EXPECT_EQ(sub["Description Dictionary"]["Description"], "Cookies");
            // The rescan measured the kept cookie.
            EXPECT_GT(sub["Size"].get<std::uint64_t>(), 0u);
        }
    }
    EXPECT_EQ(marked, 1);

    std::vector<std::string> statuses, subtitles, windows;
    std::uint64_t maximum = 0, increments = 0;
    for (const auto& e : traceLines(trace)) {
        if (e["event"] == "progress") {
            const auto& m = e["message"];
            if (m.contains("Progress Status"))
                statuses.push_back(m["Progress Status"]);
            if (m.contains("Progress Indicator Max Value"))
                maximum = m["Progress Indicator Max Value"];
            if (m.contains("Progress Indicator Increment"))
                increments += m["Progress Indicator Increment"].get<std::uint64_t>();
        } else if (e["event"] == "subtitle" && e["button"] == "Browsers" && !e["text"].is_null()) {
            subtitles.push_back(e["text"]);
        } else if (e["event"] == "window") {
            windows.push_back(e["action"]);
        }
    }
    EXPECT_EQ(statuses, (std::vector<std::string>{"Preparing...", "Cleaning Firefox...",
                                                  "Scanning Firefox...", "Done...", " "}));
    EXPECT_EQ(maximum, 11u); // Firefox's weight and the one marked item
    EXPECT_EQ(increments, 11u);
    ASSERT_FALSE(subtitles.empty());
    EXPECT_EQ(subtitles.back(), "Cleaning Done");
    EXPECT_EQ(windows, (std::vector<std::string>{"begin", "end"}));

    // The keep list is as it was; nothing is left to delete.
    auto lists = json::parse(run({"cookies", "Firefox", "list", "--json"}).out);
    EXPECT_EQ(lists["keep"], json::array({"keep.org"}));
    EXPECT_TRUE(lists["delete"].empty());
}

TEST_F(TpcScanClean, CleanBrowsersRefusesToGuessWhatToClean) {
    auto r = run({"clean", "browsers"});
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.err.find("--item"), std::string::npos);
    EXPECT_EQ(hostsIn(cookies).size(), 3u);

    auto unknown =
        run({"clean", "browsers", "--item", "Firefox/Nope", "--item", "Firefox/Cookies"});
    EXPECT_EQ(unknown.code, 2);
    EXPECT_NE(unknown.err.find("Firefox/Nope"), std::string::npos);
    EXPECT_EQ(unknown.err.find("Firefox/Cookies"), std::string::npos);
    EXPECT_EQ(hostsIn(cookies).size(), 3u);

    EXPECT_EQ(run({"clean", "browsers", "--all", "--item", "Firefox/Cookies"}).code, 2);
    EXPECT_EQ(run({"clean", "nothing", "--all"}).code, 2);
    auto badScan = run({"scan", "nothing"});
    EXPECT_EQ(badScan.code, 2);
    EXPECT_NE(badScan.err.find("browsers"), std::string::npos);
    EXPECT_EQ(hostsIn(cookies).size(), 3u);
}

TEST_F(TpcScanClean, ScanShowsTheTotalsAndTheItemsFound) {
    auto r = run({"scan", "browsers", "--json"});
    ASSERT_EQ(r.code, 0) << r.err;
    auto out = json::parse(r.out);
    EXPECT_EQ(out["category"], "browsers");
    ASSERT_TRUE(out["result"].is_string());
    const std::string result = out["result"];
    EXPECT_EQ(result.rfind("Total Size To Clean: ", 0), 0u);
    EXPECT_NE(result.find("\nTotal Items To Clean: 3 items"), std::string::npos);
    EXPECT_EQ(out["subtitle"], "(3 Items found)");
    const auto& firefox = out["list"][0];
    EXPECT_GT(firefox["Size"].get<std::uint64_t>(), 0u);

    auto text = run({"scan", "browsers"});
    ASSERT_EQ(text.code, 0) << text.err;
    EXPECT_NE(text.out.find("[x] Firefox"), std::string::npos);
    EXPECT_NE(text.out.find("Total Items To Clean: 3 items"), std::string::npos);
    EXPECT_NE(text.out.find("Browsers: (3 Items found)"), std::string::npos);
    EXPECT_EQ(hostsIn(cookies).size(), 3u);
}

// (--all is not run here: Firefox's auto-quit item would ask the host's own processes to quit.)
TEST_F(TpcScanClean, EachItemOptionNamesOneRow) {
    writeFile(profile / "sessionstore.js", "{}");
    auto r = run(
        {"clean", "browsers", "--item", "Firefox/Cookies", "--item", "Firefox/Sessions", "--json"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(hostsIn(cookies).empty());
    EXPECT_FALSE(fs::exists(profile / "sessionstore.js"));
    std::vector<std::string> marked;
    const auto out = json::parse(r.out);
    for (const auto& sub : out["list"][0]["Sub List Array"])
        if (sub["Mark"] == 1)
            marked.push_back(sub["Description Dictionary"]["Description"]);
    EXPECT_EQ(marked, (std::vector<std::string>{"Cookies", "Sessions"}));
}

} // namespace
} // namespace tpc::test
