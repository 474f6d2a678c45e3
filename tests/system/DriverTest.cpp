// The System page's engine driven like its buttons: the list, marking with the Downloads notice,
// the scan's results, the clean with its rescan, the abort and the sort pop-up.

#include "SystemHarness.h"

#include "core/CheckList.h"
#include "core/Keys.h"
#include "core/SizeText.h"

namespace tpc::test::sys {
namespace {

using system::SystemJunk;

std::vector<std::string> names(const core::ArrayRef& list) {
    std::vector<std::string> out;
    for (const auto& rec : list->dicts())
        out.push_back(core::description(rec));
    return out;
}

const std::vector<std::string> kDefaultOrder = {system::kRecentDocuments, system::kRecentPlaces,
                                                system::kLogs, system::kTrash,
                                                system::kUserDownloads};

TEST(SystemDriver, ListsTheFiveCategoriesWithDownloadsUnmarked) {
    AppHarness h;
    const auto list = h.driver().list();
    EXPECT_EQ(names(list), kDefaultOrder);
    const char* icons[] = {"recent docs.png", "Recent Places.png", "Logs.png", "Trash.png",
                           "User_Dl.png"};
    for (std::size_t i = 0; i < list->size(); ++i) {
        const auto rec = list->at(i).dict();
        EXPECT_EQ(core::mark(rec), i < 4 ? 1 : 0);
        EXPECT_EQ(core::descriptionDictionary(rec)->getString(core::keys::Icon), icons[i]);
        EXPECT_EQ(rec->getInt(core::keys::ValueForDefaultSort), static_cast<std::int64_t>(i + 1));
        EXPECT_EQ(rec->getString(core::keys::Count), "0 items");
        EXPECT_EQ(rec->getString(core::keys::SizeFormattedString), "0.00 KB");
        EXPECT_EQ(rec->getString(core::keys::SortedByItem), "Default Sort");
        EXPECT_TRUE(rec->getBool(core::keys::IsRootItem));
    }
    EXPECT_EQ(h.driver().reflectMarkStatusInSystem(), core::CheckState::Mixed);
}

TEST(SystemDriver, TheDownloadsNoticeComesBeforeDownloadsIsMarked) {
    AppHarness h;
    auto& d = h.driver();
    const auto notice = d.downloadsNotice();
    EXPECT_EQ(notice.title, "Information");
    EXPECT_EQ(notice.message, "This option will delete every file in the \"" +
                                  (h.home() / "Downloads").string() + "\" folder.");
    EXPECT_EQ(notice.buttons(), std::vector<std::string>{"OK"});

    d.systemCheckBoxButtonClicked(core::CheckState::On);
    EXPECT_EQ(h.frontend.markedAtAlert, std::vector<bool>{false});
    EXPECT_EQ(d.reflectMarkStatusInSystem(), core::CheckState::On);
    d.systemCheckBoxButtonClicked(core::CheckState::Off);
    EXPECT_FALSE(d.enableOrDisableSystemScanAndCleanButton());
    d.setRowMark(2, true);
    EXPECT_EQ(h.frontend.markedAtAlert.size(), 1u);
    d.setRowMark(4, true);
    EXPECT_EQ(h.frontend.markedAtAlert, (std::vector<bool>{false, false}));
    EXPECT_TRUE(core::isMarked(h.row(system::kUserDownloads)));

    EXPECT_EQ(d.markOnly({system::kTrash, "Trash/Files", system::kUserDownloads}),
              std::vector<std::string>{"Trash/Files"});
    EXPECT_EQ(h.frontend.markedAtAlert.size(), 3u);
    EXPECT_EQ(core::countMarked(d.list()), 2u);
    EXPECT_TRUE(core::isMarked(h.row(system::kTrash)));
    // Without a page hook every change asks the front end to reload the table.
    std::size_t reloads = 0;
    for (const auto& e : h.frontend.eventsOf(Type::Ui))
        reloads += e.action == "reloadSystemTable";
    EXPECT_EQ(reloads, 5u);
}

class SystemTasks : public ::testing::Test {
protected:
    void SetUp() override {
        h.scripts->answer(SystemJunk::getRecentItemsCountScript(), "13");
        h.scripts->answer(SystemJunk::getFinderCountLocationsScript(), "5");
        h.scripts->answer(SystemJunk::getRecentsClearScript(), "");
        h.scripts->answer(SystemJunk::getFinderClearLocationsScript(), "");
        writeFile(h.home() / "Library/Logs/app.log", std::string(600, 'l'));
        writeFile(h.home() / "Library/Logs/old/app.1.log", std::string(400, 'l'));
        writeFile(h.home() / ".Trash/thing", std::string(2000, 't'));
        writeFile(h.home() / "Downloads/movie", std::string(9000, 'd'));
    }
    AppHarness h;
};

TEST_F(SystemTasks, ScanCountsEveryCategoryAndReportsTheTotals) {
    h.app->flags().setChangesMade(true);
    h.scan();
    EXPECT_EQ(h.count(system::kRecentDocuments), "3 items");
    EXPECT_EQ(h.count(system::kRecentPlaces), "3 items");
    EXPECT_EQ(h.count(system::kLogs), "3 items");
    EXPECT_EQ(h.count(system::kTrash), "1 items");
    EXPECT_EQ(h.count(system::kUserDownloads), "1 items");
    EXPECT_EQ(core::size(h.row(system::kUserDownloads)), 9000u);
    EXPECT_EQ(h.row(system::kTrash)->getString(core::keys::SizeFormattedString), "2.00 KB");

    const std::uint64_t logs = core::size(h.row(system::kLogs));
    const std::uint64_t total = logs + 2000 + 9000;
    EXPECT_EQ(h.frontend.resultText(),
              "Total Size To Clean: " + core::getFormattedStringForSize(total) +
                  "\nTotal Items To Clean: 11 items");
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::System), "(11 Items found)");
    EXPECT_EQ(h.statuses(),
              (std::vector<std::string>{"Preparing...", "Scanning System...", "Done...", " "}));
    EXPECT_FALSE(h.frontend.progressWindowShown());
    EXPECT_FALSE(h.app->flags().changesMade());
    EXPECT_FALSE(h.app->flags().running(core::Category::System, core::TaskKind::Scan));
    // The button raises the window once, each count script once more.
    EXPECT_EQ(h.frontend.eventsOf(Type::Front).size(), 3u);
}

TEST_F(SystemTasks, CleanEmptiesTheMarkedCategoriesThenShowsTheRescan) {
    h.clean();
    EXPECT_TRUE(fs::is_empty(h.home() / "Library/Logs"));
    EXPECT_TRUE(fs::is_empty(h.home() / ".Trash"));
    EXPECT_TRUE(fs::exists(h.home() / "Downloads/movie"));
    const auto ran = h.scripts->ran();
    EXPECT_NE(std::find(ran.begin(), ran.end(), SystemJunk::getRecentsClearScript()), ran.end());

    // The rescan's counts, not zeros: the menus still answer and Downloads was not marked.
    EXPECT_EQ(h.count(system::kRecentDocuments), "3 items");
    EXPECT_EQ(h.count(system::kLogs), "0 items");
    EXPECT_EQ(h.count(system::kUserDownloads), "1 items");
    EXPECT_EQ(h.frontend.resultText(), "Cleaning Done");
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::System), "(7 Items found)");
    EXPECT_EQ(h.statuses(),
              (std::vector<std::string>{"Preparing...", "Cleaning Recents & Caches...",
                                        "Scanning System...", "Done...", " "}));
    EXPECT_FALSE(h.frontend.progressWindowShown());
    EXPECT_FALSE(h.app->flags().running(core::Category::System, core::TaskKind::Clean));
}

TEST_F(SystemTasks, CleanAfterUnscannedChangesCanScanInstead) {
    h.app->flags().setChangesMade(true);
    h.frontend.scriptAlertAnswers({core::AlertAlternate});
    h.clean();
    EXPECT_EQ(h.frontend.eventsOf(Type::Alert).at(0).alert.title, "Changes Made");
    EXPECT_TRUE(fs::exists(h.home() / ".Trash/thing"));
    EXPECT_EQ(h.count(system::kTrash), "1 items");
}

TEST_F(SystemTasks, AnAbortedScanLeavesTheListAsItWas) {
    h.driver().buttonScanClicked(core::Sender::Button);
    h.driver().buttonScanClicked(core::Sender::AbortButton);
    h.waitForTask(core::TaskKind::Scan);
    h.serveUntil([this] { return h.app->flags().allScansAndCleansAborted(); });
    const auto statuses = h.statuses();
    EXPECT_NE(std::find(statuses.begin(), statuses.end(), "Aborted..."), statuses.end());
    EXPECT_EQ(h.count(system::kTrash), "0 items");
    EXPECT_FALSE(h.frontend.progressWindowShown());
}

TEST_F(SystemTasks, SortByNameFirstAscendsAndBySizeFirstDescends) {
    h.scan();
    auto& d = h.driver();
    d.systemPopUpButtonClicked(core::SortChoice::Size);
    EXPECT_EQ(names(d.list()).front(), system::kUserDownloads);
    EXPECT_EQ(d.reflectPopUpButtonTitleInSystem(), core::SortChoice::Size);
    d.systemPopUpButtonClicked(core::SortChoice::Name);
    EXPECT_EQ(names(d.list()).front(), system::kLogs);
    d.systemPopUpButtonClicked(core::SortChoice::Name);
    EXPECT_EQ(names(d.list()).front(), system::kUserDownloads);
    d.systemPopUpButtonClicked(core::SortChoice::Default);
    EXPECT_EQ(names(d.list()), kDefaultOrder);
}

} // namespace
} // namespace tpc::test::sys
