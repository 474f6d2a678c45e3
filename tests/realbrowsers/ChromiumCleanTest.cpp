// The real Chromium makes a profile on a fake home (the linux layout's
// "~/.config/chromium/Default"), `tpc` keeps localhost's cookies and cleans every Chromium item,
// and nothing of 127.0.0.1 may be left in the profile or its cache while the bookmark, the search
// engines and localhost's cookies and IndexedDB stay; then Chromium must start on the cleaned
// profile, and every SQLite store in it must pass an integrity check.
//
// Chromium is driven headless over its DevTools pipe: it is closed with "Browser.close", the way
// that writes every store out (a SIGTERM in headless mode loses the cookies).

#include "realbrowsers/BrowserProcess.h"
#include "realbrowsers/RealBrowserTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <optional>

namespace tpc::test::real {
namespace {

using namespace std::chrono_literals;

class ChromiumClean : public RealBrowserTest {
protected:
    void SetUp() override {
        executable = findBrowser("chromium");
        if (!executable)
            GTEST_SKIP() << "Chromium is not installed (no `chromium` on "
                         << (std::getenv("TPC_REAL_BROWSER_PATH") ? "TPC_REAL_BROWSER_PATH"
                                                                  : "PATH")
                         << ")";
        RealBrowserTest::SetUp();
        serveSite(false);
    }

    // One headless run on `url`, ended once "/done" was served `doneTimes` times in all; the
    // wait status of the browser.
    int run(const std::string& url, std::size_t doneTimes, std::chrono::seconds limit) {
        ++runs;
        BrowserProcess browser(
            {*executable,
             {"--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
              "--no-default-browser-check", "--disable-background-networking",
              "--disable-component-update", "--disable-sync", "--password-store=basic",
              "--remote-debugging-pipe", "--user-data-dir=" + userData.string(), url},
             home,
             dir / ("chromium-" + std::to_string(runs) + ".log"),
             true});
        EXPECT_TRUE(visitEnded(doneTimes, limit))
            << "run " << runs << ": Chromium did not reach /done within " << limit.count()
            << " s; requests: " << joined(site.requests()) << "\nlog:\n"
            << browser.logTail();
        const bool asked = browser.sendDevTools(R"({"id":1,"method":"Browser.close"})");
        auto status = asked ? browser.waitExit(30s) : std::nullopt;
        if (!status) {
            ADD_FAILURE() << "run " << runs << ": Chromium did not close on Browser.close\n"
                          << browser.logTail();
            status = browser.stop(10s);
        }
        return *status;
    }

    std::vector<std::string> sessionFiles() const {
        std::vector<std::string> files;
        for (const char* folder : {"Sessions", "Sessions_Encrypted"})
            for (const char* prefix : {"Session_", "Tabs_"})
                for (const auto& name : entriesNamed(profile / folder, prefix))
                    files.push_back(std::string(folder) + "/" + name);
        for (const char* legacy : {"Current Session", "Current Tabs", "Last Session", "Last Tabs"})
            if (fs::exists(profile / legacy))
                files.push_back(legacy);
        return files;
    }

    std::string removedUrlIds() const {
        std::string ids;
        for (const auto& id :
             queryRows(profile / "History", "SELECT id FROM urls WHERE url LIKE '%127.0.0.1%'"))
            ids += (ids.empty() ? "" : ",") + id;
        return ids;
    }

    std::optional<fs::path> executable;
    int runs = 0;
    fs::path userData = home / ".config/chromium";
    fs::path profile = userData / "Default";
    fs::path cache = home / ".cache/chromium";
    const std::vector<std::string> removed = {kRemovedHost};
};

TEST_F(ChromiumClean, EveryItemCleanedLeavesNothingOfTheRemovedHostAndKeepsTheRest) {
    const auto started = std::chrono::steady_clock::now();
    // The bookmark is in place before the first start, in Chromium's own file.
    writeFile(profile / "Bookmarks",
              R"({"roots":{"bookmark_bar":{"children":[{"id":"4","name":")" +
                  std::string(kBookmarkTitle) + R"(","type":"url","url":")" + kBookmarkUrl +
                  R"("}],"id":"1","name":"Bookmarks bar","type":"folder"},)"
                  R"("other":{"children":[],"id":"2","name":"Other bookmarks","type":"folder"},)"
                  R"("synced":{"children":[],"id":"3","name":"Mobile bookmarks","type":"folder"}},)"
                  R"("version":1})");

    // The visit, twice: the first run's session is then the last session, the second run's the
    // current one (whose session storage a start keeps).
    ASSERT_EQ(describeStatus(run(siteUrl(kRemovedHost, "/a"), 1, 90s)), "exit 0");
    ASSERT_EQ(describeStatus(run(siteUrl(kRemovedHost, "/a"), 2, 60s)), "exit 0");

    // What the runs stored: without it the checks below would prove nothing.
    const auto urlIds = removedUrlIds();
    ASSERT_FALSE(urlIds.empty()) << "no History row of " << kRemovedHost;
    ASSERT_GT(queryCount(profile / "History",
                         "SELECT count(*) FROM visits WHERE url IN (" + urlIds + ")"),
              0);
    const auto keptCookies =
        queryRows(profile / "Cookies",
                  "SELECT host_key, name FROM cookies WHERE host_key = 'localhost' ORDER BY 1, 2");
    ASSERT_FALSE(keptCookies.empty()) << "no cookie of " << kKeptHost;
    ASSERT_GT(queryCount(profile / "Cookies",
                         "SELECT count(*) FROM cookies WHERE host_key LIKE '%127.0.0.1%'"),
              0);
    const auto keptIndexedDb = entriesNamed(profile / "IndexedDB", "_localhost_");
    ASSERT_FALSE(keptIndexedDb.empty()) << "no IndexedDB of " << kKeptHost;
    ASSERT_FALSE(entriesNamed(profile / "IndexedDB", "_127.0.0.1_").empty());
    ASSERT_FALSE(filesNaming(profile / "Local Storage", removed).empty());
    ASSERT_GE(entriesNamed(profile / "Sessions", "Session_").size() +
                  entriesNamed(profile / "Sessions_Encrypted", "Session_").size(),
              2u)
        << "sessions: " << joined(sessionFiles());
    const auto searchEngines = queryCount(profile / "Web Data", "SELECT count(*) FROM keywords");
    ASSERT_GT(searchEngines, 0);
    ASSERT_NE(readFile(profile / "Bookmarks").find(kBookmarkUrl), std::string::npos);
    // Kinds a headless run may or may not produce: checked when they were.
    const auto formEntries = queryCount(profile / "Web Data", "SELECT count(*) FROM autofill");
    const auto downloads = queryCount(profile / "History", "SELECT count(*) FROM downloads");
    const bool iconsStored = !cellsNaming(profile / "Favicons", removed).empty();
    const bool cached = !filesNaming(cache, removed).empty();
    const bool sessionStorage = !filesNaming(profile / "Session Storage", removed).empty();
    for (const auto& [made, what] : {std::pair{formEntries > 0, "a form entry"},
                                     {downloads > 0, "a download"},
                                     {iconsStored, "a site icon"},
                                     {cached, "a cached page"},
                                     {sessionStorage, "session storage"}})
        if (!made)
            std::cout << "[ note ] Chromium made no " << what << " here: not checked\n";

    const auto cleaned = keepHostAndCleanEverything("Chromium");
    ASSERT_FALSE(cleaned.items.empty());

    {
        SCOPED_TRACE("history: History, Favicons, Top Sites, DIPS");
        EXPECT_EQ(queryCount(profile / "History",
                             "SELECT count(*) FROM visits WHERE url IN (" + urlIds + ")"),
                  0);
        for (const char* store : {"History", "Archived History", "Top Sites", "DIPS"})
            EXPECT_EQ(joined(cellsNaming(profile / store, removed)), "(none)") << store;
        if (downloads > 0)
            EXPECT_EQ(queryCount(profile / "History", "SELECT count(*) FROM downloads"), 0);
        if (iconsStored)
            EXPECT_EQ(joined(cellsNaming(profile / "Favicons", removed)), "(none)");
    }
    {
        SCOPED_TRACE("cookies");
        EXPECT_EQ(joined(queryRows(profile / "Cookies",
                                   "SELECT host_key, name FROM cookies "
                                   "WHERE host_key LIKE '%127.0.0.1%' ORDER BY 1, 2")),
                  "(none)");
        EXPECT_EQ(queryRows(profile / "Cookies", "SELECT host_key, name FROM cookies "
                                                 "WHERE host_key = 'localhost' ORDER BY 1, 2"),
                  keptCookies);
    }
    {
        SCOPED_TRACE("site storage: IndexedDB, Local Storage, Session Storage, quota records");
        EXPECT_EQ(joined(entriesNamed(profile / "IndexedDB", "_127.0.0.1_")), "(none)");
        EXPECT_EQ(entriesNamed(profile / "IndexedDB", "_localhost_"), keptIndexedDb);
        EXPECT_EQ(joined(filesNaming(profile / "Local Storage", removed)), "(none)");
        if (sessionStorage)
            EXPECT_EQ(joined(filesNaming(profile / "Session Storage", removed)), "(none)");
        EXPECT_EQ(joined(cellsNaming(profile / "WebStorage/QuotaManager", removed)), "(none)");
    }
    {
        SCOPED_TRACE("sessions and tabs, current and last");
        EXPECT_EQ(joined(sessionFiles()), "(none)");
    }
    {
        SCOPED_TRACE("form data and cache");
        if (formEntries > 0)
            EXPECT_EQ(queryCount(profile / "Web Data", "SELECT count(*) FROM autofill"), 0);
        if (cached)
            EXPECT_EQ(joined(filesNaming(cache, removed)), "(none)");
    }
    {
        SCOPED_TRACE("what stays: bookmark, search engines");
        EXPECT_NE(readFile(profile / "Bookmarks").find(kBookmarkUrl), std::string::npos);
        EXPECT_EQ(queryCount(profile / "Web Data", "SELECT count(*) FROM keywords"), searchEngines);
    }
    noteFilesNamingRemovedHost(userData, removed);
    noteFilesNamingRemovedHost(cache, removed);

    // The cleaned profile still works: Chromium starts on it, loads a page and closes normally,
    // and every store it has is sound.
    EXPECT_EQ(describeStatus(run(siteUrl(kRemovedHost, "/done"), 3, 60s)), "exit 0");
    for (const auto& store : sqliteStores(userData))
        EXPECT_EQ(integrityOf(store), "ok") << store;
    EXPECT_NE(readFile(profile / "Bookmarks").find(kBookmarkUrl), std::string::npos);

    std::cout << "[ note ] Chromium: "
              << std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() -
                                                                  started)
                     .count()
              << " s for " << runs << " runs and the clean of: " << joined(cleaned.items) << "\n";
}

} // namespace
} // namespace tpc::test::real
