#pragma once
// What the real-browser tests share: a fake home in a temporary folder, a small web site on
// 127.0.0.1 that two host names reach, and `tpc` run on the home to keep one host's cookies and
// clean every item of a browser.
//
// The site, visited in this order: "/a" on 127.0.0.1 sets cookies (a header and a script), local
// and session storage and an IndexedDB record, has an icon, and submits a form to "/dl", which
// downloads "/file.bin" and goes on to "/b" on localhost; "/b" stores the same kinds of data for
// localhost and goes to "/done" on 127.0.0.1, the end of a visit. Pages are cached but
// revalidated, so the site sees every page load.

#include "realbrowsers/BrowserProcess.h"
#include "realbrowsers/ProfileProbe.h"
#include "support/SiteHttpServer.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tpc::test::real {

class RealBrowserTest : public ::testing::Test {
protected:
    // The host whose data must go, and the host on the cookie keep list.
    static constexpr const char* kRemovedHost = "127.0.0.1";
    static constexpr const char* kKeptHost = "localhost";
    // A bookmarked page no run visits.
    static constexpr const char* kBookmarkUrl = "http://bookmark.example/kept";
    static constexpr const char* kBookmarkTitle = "Kept bookmark";

    struct Cleaned {
        // The items cleaned ("Cookies", ...), as the scan listed them.
        std::vector<std::string> items;
        // The lines the clean wrote to the log (trace "log" events).
        std::vector<std::string> logs;
    };

    // How a run ends once the visit did: "/done" closes its window and the browser quits with
    // it, or the test sends "Browser.close" over the DevTools pipe.
    enum class Ending { PageClosesWindow, DevToolsClose };

    // Where a browser keeps its cookies: `table` of the SQLite store `db`, hosts in `hostColumn`.
    struct CookieTable {
        std::filesystem::path db;
        std::string table;
        std::string hostColumn;
    };

    void SetUp() override;
    // Finds the browser `command` (see findBrowser) or skips the test, then does SetUp and serves
    // the site for `ending`; `name` is the browser in messages.
    void setUpBrowser(const std::string& command, const std::string& name, Ending ending);

    // The browser's arguments for a headless run on `url`.
    virtual std::vector<std::string> arguments(const std::string& url) const = 0;
    // One headless run on `url`, ended as setUpBrowser was told once "/done" was served
    // `doneTimes` times in all (within `limit`, or the test fails); the wait status of the
    // browser, stopped when it did not end by itself.
    int run(const std::string& url, std::size_t doneTimes, std::chrono::seconds limit);

    // The site's pages; with `closeWhenDone`, "/done" closes its window (a browser that quits
    // with its last window then ends by itself).
    void serveSite(bool closeWhenDone);
    std::string siteUrl(const std::string& host, const std::string& path) const {
        return site.url(host, path);
    }
    // Waits until "/done" was served `times` times in all.
    bool visitEnded(std::size_t times, std::chrono::seconds limit) const;

    TpcResult tpc(const std::vector<std::string>& args) const {
        return runTpc(home, dir.path(), args);
    }
    // Puts kKeptHost on the browser's cookie keep list, then cleans every item of the browser
    // the browsers scan lists except its "Auto Quit" row (the browser is not running).
    Cleaned keepHostAndCleanEverything(const std::string& browser);

    // "host|name" of the cookies in `cookies` whose host is `where` ("= 'localhost'"), sorted.
    static std::vector<std::string> cookieRows(const CookieTable& cookies,
                                               const std::string& where);
    // Before the clean: the kept host's cookies into `kept`; a fatal failure when it or the
    // removed host has none (call it in ASSERT_NO_FATAL_FAILURE).
    void cookiesBeforeClean(const CookieTable& cookies, std::vector<std::string>& kept) const;
    // After the clean: no cookie of the removed host is left, and the kept host's are `kept`.
    void expectCookiesCleaned(const CookieTable& cookies,
                              const std::vector<std::string>& kept) const;

    // Notes the kinds of data (`made`, what) the runs did not make, whose checks are left out.
    void noteKindsNotMade(std::initializer_list<std::pair<bool, const char*>> kinds) const;
    // Prints the files under `root` that still name the removed host, for the record (the
    // checks of each kind of data fail on their own).
    void noteFilesNamingRemovedHost(const std::filesystem::path& root,
                                    const std::vector<std::string>& needles) const;
    // Every SQLite store under `root` passes an integrity check.
    static void expectSoundStores(const std::filesystem::path& root);
    // Notes how long the test took since setUpBrowser, for how many runs and what clean.
    void noteTimeTaken(const Cleaned& cleaned) const;

    TempDir dir;
    std::filesystem::path home = dir / "home";
    SiteHttpServer site;
    std::optional<std::filesystem::path> executable;
    std::string browserCommand;
    std::string browserName;
    Ending browserEnding = Ending::PageClosesWindow;
    int runs = 0;
    std::chrono::steady_clock::time_point started;
};

} // namespace tpc::test::real
