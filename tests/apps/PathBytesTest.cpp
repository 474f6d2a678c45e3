// Applications whose file names are not UTF-8: the list (a property list, whose strings are UTF-8)
// could only keep them as some other path or identifier, which would name some other cache
// folder. They are refused where they enter the list, never stored as something else.

#include "AppsHarness.h"

namespace tpc::test::apps {
namespace {

using AddResult = tpc::apps::AppCatalogue::AddResult;

fs::path desktopEntry(const fs::path& folder, const std::string& id, const std::string& name) {
    const auto file = folder / (id + ".desktop");
    writeFile(file, "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=prog\n");
    return file;
}

TEST(AppPathBytes, FirstRunSkipsDesktopEntriesWhoseIdOrNameIsNotUtf8) {
    AppsHarness h;
    const auto folder = h.home() / ".local/share/applications";
    desktopEntry(folder, "org.good.App", "Good");
    desktopEntry(folder, "org.bad\xff.App", "Bad id");
    desktopEntry(folder, "org.badname.App", "Bad \xc3(name");
    h.start(platform::Layout::Linux);

    EXPECT_EQ(names(h.list()), (std::vector<std::string>{"Good"}));
    // What was saved reads back the same.
    h.restart();
    EXPECT_EQ(names(h.list()), (std::vector<std::string>{"Good"}));
}

TEST(AppPathBytes, AddingAnApplicationWhoseNameIsNotUtf8IsRefusedWithAnAlert) {
    AppsHarness h;
    h.start(platform::Layout::Linux);
    const auto folder = h.dir.path() / "elsewhere";
    const auto odd = desktopEntry(folder, "org.cut\xff.App", "Odd");
    const auto before = h.list()->size();

    EXPECT_EQ(h.catalogue().addApplication(odd.string()), AddResult::NotStorable);
    EXPECT_EQ(h.list()->size(), before);
    const auto alerts = h.alerts();
    ASSERT_FALSE(alerts.empty());
    EXPECT_EQ(alerts.back().title, "! Application Not Added");
    EXPECT_NE(alerts.back().message.find("org.cut\\xFF.App.desktop"), std::string::npos)
        << alerts.back().message;

    // A good name inside a folder whose name is not UTF-8 is refused just the same.
    const auto inOddFolder = desktopEntry(h.dir.path() / "d\xfe", "org.fine.App", "Fine");
    EXPECT_EQ(h.catalogue().addApplication(inOddFolder.string()), AddResult::NotStorable);
    EXPECT_EQ(h.list()->size(), before);
}

} // namespace
} // namespace tpc::test::apps
