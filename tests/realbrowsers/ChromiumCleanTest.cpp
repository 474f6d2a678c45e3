// The real Chromium makes a profile on a fake home (the linux layout's
// "~/.config/chromium/Default"), `tpc` keeps localhost's cookies and cleans every Chromium item,
// and nothing of 127.0.0.1 may be left in the profile or its cache while the bookmark, the search
// engines and localhost's cookies and IndexedDB stay; then Chromium must start on the cleaned
// profile, and every SQLite store in it must pass an integrity check.
//
// Chromium is driven headless over its DevTools pipe: it is closed with "Browser.close", the way
// that writes every store out (a SIGTERM in headless mode loses the cookies).

#include "realbrowsers/RealBrowserTest.h"

#include <gtest/gtest.h>

#include <chrono>

namespace tpc::test::real {
namespace {

using namespace std::chrono_literals;

class ChromiumClean : public RealBrowserTest {
protected:
    void SetUp() override { setUpBrowser("chromium", "Chromium", Ending::DevToolsClose); }

    std::vector<std::string> arguments(const std::string& url) const override {
        return {"--headless",
                "--no-sandbox",
                "--disable-gpu",
                "--disable-quic",
                "--no-first-run",
                "--no-default-browser-check",
                "--disable-background-networking",
                "--disable-component-update",
                "--disable-sync",
                "--password-store=basic",
                "--remote-debugging-pipe",
                "--user-data-dir=" + userData.string(),
                url};
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

    fs::path userData = home / ".config/chromium";
    fs::path profile = userData / "Default";
    fs::path cache = home / ".cache/chromium";
    const CookieTable cookies{profile / "Cookies", "cookies", "host_key"};
    const std::vector<std::string> removed = {kRemovedHost};
};

TEST_F(ChromiumClean, EveryItemCleanedLeavesNothingOfTheRemovedHostAndKeepsTheRest) {
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
    const auto urlIds =
        idList(profile / "History", "SELECT id FROM urls WHERE url LIKE '%127.0.0.1%'");
    ASSERT_FALSE(urlIds.empty()) << "no History row of " << kRemovedHost;
    ASSERT_GT(queryCount(profile / "History",
                         "SELECT count(*) FROM visits WHERE url IN (" + urlIds + ")"),
              0);
    std::vector<std::string> keptCookies;
    ASSERT_NO_FATAL_FAILURE(cookiesBeforeClean(cookies, keptCookies));
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
    noteKindsNotMade({{formEntries > 0, "a form entry"},
                      {downloads > 0, "a download"},
                      {iconsStored, "a site icon"},
                      {cached, "a cached page"},
                      {sessionStorage, "session storage"}});

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
    expectCookiesCleaned(cookies, keptCookies);
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
    expectSoundStores(userData);
    EXPECT_NE(readFile(profile / "Bookmarks").find(kBookmarkUrl), std::string::npos);
    noteTimeTaken(cleaned);
}

} // namespace
} // namespace tpc::test::real
