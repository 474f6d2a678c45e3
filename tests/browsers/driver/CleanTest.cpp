// The browser clean: what it deletes and quits, its progress arithmetic, the rescan it ends with,
// and its abort.

#include "DriverHarness.h"

#include "browsers/CookieLists.h"
#include "core/Keys.h"
#include "core/Record.h"

#include <gtest/gtest.h>

namespace tpc::test::driver {
namespace {

using browsers::CookieBrowser;
using core::Category;
using core::TaskKind;

class Clean : public ::testing::TestWithParam<Main> {
protected:
    DriverHarness h{GetParam()};

    fs::path cookies() const { return h.firefoxProfile() / "cookies.sqlite"; }
    fs::path session() const { return h.firefoxProfile() / "sessionstore.bak"; }

    void firefoxData() {
        exec(cookies(), std::string(kMozCookies) +
                            "INSERT INTO moz_cookies(name, value, host, path) VALUES ('a', '1', "
                            "'.example.com', '/'), ('b', '2', 'shop.example', '/'), ('c', '3', "
                            "'keep.org', '/');");
        writeFile(session(), "{}");
    }

    std::vector<std::string> hosts() const {
        return rows(cookies(), "SELECT host FROM moz_cookies ORDER BY host");
    }
};

TEST_P(Clean, OnlyTheAutoQuitItemMarkedQuitsTheBrowserAndDeletesNothing) {
    h.install("Firefox");
    h.install("Opera");
    firefoxData();
    h.start();
    ASSERT_TRUE(h.driver().markOnly({"Firefox/Auto Quit Firefox"}).empty());
    h.clean();

    const auto quit = h.apps->terminated();
    ASSERT_FALSE(quit.empty());
    for (const auto& id : quit)
        EXPECT_EQ(id, "org.mozilla.firefox");
    EXPECT_EQ(hosts().size(), 3u);
    EXPECT_TRUE(fs::exists(session()));
    // Opera was not marked: not even its "Cleaning" line.
    const auto statuses = h.statuses();
    EXPECT_EQ(std::find(statuses.begin(), statuses.end(), "Cleaning Opera..."), statuses.end());
}

TEST_P(Clean, DeletesTheUnkeptCookiesThenRescansAndEndsWithCleaningDone) {
    h.install("Firefox");
    firefoxData();
    h.start();
    h.app->module<tpc::browsers::BrowsersModule>()->cookies().keep(CookieBrowser::Firefox,
                                                                   "keep.org");
    auto& d = h.driver();
    ASSERT_TRUE(d.markOnly({"Firefox/Cookies"}).empty());
    EXPECT_EQ(d.cleanProgressMaximum(), 11u);
    h.clean();

    EXPECT_EQ(hosts(), (std::vector<std::string>{"keep.org"}));
    EXPECT_TRUE(fs::exists(session()));
    EXPECT_TRUE(h.apps->terminated().empty());
    EXPECT_TRUE(h.app->module<tpc::browsers::BrowsersModule>()
                    ->cookies()
                    .disAllowed(CookieBrowser::Firefox)
                    .empty());

    // One bar from Preparing to Done: the rescan moves it on and does not own it.
    EXPECT_EQ(h.statuses(), (std::vector<std::string>{"Preparing...", "Cleaning Firefox...",
                                                      "Scanning Firefox...", "Done...", " "}));
    EXPECT_EQ(h.maxima(), (std::vector<std::uint64_t>{11}));
    EXPECT_EQ(h.increments(), 11u);
    auto progress = h.frontend.eventsOf(Type::Progress);
    EXPECT_EQ(progress[1].progress.indicatorType, 1);
    EXPECT_EQ(progress[1].progress.startStopAnimation, 0);
    EXPECT_EQ(progress[1].progress.doubleValue, 0u);
    EXPECT_EQ(progress.back().progress.hideUnhide, 0);
    EXPECT_EQ(h.frontend.eventsOf(Type::Window).size(), 2u);
    EXPECT_FALSE(h.frontend.progressWindowShown());
    EXPECT_EQ(h.frontend.abortButtonTitle(), "Abort Clean");

    // The rescan's sizes are what is left.
    auto firefoxCookies = row(core::subList(row(d.list(), "Firefox")), "Cookies");
    auto left =
        h.app->module<tpc::browsers::BrowsersModule>()->cleaners().find("Firefox")->countItem(
            "Cookies");
    ASSERT_TRUE(left);
    EXPECT_EQ(left->count, 1);
    EXPECT_EQ(core::size(firefoxCookies), browsers::bytesOf(*left));

    // The rescan's subtitle, then the clean's.
    const auto subtitles = h.subtitles();
    ASSERT_GE(subtitles.size(), 2u);
    EXPECT_EQ(subtitles.back(), "Cleaning Done");
    std::int64_t found = 0;
    const auto* firefox =
        h.app->module<tpc::browsers::BrowsersModule>()->cleaners().find("Firefox");
    for (const auto& item : firefox->items)
        if (auto pair = firefox->countItem(item))
            found += pair->count;
    EXPECT_GE(found, 1); // the kept cookie
    EXPECT_EQ(subtitles[subtitles.size() - 2], "(" + std::to_string(found) + " Items found)");
    EXPECT_EQ(h.frontend.resultText(), std::nullopt);

    for (auto kind : {TaskKind::Scan, TaskKind::Clean}) {
        EXPECT_FALSE(h.flags().running(Category::Browsers, kind));
        EXPECT_FALSE(h.flags().aborting(Category::Browsers, kind));
    }
    EXPECT_FALSE(h.flags().abortCleaning());
}

TEST_P(Clean, RootsAreCleanedInTheListsOrderAndUnmarkedRootsAreSkipped) {
    for (const char* b : {"Safari", "Firefox", "Google Chrome", "Opera"})
        h.install(b);
    h.start();
    auto& d = h.driver();
    d.browserMainListPopUpButtonClicked(core::SortChoice::Name);
    d.browserMainListPopUpButtonClicked(core::SortChoice::Name); // descending
    core::setMark(row(d.list(), "Google Chrome"), false);
    const auto maximum = d.cleanProgressMaximum();
    EXPECT_EQ(maximum, 36u + 38u);
    h.clean();

    std::vector<std::string> cleaning;
    for (const auto& s : h.statuses())
        if (s.rfind("Cleaning ", 0) == 0)
            cleaning.push_back(s);
    EXPECT_EQ(cleaning, (std::vector<std::string>{"Cleaning Safari...", "Cleaning Opera...",
                                                  "Cleaning Firefox..."}));
    EXPECT_EQ(h.maxima(), (std::vector<std::uint64_t>{maximum}));
    // Each marked root: its quit step and one step per marked item; then the rescan's counts.
    EXPECT_EQ(h.increments(), (1u + 5u) + (1u + 11u) + (1u + 10u) + (4u + 9u + 11u + 10u));
    // Every marked auto-quit item quit its browser; Chrome's root was not marked.
    auto quit = h.apps->terminated();
    EXPECT_EQ(std::count(quit.begin(), quit.end(), "com.google.Chrome"), 0);
    EXPECT_GT(std::count(quit.begin(), quit.end(), "org.mozilla.firefox"), 0);
    EXPECT_EQ(h.subtitles().back(), "Cleaning Done");
}

TEST_P(Clean, AnAbortDuringTheCleanStopsBeforeTheNextDeleteAndClearsTheFlags) {
    h.install("Firefox");
    h.install("Opera");
    firefoxData();
    h.start();
    h.frontend.abortOnStatus = "Cleaning Firefox...";
    h.clean();

    EXPECT_EQ(hosts().size(), 3u);
    EXPECT_TRUE(fs::exists(session()));
    const auto statuses = h.statuses();
    EXPECT_EQ(std::vector<std::string>(statuses.end() - 2, statuses.end()),
              (std::vector<std::string>{"Aborted...", " "}));
    EXPECT_EQ(std::find(statuses.begin(), statuses.end(), "Cleaning Opera..."), statuses.end());
    EXPECT_EQ(std::find(statuses.begin(), statuses.end(), "Scanning Firefox..."), statuses.end());
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Browsers), "Aborted");
    EXPECT_FALSE(h.frontend.progressWindowShown());
    EXPECT_FALSE(h.flags().running(Category::Browsers, TaskKind::Clean));
    EXPECT_FALSE(h.flags().aborting(Category::Browsers, TaskKind::Clean));
    EXPECT_FALSE(h.flags().abortCleaning());

    // The next clean owns a fresh bar and runs to its end.
    h.frontend.clear();
    ASSERT_TRUE(h.driver().markOnly({"Firefox/Sessions"}).empty());
    h.clean();
    EXPECT_FALSE(fs::exists(session()));
    EXPECT_EQ(hosts().size(), 3u);
    EXPECT_EQ(h.subtitles().back(), "Cleaning Done");
}

TEST_P(Clean, AnAbortDuringTheRescanWindsTheCleanDown) {
    h.install("Firefox");
    firefoxData();
    h.start();
    ASSERT_TRUE(h.driver().markOnly({"Firefox/Sessions"}).empty());
    h.frontend.abortOnStatus = "Scanning Firefox...";
    h.clean();

    EXPECT_FALSE(fs::exists(session()));
    const auto statuses = h.statuses();
    EXPECT_EQ(statuses.back(), " ");
    EXPECT_EQ(statuses[statuses.size() - 2], "Aborted...");
    EXPECT_EQ(std::find(statuses.begin(), statuses.end(), "Done..."), statuses.end());
    EXPECT_EQ(h.subtitles().back(), "Aborted");
    EXPECT_TRUE(h.flags().allScansAndCleansAborted());
    EXPECT_FALSE(h.flags().running(Category::Browsers, TaskKind::Clean));
}

TEST_P(Clean, WithNothingInstalledTheCleanStillEnds) {
    h.start();
    h.clean();
    EXPECT_EQ(h.statuses(), (std::vector<std::string>{"Preparing...", "Done...", " "}));
    EXPECT_EQ(h.maxima(), (std::vector<std::uint64_t>{0}));
    EXPECT_EQ(h.subtitles().back(), "Cleaning Done");
    EXPECT_FALSE(h.frontend.progressWindowShown());
}

INSTANTIATE_TEST_SUITE_P(Driver, Clean, ::testing::Values(Main::Queue, Main::Immediate), mainName);

} // namespace
} // namespace tpc::test::driver
