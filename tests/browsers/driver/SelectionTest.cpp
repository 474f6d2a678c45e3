// A preset's browser record counted and cleaned by the browser category inside the preset's own
// task: which records it drives, the sizes it writes, the quit before the deletes, and aborts.

#include "DriverHarness.h"

#include "browsers/BrowserCatalogue.h"
#include "core/Keys.h"
#include "support/SelectionTask.h"

#include <gtest/gtest.h>

#include <functional>

namespace tpc::test::driver {
namespace {

using core::Category;
using core::TaskKind;

// Running applications whose quits a test can follow as they happen (on the worker).
class WatchedApps final : public platform::RunningApps {
public:
    std::function<void(const std::string&)> onTerminate;
    bool isRunning(const std::string&) override { return false; }
    int terminate(const std::string& bundleId) override {
        if (onTerminate)
            onTerminate(bundleId);
        return 1;
    }
};

class SelectionHarness : public EngineHarness<CheckpointFrontend> {
public:
    SelectionHarness() : EngineHarness(Category::Browsers, Main::Immediate) {}
    ~SelectionHarness() override { stop(); }

    browsers::BrowserDriver& driver() {
        return app->module<tpc::browsers::BrowsersModule>()->driver();
    }
    void install(const std::string& browser) {
        fs::create_directories(root() / "Applications" / (browser + ".app"));
    }
    fs::path profile() const {
        return home() / "Library/Application Support/Firefox/Profiles/x.default";
    }
    fs::path cookies() const { return profile() / "cookies.sqlite"; }
    fs::path session() const { return profile() / "sessionstore.bak"; }
    std::size_t hosts() const { return rows(cookies(), "SELECT host FROM moz_cookies").size(); }

    void firefoxData() {
        exec(cookies(), std::string(kMozCookies) +
                            "INSERT INTO moz_cookies(name, value, host, path) VALUES ('a', '1', "
                            "'.example.com', '/'), ('b', '2', 'shop.example', '/'), ('c', '3', "
                            "'keep.org', '/');");
        writeFile(session(), "{}");
    }

    // A preset's copy of a browser row; `marked` names the items left marked.
    core::DictRef record(const std::string& browser, const std::vector<std::string>& marked) {
        const auto* entry = browsers::findCatalogueEntry(platform::Layout::MacOS, browser);
        auto rec = browsers::makeBrowserRootRecord(
            *entry, browsers::BrowserLocations(*platform).browserPath(entry->browser).string());
        for (const auto& item : core::subList(rec)->dicts())
            core::setMark(item, std::find(marked.begin(), marked.end(), core::description(item)) !=
                                    marked.end());
        return rec;
    }

    std::shared_ptr<WatchedApps> apps = std::make_shared<WatchedApps>();

protected:
    void configure(platform::PlatformOptions& o) override { o.runningApps = apps; }
};

class BrowserSelection : public ::testing::Test {
protected:
    SelectionHarness h;
};

TEST_F(BrowserSelection, DrivesTheLayoutsBrowsersByName) {
    h.start();
    for (const char* name : {"Safari", "Firefox", "Google Chrome", "Opera"})
        EXPECT_TRUE(h.driver().drives(name)) << name;
    for (const char* name : {"Chromium", "File Eraser", "Clean System Junk", "firefox", ""})
        EXPECT_FALSE(h.driver().drives(name)) << name;

    h.start(platform::Layout::Linux);
    EXPECT_TRUE(h.driver().drives("Chromium"));
    EXPECT_TRUE(h.driver().drives("Firefox"));
}

TEST_F(BrowserSelection, CountSizesTheRecordAsThePageScanSizesItsRowAndSendsNothing) {
    h.install("Firefox");
    h.firefoxData();
    h.start();
    auto rec = h.record("Firefox", {});
    const auto totals = countInPresetTask(h, h.driver(), rec);
    ASSERT_TRUE(totals.has_value());
    EXPECT_GE(totals->count, 3u);
    EXPECT_EQ(h.statuses(), std::vector<std::string>{"Preparing..."});
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Browsers), std::nullopt);
    auto pageRoot = row(h.driver().list(), "Firefox");
    EXPECT_EQ(core::size(pageRoot), 0u);

    // The page's own scan finds the very same sizes.
    h.scan();
    EXPECT_EQ(core::size(rec), core::size(pageRoot));
    EXPECT_EQ(core::size(rec), totals->bytes);
    EXPECT_GT(core::size(row(core::subList(rec), "Cookies")), 0u);
    for (const auto& item : core::subList(rec)->dicts())
        EXPECT_EQ(item->getString(core::keys::SizeFormattedString),
                  row(core::subList(pageRoot), core::description(item))
                      ->getString(core::keys::SizeFormattedString))
            << core::description(item);
    EXPECT_EQ(
        row(core::subList(rec), "Auto Quit Firefox")->getString(core::keys::SizeFormattedString),
        "-");
}

TEST_F(BrowserSelection, ABrowserThatIsNotInstalledIsNotMeasured) {
    h.firefoxData(); // its data is there, the application is not
    h.start();
    auto rec = h.record("Firefox", {});
    core::setSize(row(core::subList(rec), "Cookies"), 77);
    const auto totals = countInPresetTask(h, h.driver(), rec);
    ASSERT_TRUE(totals.has_value());
    EXPECT_EQ(totals->count, 0u);
    EXPECT_EQ(core::size(row(core::subList(rec), "Cookies")), 77u);
}

TEST_F(BrowserSelection, CleanQuitsFirstThenDeletesOnlyTheMarkedItems) {
    h.install("Firefox");
    h.firefoxData();
    h.start();
    std::vector<std::size_t> hostsAtQuit;
    h.apps->onTerminate = [&](const std::string&) {
        hostsAtQuit.push_back(h.hosts());
    };
    auto rec = h.record("Firefox", {"Cookies", "Auto Quit Firefox"});
    // The page's marks are not what the record selects.
    h.driver().markAllBrowserMainList(false);
    EXPECT_TRUE(cleanInPresetTask(h, h.driver(), rec));

    ASSERT_FALSE(hostsAtQuit.empty());
    EXPECT_EQ(hostsAtQuit.front(), 3u);
    EXPECT_EQ(h.hosts(), 0u);
    EXPECT_TRUE(fs::exists(h.session()));
    EXPECT_FALSE(h.flags().running(Category::Browsers, TaskKind::Clean));
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Browsers), std::nullopt);
}

TEST_F(BrowserSelection, AnAbortDuringTheQuitDeletesNothing) {
    h.install("Firefox");
    h.firefoxData();
    h.start();
    h.apps->onTerminate = [&](const std::string&) {
        h.frontend.pressAbortButton();
    };
    auto rec = h.record("Firefox", {"Cookies", "Sessions", "Auto Quit Firefox"});
    EXPECT_FALSE(cleanInPresetTask(h, h.driver(), rec));

    EXPECT_EQ(h.hosts(), 3u);
    EXPECT_TRUE(fs::exists(h.session()));
    EXPECT_EQ(h.statuses().back(), " ");
    EXPECT_FALSE(h.flags().running(Category::Presets, TaskKind::Clean));
    EXPECT_FALSE(h.flags().abortCleaning());
    // The abort was the preset's: the Browsers button does not tell of it.
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::Browsers), std::nullopt);
}

TEST_F(BrowserSelection, AnAbortBetweenCountsWritesNoSize) {
    h.install("Firefox");
    h.firefoxData();
    h.start();
    // Check points: the task's own, then one before each count; the third comes after one.
    h.frontend.abortAtCheckpoint = 3;
    auto rec = h.record("Firefox", {});
    EXPECT_FALSE(countInPresetTask(h, h.driver(), rec).has_value());
    for (const auto& item : core::subList(rec)->dicts())
        EXPECT_EQ(core::size(item), 0u) << core::description(item);
    EXPECT_EQ(core::size(rec), 0u);
    EXPECT_FALSE(h.flags().aborting(Category::Presets, TaskKind::Scan));
}

TEST_F(BrowserSelection, ARecordOfAnotherCategoryIsLeftAlone) {
    h.install("Firefox");
    h.firefoxData();
    h.start();
    bool quit = false;
    h.apps->onTerminate = [&](const std::string&) {
        quit = true;
    };
    auto rec = h.record("Firefox", {"Cookies", "Auto Quit Firefox"});
    core::descriptionDictionary(rec)->set(core::keys::Description, "Clean System Junk");

    const auto totals = countInPresetTask(h, h.driver(), rec);
    ASSERT_TRUE(totals.has_value());
    EXPECT_EQ(totals->bytes, 0u);
    EXPECT_EQ(core::size(row(core::subList(rec), "Cookies")), 0u);
    EXPECT_TRUE(cleanInPresetTask(h, h.driver(), rec));
    EXPECT_FALSE(quit);
    EXPECT_EQ(h.hosts(), 3u);
}

TEST_F(BrowserSelection, TheListOperationsWorkOnTheMainListsRoots) {
    h.install("Firefox");
    h.install("Opera");
    h.start();
    core::CategoryEngine& engine = h.engine();
    EXPECT_EQ(engine.masterCheckState(), core::CheckState::On);

    engine.setRowMark(0, false);
    engine.setRowMark(7, false); // no such row
    EXPECT_EQ(engine.masterCheckState(), core::CheckState::Mixed);
    // A root's own mark only: its items keep theirs.
    const auto first = h.driver().list()->at(0).dict();
    EXPECT_FALSE(core::isMarked(first));
    EXPECT_EQ(core::countMarked(core::subList(first)), core::subList(first)->size());
    EXPECT_TRUE(engine.canClean());

    engine.markAllRows(false);
    EXPECT_FALSE(engine.canClean());
    EXPECT_EQ(engine.masterCheckState(), core::CheckState::Off);

    engine.sortRowsBy(core::SortChoice::Name);
    engine.sortRowsBy(core::SortChoice::Name);
    EXPECT_EQ(engine.currentSortChoice(), core::SortChoice::Name);
    EXPECT_EQ(names(h.driver().list()), (std::vector<std::string>{"Opera", "Firefox"}));
}

} // namespace
} // namespace tpc::test::driver
