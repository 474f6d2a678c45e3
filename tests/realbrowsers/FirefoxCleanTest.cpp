// The real Firefox ESR makes a profile on a fake home (a profile of
// "~/.mozilla/firefox/profiles.ini", the linux layout), `tpc` keeps localhost's cookies and
// cleans every Firefox item, and nothing of 127.0.0.1 may be left in the profile or its cache
// while the bookmark and localhost's cookies and site storage stay; then Firefox must start on
// the cleaned profile, and every SQLite store in it must pass an integrity check.
//
// Firefox is ended the way a user ends it: the last page closes the only window (a preference
// lets scripts do that), and Firefox quits with its last window, writing every store out. A
// SIGTERM would not: it leaves no session and half-written stores.

#include "realbrowsers/RealBrowserTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

namespace tpc::test::real {
namespace {

using namespace std::chrono_literals;

// Quiet, quick headless starts with no network of their own, downloads saved without asking,
// and windows that scripts may close.
const char kFirefoxPrefs[] = R"(user_pref("browser.shell.checkDefaultBrowser", false);
user_pref("browser.aboutwelcome.enabled", false);
user_pref("browser.startup.homepage_override.mstone", "ignore");
user_pref("startup.homepage_welcome_url", "");
user_pref("datareporting.policy.dataSubmissionEnabled", false);
user_pref("datareporting.healthreport.uploadEnabled", false);
user_pref("toolkit.telemetry.reportingpolicy.firstRun", false);
user_pref("network.captive-portal-service.enabled", false);
user_pref("network.connectivity-service.enabled", false);
user_pref("browser.safebrowsing.update.enabled", false);
user_pref("browser.safebrowsing.downloads.remote.enabled", false);
user_pref("extensions.update.enabled", false);
user_pref("app.update.auto", false);
user_pref("browser.download.useDownloadDir", true);
user_pref("browser.download.always_ask_before_handling_new_types", false);
user_pref("browser.tabs.warnOnClose", false);
user_pref("dom.allow_scripts_to_close_windows", true);
)";

class FirefoxClean : public RealBrowserTest {
protected:
    void SetUp() override { setUpBrowser("firefox-esr", "Firefox", Ending::PageClosesWindow); }

    std::vector<std::string> arguments(const std::string& url) const override {
        return {"--headless", "--no-remote", "--profile", profile.string(), url};
    }

    std::vector<std::string> bookmarks() const {
        return queryRows(profile / "places.sqlite",
                         "SELECT b.title, p.url FROM moz_bookmarks b "
                         "JOIN moz_places p ON p.id = b.fk ORDER BY b.id");
    }

    long long downloadRecords() const {
        return queryCount(profile / "places.sqlite",
                          "SELECT count(*) FROM moz_annos a JOIN moz_anno_attributes n "
                          "ON n.id = a.anno_attribute_id WHERE n.name LIKE 'downloads/%'");
    }

    std::vector<std::string> sessionFiles() const {
        std::vector<std::string> files;
        if (fs::exists(profile / "sessionstore.jsonlz4"))
            files.push_back("sessionstore.jsonlz4");
        for (const auto& name : entriesNamed(profile / "sessionstore-backups", ""))
            files.push_back("sessionstore-backups/" + name);
        return files;
    }

    fs::path profiles = home / ".mozilla/firefox";
    fs::path profile = profiles / "tpcreal.default";
    fs::path cache = home / ".cache/mozilla/firefox/tpcreal.default";
    fs::path storage = profile / "storage/default";
    const CookieTable cookies{profile / "cookies.sqlite", "moz_cookies", "host"};
    // Places keep hosts reversed ("1.0.0.721." in rev_host), as does the old local storage.
    const std::vector<std::string> removed = {kRemovedHost, "1.0.0.721."};
};

TEST_F(FirefoxClean, EveryItemCleanedLeavesNothingOfTheRemovedHostAndKeepsTheRest) {
    writeFile(profiles / "profiles.ini", "[Profile0]\nName=default\nIsRelative=1\n"
                                         "Path=tpcreal.default\nDefault=1\n\n"
                                         "[General]\nStartWithLastProfile=1\nVersion=2\n");
    // The bookmark comes in Firefox's own way: at its first start it imports the profile's
    // bookmarks.html when asked to. The request is dropped afterwards, so that later starts keep
    // what the places store holds.
    writeFile(profile / "bookmarks.html",
              std::string("<!DOCTYPE NETSCAPE-Bookmark-file-1>\n"
                          "<META HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; "
                          "charset=UTF-8\">\n<TITLE>Bookmarks</TITLE>\n<H1>Bookmarks Menu</H1>\n"
                          "<DL><p>\n    <DT><A HREF=\"") +
                  kBookmarkUrl + "\">" + kBookmarkTitle + "</A>\n</DL><p>\n");
    writeFile(profile / "user.js",
              std::string(kFirefoxPrefs) +
                  "user_pref(\"browser.places.importBookmarksHTML\", true);\n");
    ASSERT_EQ(describeStatus(run(siteUrl(kRemovedHost, "/a"), 1, 90s)), "exit 0");
    writeFile(profile / "user.js", kFirefoxPrefs);

    // What the run stored: without it the checks below would prove nothing.
    const std::string bookmark = std::string(kBookmarkTitle) + "|" + kBookmarkUrl;
    const auto bookmarksBefore = bookmarks();
    ASSERT_NE(std::find(bookmarksBefore.begin(), bookmarksBefore.end(), bookmark),
              bookmarksBefore.end())
        << joined(bookmarksBefore);
    const auto placeIds =
        idList(profile / "places.sqlite", "SELECT id FROM moz_places WHERE url LIKE '%127.0.0.1%'");
    ASSERT_FALSE(placeIds.empty()) << "no place of " << kRemovedHost;
    ASSERT_GT(
        queryCount(profile / "places.sqlite",
                   "SELECT count(*) FROM moz_historyvisits WHERE place_id IN (" + placeIds + ")"),
        0);
    std::vector<std::string> keptCookies;
    ASSERT_NO_FATAL_FAILURE(cookiesBeforeClean(cookies, keptCookies));
    const auto keptStorage = entriesNamed(storage, "+++localhost+");
    ASSERT_EQ(keptStorage.size(), 1u) << "no site storage of " << kKeptHost;
    ASSERT_TRUE(fs::is_directory(storage / keptStorage.front() / "idb"));
    ASSERT_FALSE(entriesNamed(storage, "+++127.0.0.1+").empty());
    ASSERT_FALSE(sessionFiles().empty()) << "no session written";
    const bool searchEngines = fs::exists(profile / "search.json.mozlz4");
    // Kinds a headless run may or may not produce: checked when they were.
    const auto downloads = downloadRecords();
    const bool iconsStored = !cellsNaming(profile / "favicons.sqlite", removed).empty();
    const bool cached = !filesNaming(cache, removed).empty();
    noteKindsNotMade(
        {{downloads > 0, "a download"}, {iconsStored, "a site icon"}, {cached, "a cached page"}});

    const auto cleaned = keepHostAndCleanEverything("Firefox");
    ASSERT_FALSE(cleaned.items.empty());

    {
        SCOPED_TRACE("history: places, favicons");
        EXPECT_EQ(queryCount(profile / "places.sqlite",
                             "SELECT count(*) FROM moz_historyvisits WHERE place_id IN (" +
                                 placeIds + ")"),
                  0);
        EXPECT_EQ(joined(cellsNaming(profile / "places.sqlite", removed)), "(none)");
        if (iconsStored)
            EXPECT_EQ(joined(cellsNaming(profile / "favicons.sqlite", removed)), "(none)");
        if (downloads > 0)
            EXPECT_EQ(downloadRecords(), 0);
    }
    expectCookiesCleaned(cookies, keptCookies);
    {
        SCOPED_TRACE("site storage: storage/default and its records");
        EXPECT_EQ(joined(entriesNamed(storage, "+++127.0.0.1+")), "(none)");
        EXPECT_EQ(entriesNamed(storage, "+++localhost+"), keptStorage);
        EXPECT_TRUE(fs::is_directory(storage / keptStorage.front() / "idb"));
        for (const char* store :
             {"storage.sqlite", "storage/ls-archive.sqlite", "webappsstore.sqlite"})
            EXPECT_EQ(joined(cellsNaming(profile / store, removed)), "(none)") << store;
    }
    {
        SCOPED_TRACE("sessions");
        EXPECT_EQ(joined(sessionFiles()), "(none)");
    }
    if (cached) {
        SCOPED_TRACE("cache");
        EXPECT_EQ(joined(filesNaming(cache, removed)), "(none)");
    }
    {
        SCOPED_TRACE("what stays: bookmark, search engines");
        EXPECT_EQ(bookmarks(), bookmarksBefore);
        if (searchEngines)
            EXPECT_TRUE(fs::exists(profile / "search.json.mozlz4"));
    }
    noteFilesNamingRemovedHost(profile, removed);
    noteFilesNamingRemovedHost(cache, removed);

    // The cleaned profile still works: Firefox starts on it, loads a page and quits normally
    // without setting a damaged store aside, the bookmark is still there, and every store is
    // sound.
    EXPECT_EQ(describeStatus(run(siteUrl(kRemovedHost, "/done"), 2, 60s)), "exit 0");
    EXPECT_EQ(joined(entriesNamed(profile, ".corrupt")), "(none)");
    EXPECT_EQ(bookmarks(), bookmarksBefore);
    expectSoundStores(profile);
    noteTimeTaken(cleaned);
}

} // namespace
} // namespace tpc::test::real
