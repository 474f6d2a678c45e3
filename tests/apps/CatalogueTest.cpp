// The application list: its first fill, adding and removing, and what survives a restart.

#include "AppsHarness.h"

#include "core/TaskFlags.h"

namespace tpc::test::apps {
namespace {

using AddResult = tpc::apps::AppCatalogue::AddResult;
using test::FrontendEvent;

TEST(AppCatalogue, FirstRunListsBundlesButNotTheBrowsersAndLogsThoseWithoutIdentifier) {
    AppsHarness h;
    h.bundle("Safari", "com.apple.Safari");
    h.bundle("Firefox", "org.mozilla.firefox");
    h.bundle("Google Chrome", "com.google.Chrome");
    h.bundle("Notes", "com.apple.Notes");
    h.bundle("Calc", "org.calc");
    h.bundle("Nameless", "");
    fs::create_directories(h.applications() / "Empty.app");
    writeFile(h.applications() / "readme.txt", "x");
    h.start();

    EXPECT_EQ(names(h.list()), (std::vector<std::string>{"Calc", "Notes"}));
    auto notes = h.row("Notes");
    EXPECT_EQ(notes->getString(ak::BundleID), "com.apple.Notes");
    EXPECT_EQ(core::path(notes), (h.applications() / "Notes.app").string());
    EXPECT_EQ(notes->getInt(ck::ValueForDefaultSort), 1);
    for (const char* flag : ak::kOptionFlags)
        EXPECT_EQ(notes->getInt(flag), std::string(flag).find("Disable") == 0 ? 0 : 1) << flag;
    EXPECT_EQ(notes->getString(ck::Count), "0 items");
    EXPECT_TRUE(notes->getBool(ck::IsRootItem));
    for (const char* name : {"Nameless", "Empty"})
        EXPECT_TRUE(h.logged("Not able to determine Bundle Identifier for path:" +
                             (h.applications() / (std::string(name) + ".app")).string()));
    EXPECT_TRUE(h.frontend.eventsOf(FrontendEvent::Type::Alert).empty());
    EXPECT_TRUE(fs::exists(h.app->settings().fileFor("Recents")));
}

TEST(AppCatalogue, AddingRefusesBrowsersAndTheSamePathButTakesACopyElsewhere) {
    AppsHarness h;
    h.start();
    auto& c = h.catalogue();
    const auto first = h.bundle("Editor", "org.editor");
    const auto copy = h.bundle("Editor", "org.editor", h.home() / "Apps");

    EXPECT_EQ(c.addApplication(first.string()), AddResult::Added);
    EXPECT_EQ(c.addApplication(first.string() + "/"), AddResult::AlreadyAdded);
    EXPECT_EQ(c.addApplication(copy.string()), AddResult::Added);
    EXPECT_EQ(c.addApplication(h.bundle("Safari", "com.apple.Safari").string()),
              AddResult::BrowserAlreadyAvailable);
    EXPECT_EQ(c.addApplication((h.applications() / "Missing.app").string()),
              AddResult::NoIdentifier);

    const auto alerts = h.frontend.eventsOf(FrontendEvent::Type::Alert);
    ASSERT_EQ(alerts.size(), 2u);
    EXPECT_EQ(alerts[0].alert.title, "! Application Already Added");
    EXPECT_EQ(alerts[0].alert.message,
              "The application at path:\"" + first.string() + "\" is already in the recents list");
    EXPECT_EQ(alerts[0].alert.buttons(), (std::vector<std::string>{"OK"}));
    EXPECT_EQ(alerts[1].alert.title, "! Safari Already Available");
    EXPECT_EQ(alerts[1].alert.message,
              "Safari options are already available in \"Browser Cleanup\"");

    ASSERT_EQ(h.list()->size(), 2u);
    EXPECT_EQ(h.list()->at(1).dict()->getInt(ck::ValueForDefaultSort), 1);
    EXPECT_EQ(core::path(h.list()->at(1).dict()), copy.string());
}

TEST(AppCatalogue, RemovingRenumbersKeepsTheSortAndAnEmptyListZeroesTheResult) {
    AppsHarness h;
    h.start();
    auto& c = h.catalogue();
    for (const char* name : {"Alpha", "Beta", "Gamma"})
        c.addApplication(h.bundle(name, std::string("org.") + name).string());
    c.recentsPopUpButtonClicked(core::SortChoice::Name);
    c.recentsPopUpButtonClicked(core::SortChoice::Name); // now descending
    ASSERT_EQ(names(h.list()), (std::vector<std::string>{"Gamma", "Beta", "Alpha"}));

    c.removeRow(1);
    EXPECT_TRUE(h.app->flags().changesMade());
    EXPECT_EQ(names(h.list()), (std::vector<std::string>{"Gamma", "Alpha"}));
    EXPECT_EQ(h.row("Alpha")->getInt(ck::ValueForDefaultSort), 0);
    EXPECT_EQ(h.row("Gamma")->getInt(ck::ValueForDefaultSort), 1);
    EXPECT_FALSE(h.frontend.resultText());

    c.removeAll();
    EXPECT_EQ(h.frontend.resultText(),
              "Total Size To Clean: 0.00 KB\nTotal Items To Clean: 0 items");
}

TEST(AppCatalogue, ARestartKeepsMarksAndOptionsButNotScanResultsAndDoesNotRefill) {
    AppsHarness h;
    h.bundle("Notes", "com.apple.Notes");
    h.start();
    writeFile(h.caches() / "com.apple.Notes/a", std::string(1500, 'x'));
    h.scan();
    ASSERT_EQ(h.row("Notes")->getString(ck::Count), "1 items");
    h.catalogue().setRowMark(0, false);
    h.catalogue().setOption(0, ak::DisableRecents, true);

    h.bundle("Later", "org.later");
    h.start();
    EXPECT_EQ(names(h.list()), (std::vector<std::string>{"Notes"}));
    auto notes = h.row("Notes");
    EXPECT_EQ(notes->getString(ck::Count), "0 items");
    EXPECT_EQ(notes->getString(ck::SizeFormattedString), "0.00 KB");
    EXPECT_EQ(core::size(notes), 0u);
    EXPECT_FALSE(core::isMarked(notes));
    EXPECT_EQ(notes->getInt(ak::DisableRecents), 1);
}

} // namespace
} // namespace tpc::test::apps
