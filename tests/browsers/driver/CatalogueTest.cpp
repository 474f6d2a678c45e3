// The catalogue and its records, marking, selection, sorting and the lookup helpers.

#include "DriverHarness.h"

#include "core/Keys.h"
#include "core/Record.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <tuple>

namespace tpc::test::driver {
namespace {

namespace keys = core::keys;
using browsers::BrowserDriver;
using core::ArrayObj;
using core::CheckState;
using core::DictObj;
using core::SortChoice;

const std::vector<std::string> kSafariItems = {"Internet History", "Internet Cache", "Cookies",
                                               "Download History", "Auto Quit Safari"};
const std::vector<std::string> kFirefoxItems = {
    "Internet History",       "Internet Cache",   "Cookies",  "Download History",
    "Saved Form Information", "Saved Passwords",  "Sessions", "Site Preferences",
    "Application Cache",      "Auto Quit Firefox"};
const std::vector<std::string> kChromeItems = {
    "Internet History", "Internet Cache", "Cookies",
    "Current Session",  "Current Tabs",   "Saved Form Information",
    "Saved Passwords",  "Last Session",   "Last Tabs",
    "Site Icons",       "Top Sites",      "Auto Quit Chrome"};
const std::vector<std::string> kOperaItems = {
    "Internet History", "Internet Cache",         "Cookies",
    "Download History", "Saved Form Information", "Saved Passwords",
    "Sessions",         "Application Cache",      "Stash",
    "Thumbnails",       "Auto Quit Opera"};

class Catalogue : public ::testing::Test {
protected:
    DriverHarness h;

    BrowserDriver& startWithAllFour() {
        for (const char* b : {"Safari", "Firefox", "Google Chrome", "Opera"})
            h.install(b);
        h.start();
        return h.driver();
    }
};

// ---- The catalogue and its records ----

TEST_F(Catalogue, AllFourInstalledGiveTheRootsInOrderWithEveryKeyAndTheirItems) {
    auto& d = startWithAllFour();
    auto list = d.list();
    ASSERT_EQ(names(list),
              (std::vector<std::string>{"Safari", "Firefox", "Google Chrome", "Opera"}));
    const std::vector<std::vector<std::string>> items = {kSafariItems, kFirefoxItems, kChromeItems,
                                                         kOperaItems};
    for (std::size_t i = 0; i < 4; ++i) {
        auto root = list->at(i).dict();
        SCOPED_TRACE(core::description(root));
        EXPECT_EQ(root->getInt(keys::ValueForDefaultSort), static_cast<std::int64_t>(i + 1));
        EXPECT_EQ(root->getInt(keys::Mark), 1);
        EXPECT_TRUE(root->get(keys::Size).kind() == core::Value::Kind::UInt);
        EXPECT_EQ(root->getUInt(keys::Size), 0u);
        EXPECT_EQ(root->getString(keys::SizeFormattedString), "0.00 KB");
        EXPECT_EQ(root->getString(keys::SortedByItem), "Default Sort");
        EXPECT_FALSE(root->has(keys::SortedInDirection));
        EXPECT_TRUE(root->getBool(keys::IsRootItem));
        EXPECT_EQ(core::descriptionDictionary(root)->size(), 2u);

        auto subs = core::subList(root);
        ASSERT_TRUE(subs);
        EXPECT_EQ(names(subs), items[i]);
        std::int64_t position = 0;
        for (const auto& sub : subs->dicts()) {
            SCOPED_TRACE(core::description(sub));
            EXPECT_EQ(sub->getInt(keys::Mark), 1);
            EXPECT_EQ(sub->getUInt(keys::Size), 0u);
            EXPECT_EQ(sub->getInt(keys::ValueForDefaultSort), ++position);
            EXPECT_EQ(sub->getString(keys::SortedByItem), "Default Sort");
            EXPECT_FALSE(sub->has(keys::IsRootItem));
            EXPECT_FALSE(sub->has(keys::SubListArray));
            EXPECT_EQ(core::descriptionDictionary(sub)->size(), 1u);
            EXPECT_EQ(core::parent(sub), root);
            // Only the last item, "Auto Quit ...", shows a dash for its size.
            const bool autoQuit = core::description(sub).rfind("Auto Quit ", 0) == 0;
            EXPECT_EQ(autoQuit, sub == subs->items.back().dict());
            EXPECT_EQ(sub->getString(keys::SizeFormattedString), autoQuit ? "-" : "0.00 KB");
        }
    }
    auto chrome = core::descriptionDictionary(row(list, "Google Chrome"));
    EXPECT_EQ(chrome->getString(keys::Description), "Google Chrome");
    // Where the browser is installed, under the root (the presets test it before measuring).
    EXPECT_EQ(chrome->getString(keys::Path),
              (h.root() / "Applications/Google Chrome.app").string());
}

TEST_F(Catalogue, OnlyInstalledBrowsersAreListedAndKeepTheirCataloguePositions) {
    h.install("Opera");
    h.install("Firefox");
    h.start();
    auto list = h.driver().list();
    ASSERT_EQ(names(list), (std::vector<std::string>{"Firefox", "Opera"}));
    EXPECT_EQ(row(list, "Firefox")->getInt(keys::ValueForDefaultSort), 2);
    EXPECT_EQ(row(list, "Opera")->getInt(keys::ValueForDefaultSort), 4);
    // The macos layout has no Chromium row even when its bundle is there.
    h.install("Chromium");
    h.driver().populateBrowserData();
    EXPECT_EQ(names(h.driver().list()), (std::vector<std::string>{"Firefox", "Opera"}));
}

TEST_F(Catalogue, TheLinuxLayoutAddsChromiumAfterGoogleChromeWithItsOwnAutoQuitRow) {
    for (const char* exe : {"firefox", "google-chrome", "chromium", "opera"})
        h.installExecutable(exe);
    h.start(platform::Layout::Linux);
    auto list = h.driver().list();
    ASSERT_EQ(names(list),
              (std::vector<std::string>{"Firefox", "Google Chrome", "Chromium", "Opera"}));
    auto chromium = row(list, "Chromium");
    EXPECT_EQ(chromium->getInt(keys::ValueForDefaultSort), 4);
    EXPECT_EQ(row(list, "Opera")->getInt(keys::ValueForDefaultSort), 8);
    EXPECT_EQ(core::path(chromium), (h.root() / "usr/bin/chromium").string());
    // Google Chrome's items, then "Site Storage" (linux only) before its own auto-quit row.
    auto items = names(core::subList(chromium));
    ASSERT_EQ(items.size(), kChromeItems.size() + 1);
    EXPECT_EQ(items.back(), "Auto Quit Chromium");
    EXPECT_EQ(items[items.size() - 2], "Site Storage");
    EXPECT_TRUE(std::equal(items.begin(), items.end() - 2, kChromeItems.begin()));
    // Chromium weighs as Google Chrome.
    EXPECT_EQ(h.driver().scanProgressMaximum(), 10u + 12 + 12 + 9);
}

TEST_F(Catalogue, EveryCatalogueItemIsOneTheCleanersKnowAndAllButAutoQuitAreScanned) {
    for (auto layout : {platform::Layout::MacOS, platform::Layout::Linux}) {
        DriverHarness other;
        other.start(layout);
        for (const auto& entry : browsers::browserCatalogue(layout)) {
            SCOPED_TRACE(entry.name);
            auto counted = entry.scanOrder;
            auto listed = std::vector<std::string>(entry.items.begin(), entry.items.end() - 1);
            std::sort(counted.begin(), counted.end());
            std::sort(listed.begin(), listed.end());
            EXPECT_EQ(counted, listed);
            const auto* ops =
                other.app->module<tpc::browsers::BrowsersModule>()->cleaners().find(entry.name);
            if (!ops)
                continue; // a browser the layout does not offer
            auto expected = ops->items;
            if (entry.name == "Chromium")
                expected.back() = "Auto Quit Chromium";
            EXPECT_EQ(entry.items, expected);
            for (const auto& item : entry.scanOrder)
                EXPECT_TRUE(ops->countItem(item).has_value()) << item;
        }
    }
}

// ---- Marking and selection ----

TEST_F(Catalogue, NoBrowserInstalledMeansAnEmptyListAndADisabledCleanButton) {
    h.start();
    auto& d = h.driver();
    EXPECT_TRUE(d.list()->empty());
    EXPECT_FALSE(d.enableOrDisableBrowserScanAndCleanButton());
    EXPECT_EQ(d.reflectMarkStatusInBrowserMainList(), CheckState::Off);
    EXPECT_EQ(d.reflectPopUpButtonTitleInBrowsersMainList(), SortChoice::Default);
    EXPECT_EQ(d.cleanProgressMaximum(), 0u);
}

TEST_F(Catalogue, TheMasterCheckBoxesMarkTheirListAndSteerTheCleanButton) {
    auto& d = startWithAllFour();
    EXPECT_EQ(d.reflectMarkStatusInBrowserMainList(), CheckState::On);
    d.browserMainListCheckBoxButtonClicked(CheckState::Off);
    EXPECT_EQ(d.reflectMarkStatusInBrowserMainList(), CheckState::Off);
    EXPECT_FALSE(d.enableOrDisableBrowserScanAndCleanButton());
    core::setMark(row(d.list(), "Opera"), true);
    EXPECT_EQ(d.reflectMarkStatusInBrowserMainList(), CheckState::Mixed);
    EXPECT_TRUE(d.enableOrDisableBrowserScanAndCleanButton());
    // A click that leaves the box mixed goes on to "on".
    d.browserMainListCheckBoxButtonClicked(CheckState::Mixed);
    EXPECT_EQ(d.reflectMarkStatusInBrowserMainList(), CheckState::On);

    // Without a selected root the sub list is empty and its box does nothing.
    d.browserSubListCheckBoxButtonClicked(CheckState::Off);
    EXPECT_EQ(core::countMarked(core::subList(row(d.list(), "Firefox"))), kFirefoxItems.size());
    d.selectMainRow(1);
    EXPECT_EQ(d.subList(), core::subList(row(d.list(), "Firefox")));
    d.browserSubListCheckBoxButtonClicked(CheckState::Off);
    EXPECT_EQ(d.reflectMarkStatusInBrowserSubList(), CheckState::Off);
    EXPECT_EQ(core::countMarked(core::subList(row(d.list(), "Firefox"))), 0u);
    // Sub marks leave the root's own mark alone.
    EXPECT_TRUE(core::isMarked(row(d.list(), "Firefox")));
    d.selectMainRow(17);
    EXPECT_EQ(d.selectedMainRow(), -1);
    EXPECT_TRUE(d.subList()->empty());
}

TEST_F(Catalogue, MarkOnlyMarksTheNamedRowsAndTheirRootsAndAnswersUnknownNames) {
    auto& d = startWithAllFour();
    auto unknown = d.markOnly(
        {"Firefox/Cookies", "Opera", "Google Chrome/Auto Quit Chrome", "Firefox/Nope", "Netscape"});
    EXPECT_EQ(unknown, (std::vector<std::string>{"Firefox/Nope", "Netscape"}));
    EXPECT_FALSE(core::isMarked(row(d.list(), "Safari")));
    for (const char* name : {"Firefox", "Opera", "Google Chrome"})
        EXPECT_TRUE(core::isMarked(row(d.list(), name))) << name;
    auto firefox = core::subList(row(d.list(), "Firefox"));
    EXPECT_EQ(core::countMarked(firefox), 1u);
    EXPECT_TRUE(core::isMarked(row(firefox, "Cookies")));
    EXPECT_EQ(core::countMarked(core::subList(row(d.list(), "Opera"))), 0u);
    auto chrome = core::subList(row(d.list(), "Google Chrome"));
    EXPECT_EQ(core::countMarked(chrome), 1u);
    EXPECT_TRUE(core::isMarked(row(chrome, "Auto Quit Chrome")));
    EXPECT_EQ(browsers::countMarkedInSubArrayOfArray(d.list()), 2u);
}

TEST_F(Catalogue, MarkedSubItemsOfEveryRootSetTheProgressMaximums) {
    auto& d = startWithAllFour();
    EXPECT_EQ(browsers::countMarkedInSubArrayOfArray(d.list()),
              kSafariItems.size() + kFirefoxItems.size() + kChromeItems.size() +
                  kOperaItems.size());
    // Roots' own marks do not count, nor do unmarked roots hide their items.
    d.markAllBrowserMainList(false);
    EXPECT_EQ(browsers::countMarkedInSubArrayOfArray(d.list()), 38u);
    EXPECT_EQ(browsers::countMarkedInSubArrayOfArray(nullptr), 0u);
    EXPECT_EQ(browsers::countMarkedInSubArrayOfArray(ArrayObj::make()), 0u);

    EXPECT_TRUE(d.markOnly({"Safari/Cookies", "Opera/Stash", "Firefox/Sessions"}).empty());
    EXPECT_EQ(d.cleanProgressMaximum(), 39u);
    EXPECT_EQ(d.scanProgressMaximum(), 36u);
}

// ---- Sorting ----

TEST_F(Catalogue, ReChoosingSortBySizeSortsDescendingThenAscending) {
    auto& d = startWithAllFour();
    const std::map<std::string, std::uint64_t> sizes = {
        {"Safari", 300}, {"Firefox", 100}, {"Google Chrome", 400}, {"Opera", 200}};
    for (const auto& [name, bytes] : sizes)
        core::setSize(row(d.list(), name), bytes);
    d.selectMainRow(0);

    using Names = std::vector<std::string>;
    const std::vector<std::tuple<SortChoice, Names, const char*>> steps = {
        {SortChoice::Size, {"Firefox", "Opera", "Safari", "Google Chrome"}, "Sorted Ascending"},
        {SortChoice::Size, {"Google Chrome", "Safari", "Opera", "Firefox"}, "Sorted Descending"},
        {SortChoice::Size, {"Firefox", "Opera", "Safari", "Google Chrome"}, "Sorted Ascending"},
        {SortChoice::Name, {"Firefox", "Google Chrome", "Opera", "Safari"}, "Sorted Ascending"},
        {SortChoice::Name, {"Safari", "Opera", "Google Chrome", "Firefox"}, "Sorted Descending"},
        {SortChoice::Default, {"Safari", "Firefox", "Google Chrome", "Opera"}, nullptr}};
    for (const auto& [choice, order, direction] : steps) {
        d.browserMainListPopUpButtonClicked(choice);
        EXPECT_EQ(names(d.list()), order);
        EXPECT_EQ(d.selectedMainRow(), -1);
        EXPECT_EQ(d.reflectPopUpButtonTitleInBrowsersMainList(), choice);
        if (!direction)
            continue;
        for (const auto& r : d.list()->dicts())
            EXPECT_EQ(r->getString(keys::SortedInDirection), direction);
    }
}

TEST_F(Catalogue, SortingTheSubListOrdersTheSelectedRootsOwnItems) {
    auto& d = startWithAllFour();
    d.browserSubListPopUpButtonClicked(SortChoice::Name); // nothing selected: nothing happens
    EXPECT_EQ(names(core::subList(row(d.list(), "Safari"))), kSafariItems);

    d.selectMainRow(0);
    d.browserSubListPopUpButtonClicked(SortChoice::Name);
    const std::vector<std::string> byName = {"Auto Quit Safari", "Cookies", "Download History",
                                             "Internet Cache", "Internet History"};
    EXPECT_EQ(names(d.subList()), byName);
    EXPECT_EQ(names(core::subList(row(d.list(), "Safari"))), byName);
    EXPECT_EQ(d.selectedMainRow(), 0);
    d.browserSubListPopUpButtonClicked(SortChoice::Default);
    EXPECT_EQ(names(d.subList()), kSafariItems);
}

// ---- Lookup helpers ----

TEST(LookupHelpers, AnswerTheFirstMatchOrAllOnes) {
    using browsers::indexOfUniqueObjectContainedInArray;
    using browsers::indexOfUniqueObjectContainedInDictArray;
    const std::uint32_t none = 4294967295u;

    EXPECT_EQ(indexOfUniqueObjectContainedInArray(ArrayObj::make(), "a"), none);
    EXPECT_EQ(indexOfUniqueObjectContainedInArray(nullptr, "a"), none);
    auto strings = ArrayObj::make({"a", 3, "b", "a"});
    EXPECT_EQ(indexOfUniqueObjectContainedInArray(strings, "a"), 0u);
    EXPECT_EQ(indexOfUniqueObjectContainedInArray(strings, "b"), 2u);
    EXPECT_EQ(indexOfUniqueObjectContainedInArray(strings, "3"), none);
    EXPECT_EQ(indexOfUniqueObjectContainedInArray(strings, "A"), none);

    auto dicts = ArrayObj::make({DictObj::make({{"k", "x"}, {"j", "y"}}), "not a dict",
                                 DictObj::make({{"k", "xy"}, {"j", ""}}),
                                 DictObj::make({{"k", "x"}, {"j", "y"}})});
    EXPECT_EQ(indexOfUniqueObjectContainedInDictArray(ArrayObj::make(), "k", "x"), none);
    EXPECT_EQ(indexOfUniqueObjectContainedInDictArray(dicts, "k", "x"), 0u);
    EXPECT_EQ(indexOfUniqueObjectContainedInDictArray(dicts, "k", "xy"), 2u);
    EXPECT_EQ(indexOfUniqueObjectContainedInDictArray(dicts, "missing", "x"), none);
    EXPECT_EQ(indexOfUniqueObjectContainedInDictArray(dicts, "k", "j", "xy"), 0u);
    EXPECT_EQ(indexOfUniqueObjectContainedInDictArray(dicts, "j", "k", "xy"), 2u);
    EXPECT_EQ(indexOfUniqueObjectContainedInDictArray(dicts, "j", "k", "x"), none);
    EXPECT_EQ(indexOfUniqueObjectContainedInDictArray(dicts, "j", "k", "yx"), 0u);
    EXPECT_EQ(indexOfUniqueObjectContainedInDictArray(dicts, "k", "j", "x y"), none);
    EXPECT_EQ(indexOfUniqueObjectContainedInDictArray(ArrayObj::make(), "k", "j", ""), none);
}

TEST(CountPairBytes, WrappedThirtyTwoBitSumsReadAsUnsigned) {
    EXPECT_EQ(browsers::bytesOf({1, 0}), 0u);
    EXPECT_EQ(browsers::bytesOf({1, 4096}), 4096u);
    EXPECT_EQ(browsers::bytesOf({1, -1}), 4294967295u);
    EXPECT_EQ(browsers::bytesOf({1, -2147483648LL}), 2147483648u);
    EXPECT_EQ(browsers::bytesOf({1, 6000000000LL}), 6000000000u);
}

} // namespace
} // namespace tpc::test::driver
