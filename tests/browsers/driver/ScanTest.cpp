// The browser scan: sizes, totals, subtitle, the progress bar it owns, browsers installed later,
// and its abort.

#include "DriverHarness.h"

#include "core/Keys.h"
#include "core/Record.h"
#include "core/SizeText.h"

#include <gtest/gtest.h>

#include <map>

namespace tpc::test::driver {
namespace {

namespace keys = core::keys;
using core::Category;
using core::TaskKind;

class Scan : public ::testing::TestWithParam<Main> {
protected:
    DriverHarness h{GetParam()};

    // A Firefox profile with cookies, form history, a session backup and a cached file.
    void firefoxData() {
        const auto profile = h.firefoxProfile();
        exec(profile / "cookies.sqlite",
             std::string(kMozCookies) +
                 "INSERT INTO moz_cookies(name, value, host, path) VALUES ('a', '1', "
                 "'.example.com', '/'), ('b', '2', 'shop.example', '/'), ('c', '3', 'keep.org', "
                 "'/');");
        exec(profile / "formhistory.sqlite",
             "CREATE TABLE moz_formhistory (id INTEGER PRIMARY KEY, fieldname TEXT NOT NULL, value "
             "TEXT NOT NULL, timesUsed INTEGER); CREATE TABLE moz_deleted_formhistory (id INTEGER "
             "PRIMARY KEY, timeDeleted INTEGER, guid TEXT); INSERT INTO moz_formhistory(fieldname, "
             "value, timesUsed) VALUES ('q', 'weather tomorrow', 3);");
        writeFile(profile / "sessionstore.js", "{\"windows\":[]}");
        writeFile(profile / "sessionstore.bak", std::string(1234, 's'));
        writeFile(h.home() / "Library/Caches/Firefox/Profiles/x.default/Cache/ABC",
                  std::string(5000, 'c'));
    }

    // What Firefox's own count operations answer now, by item.
    std::map<std::string, browsers::CountPair> firefoxCounts() {
        std::map<std::string, browsers::CountPair> out;
        const auto* ops =
            h.app->module<tpc::browsers::BrowsersModule>()->cleaners().find("Firefox");
        for (const auto& item : ops->items)
            if (auto pair = ops->countItem(item))
                out[item] = *pair;
        return out;
    }
};

TEST_P(Scan, SizesEverySubItemSumsTheRootsAndShowsTheTotals) {
    h.install("Firefox");
    h.install("Google Chrome");
    firefoxData();
    h.start();
    auto& d = h.driver();
    // Sizes are set whether or not items are marked.
    d.markAllBrowserMainList(false);
    for (const auto& root : d.list()->dicts())
        core::markAll(core::subList(root), false);
    const auto expected = firefoxCounts();

    h.scan();

    std::uint64_t sum = 0, count = 0;
    auto firefox = row(d.list(), "Firefox");
    for (const auto& sub : core::subList(firefox)->dicts()) {
        const auto name = core::description(sub);
        SCOPED_TRACE(name);
        if (name == "Auto Quit Firefox") {
            EXPECT_EQ(sub->getString(keys::SizeFormattedString), "-");
            EXPECT_EQ(core::size(sub), 0u);
            continue;
        }
        ASSERT_TRUE(expected.count(name));
        const auto bytes = browsers::bytesOf(expected.at(name));
        EXPECT_EQ(core::size(sub), bytes);
        EXPECT_EQ(sub->getString(keys::SizeFormattedString),
                  core::getFormattedStringForSize(bytes));
        sum += bytes;
        count += static_cast<std::uint64_t>(expected.at(name).count);
    }
    // The fixture is not empty: the totals below add real numbers.
    EXPECT_GT(core::size(row(core::subList(firefox), "Cookies")), 0u);
    EXPECT_GE(core::size(row(core::subList(firefox), "Sessions")), 1234u);
    EXPECT_GE(core::size(row(core::subList(firefox), "Internet Cache")), 5000u);
    EXPECT_GE(count, 4u);
    EXPECT_EQ(core::size(firefox), sum);
    EXPECT_EQ(firefox->getString(keys::SizeFormattedString), core::getFormattedStringForSize(sum));

    auto chrome = row(d.list(), "Google Chrome");
    EXPECT_EQ(core::size(chrome), 0u);
    EXPECT_EQ(chrome->getString(keys::SizeFormattedString), "0.00 KB");
    EXPECT_EQ(core::subList(chrome)->items.back().dict()->getString(keys::SizeFormattedString),
              "-");

    EXPECT_EQ(h.frontend.resultText(),
              "Total Size To Clean: " + core::getFormattedStringForSize(sum) +
                  "\nTotal Items To Clean: " + std::to_string(count) + " items");
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Browsers),
              "(" + std::to_string(count) + " Items found)");
}

TEST_P(Scan, OwnsTheBarFromPreparingToDoneAndEndsItsTask) {
    h.install("Firefox");
    h.install("Google Chrome");
    h.start();
    h.scan();

    EXPECT_EQ(h.statuses(),
              (std::vector<std::string>{"Preparing...", "Scanning Firefox...",
                                        "Scanning Google Chrome...", "Done...", " "}));
    EXPECT_EQ(h.maxima(), (std::vector<std::uint64_t>{22}));
    EXPECT_EQ(h.increments(), 9u + 11u);
    // Preparing shows an indeterminate, animated bar; the scan then makes it determinate.
    auto progress = h.frontend.eventsOf(Type::Progress);
    ASSERT_GE(progress.size(), 2u);
    EXPECT_EQ(progress[0].progress.hideUnhide, 1);
    EXPECT_EQ(progress[0].progress.indicatorType, 0);
    EXPECT_EQ(progress[0].progress.startStopAnimation, 0);
    EXPECT_EQ(progress[1].progress.indicatorType, 1);
    EXPECT_EQ(progress[1].progress.minValue, 0u);
    EXPECT_EQ(progress[1].progress.doubleValue, 0u);
    const auto& last = progress.back().progress;
    EXPECT_EQ(last.hideUnhide, 0);
    EXPECT_EQ(progress[progress.size() - 3].progress.doubleValue, 22u);
    EXPECT_EQ(progress[progress.size() - 2].progress.doubleValue, 0u);
    EXPECT_FALSE(h.frontend.progressState().visible);

    EXPECT_EQ(h.frontend.abortButtonTitle(), "Abort Scan");
    EXPECT_FALSE(h.frontend.progressWindowShown());
    EXPECT_EQ(h.frontend.eventsOf(Type::Window).size(), 2u);
    EXPECT_FALSE(h.flags().running(Category::Browsers, TaskKind::Scan));
    EXPECT_FALSE(h.flags().aborting(Category::Browsers, TaskKind::Scan));
    std::vector<std::string> ui;
    for (const auto& e : h.frontend.eventsOf(Type::Ui))
        ui.push_back(e.action);
    EXPECT_NE(std::find(ui.begin(), ui.end(), "disableUIElementsForBrowserScan"), ui.end());
    EXPECT_NE(std::find(ui.begin(), ui.end(), "enableUIElementsAfterBrowserScan"), ui.end());
}

TEST_P(Scan, ThePageHooksReplaceTheFrontEndNotices) {
    h.install("Opera");
    h.start();
    std::vector<std::string> calls;
    auto& d = h.driver();
    d.hooks.disableForScan = [&] {
        calls.push_back("disable");
    };
    d.hooks.enableAfterScan = [&] {
        calls.push_back("enable");
    };
    d.hooks.reloadLists = [&] {
        calls.push_back("reload");
    };
    h.scan();
    EXPECT_EQ(calls, (std::vector<std::string>{"disable", "enable", "reload"}));
    EXPECT_TRUE(h.frontend.eventsOf(Type::Ui).empty());
}

TEST_P(Scan, WithNoBrowserTheTotalIsZeroAndThereIsNoSubtitle) {
    h.start();
    h.frontend.setSubtitle(core::MainButton::Browsers, std::string("(3 Items found)"));
    h.scan();
    EXPECT_TRUE(h.driver().list()->empty());
    EXPECT_EQ(h.frontend.resultText(),
              "Total Size To Clean: 0.00 KB\nTotal Items To Clean: 0 items");
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Browsers), std::nullopt);
    EXPECT_EQ(h.statuses(), (std::vector<std::string>{"Preparing...", "Done...", " "}));
    EXPECT_EQ(h.maxima(), (std::vector<std::uint64_t>{0}));
}

TEST_P(Scan, ABrowserInstalledAfterStartUpJoinsTheListAtTheNextScan) {
    h.install("Firefox");
    h.start();
    auto& d = h.driver();
    d.browserMainListPopUpButtonClicked(core::SortChoice::Name);
    ASSERT_EQ(names(d.list()), (std::vector<std::string>{"Firefox"}));

    h.install("Opera");
    h.install("Google Chrome");
    EXPECT_EQ(names(d.list()), (std::vector<std::string>{"Firefox"}));
    h.scan();
    EXPECT_EQ(names(d.list()), (std::vector<std::string>{"Firefox", "Google Chrome", "Opera"}));
    auto opera = row(d.list(), "Opera");
    EXPECT_EQ(opera->getInt(keys::ValueForDefaultSort), 4);
    EXPECT_TRUE(core::isMarked(opera));
    EXPECT_EQ(names(core::subList(opera)).size(), 11u);
    // The new rows were scanned like the others.
    EXPECT_EQ(h.statuses()[3], "Scanning Opera...");
    EXPECT_EQ(h.maxima(), (std::vector<std::uint64_t>{10 + 12 + 9}));

    // A second scan adds nothing twice.
    h.scan();
    EXPECT_EQ(d.list()->size(), 3u);
}

TEST_P(Scan, AnAbortDuringTheScanShowsAbortedAndClearsTheFlags) {
    h.install("Firefox");
    h.install("Opera");
    h.start();
    h.frontend.abortOnStatus = "Scanning Firefox...";
    h.scan();

    const auto statuses = h.statuses();
    ASSERT_GE(statuses.size(), 2u);
    EXPECT_EQ(std::vector<std::string>(statuses.end() - 2, statuses.end()),
              (std::vector<std::string>{"Aborted...", " "}));
    EXPECT_EQ(std::find(statuses.begin(), statuses.end(), "Scanning Opera..."), statuses.end());
    EXPECT_EQ(std::find(statuses.begin(), statuses.end(), "Done..."), statuses.end());
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Browsers), "Aborted");
    EXPECT_EQ(h.frontend.resultText(), std::nullopt);
    EXPECT_FALSE(h.frontend.progressWindowShown());
    EXPECT_FALSE(h.frontend.progressState().visible);
    for (auto kind : {TaskKind::Scan, TaskKind::Clean}) {
        EXPECT_FALSE(h.flags().running(Category::Browsers, kind));
        EXPECT_FALSE(h.flags().aborting(Category::Browsers, kind));
    }
    EXPECT_TRUE(h.flags().allScansAndCleansAborted());

    // The next scan owns the bar again and runs to its end.
    h.frontend.clear();
    h.scan();
    EXPECT_EQ(h.statuses().front(), "Preparing...");
    EXPECT_EQ(h.statuses().back(), " ");
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Browsers), std::nullopt);
    EXPECT_TRUE(h.frontend.resultText().has_value());
}

TEST_P(Scan, AnAbortWhilePreparingLeavesTheBarToTheNextScan) {
    h.install("Firefox");
    h.start();
    h.frontend.abortOnStatus = "Preparing...";
    h.scan();
    EXPECT_EQ(h.statuses(), (std::vector<std::string>{"Preparing...", "Aborted...", " "}));
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Browsers), "Aborted");

    h.frontend.clear();
    h.scan();
    EXPECT_EQ(h.statuses(),
              (std::vector<std::string>{"Preparing...", "Scanning Firefox...", "Done...", " "}));
    EXPECT_FALSE(h.frontend.progressWindowShown());
}

TEST_P(Scan, TheAbortButtonOnlySetsFlags) {
    h.install("Firefox");
    h.start();
    h.driver().buttonScanClicked(core::Sender::AbortButton);
    EXPECT_TRUE(h.flags().aborting(Category::Browsers, TaskKind::Scan));
    EXPECT_TRUE(h.flags().abortCleaning());
    EXPECT_TRUE(h.app->tasks().idle());
    EXPECT_TRUE(h.frontend.eventsOf(Type::Progress).empty());
    h.flags().setAbort(Category::Browsers, TaskKind::Scan, false);

    h.driver().buttonCleanClicked(core::Sender::AbortButton);
    EXPECT_TRUE(h.flags().aborting(Category::Browsers, TaskKind::Clean));
    EXPECT_TRUE(h.app->tasks().idle());
    h.flags().setAbort(Category::Browsers, TaskKind::Clean, false);
    EXPECT_FALSE(h.flags().abortCleaning());
}

INSTANTIATE_TEST_SUITE_P(Driver, Scan, ::testing::Values(Main::Queue, Main::Immediate), mainName);

} // namespace
} // namespace tpc::test::driver
