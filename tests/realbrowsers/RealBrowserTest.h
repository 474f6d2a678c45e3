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

#include "realbrowsers/ProfileProbe.h"
#include "support/SiteHttpServer.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
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

    void SetUp() override;

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

    // Prints the files under `root` that still name the removed host, for the record (the
    // checks of each kind of data fail on their own).
    void noteFilesNamingRemovedHost(const std::filesystem::path& root,
                                    const std::vector<std::string>& needles) const;

    TempDir dir;
    std::filesystem::path home = dir / "home";
    SiteHttpServer site;
};

} // namespace tpc::test::real
