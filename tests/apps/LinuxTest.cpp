// The application list and traces in the linux layout: desktop entries, XDG caches and the
// recently-used bookmarks.

#include "AppsHarness.h"

namespace tpc::test::apps {
namespace {

using AddResult = tpc::apps::AppCatalogue::AddResult;

std::string bookmark(const std::string& file, const std::vector<std::string>& apps) {
    std::string text = "<bookmark href=\"file:///home/u/" + file +
                       "\" added=\"2024-01-01T00:00:00Z\" modified=\"2024-01-01T00:00:00Z\" "
                       "visited=\"2024-01-01T00:00:00Z\"><info><metadata "
                       "owner=\"http://freedesktop.org\"><mime:mime-type type=\"text/plain\"/>"
                       "<bookmark:applications>";
    for (const auto& a : apps)
        text += "<bookmark:application name=\"" + a +
                "\" exec=\"&apos;x %u&apos;\" modified=\"2024-01-01T00:00:00Z\" count=\"1\"/>";
    return text + "</bookmark:applications></metadata></info></bookmark>";
}

class Linux : public ::testing::Test {
protected:
    void SetUp() override {
        entry("org.gnome.gedit", "Text Editor", "gedit %U");
        entry("org.app.Viewer", "Viewer", "/usr/bin/viewer-bin");
        entry("firefox", "Firefox", "firefox %u");
        entry("chromium", "Chromium", "chromium");
        h.start(platform::Layout::Linux);
    }

    fs::path entry(const std::string& id, const std::string& name, const std::string& exec) {
        const auto file = h.home() / ".local/share/applications" / (id + ".desktop");
        writeFile(file,
                  "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=" + exec + "\n");
        return file;
    }
    fs::path xbel() { return h.platform->recentlyUsedFile(); }

    AppsHarness h;
};

TEST_F(Linux, FirstRunListsDesktopEntriesButNotTheBrowsers) {
    EXPECT_EQ(names(h.list()), (std::vector<std::string>{"Viewer", "Text Editor"}));
    auto gedit = h.row("Text Editor");
    EXPECT_EQ(gedit->getString(ak::BundleID), "org.gnome.gedit");
    EXPECT_EQ(core::path(gedit),
              (h.home() / ".local/share/applications/org.gnome.gedit.desktop").string());

    auto& c = h.catalogue();
    EXPECT_EQ(c.addApplication(entry("firefox-esr", "Firefox ESR", "firefox-esr").string()),
              AddResult::BrowserAlreadyAvailable);
    EXPECT_EQ(h.frontend.eventsOf(test::FrontendEvent::Type::Alert).back().alert.title,
              "! Firefox Already Available");
    EXPECT_EQ(c.addApplication(core::path(gedit)), AddResult::AlreadyAdded);
    EXPECT_FALSE(c.optionAvailable(ak::DisableRecents));
    EXPECT_FALSE(c.optionAvailable(ak::ClearDockRecents));
    EXPECT_TRUE(c.optionAvailable(ak::ClearRecents));
    c.setOption(0, ak::DisableDockRecents, true);
    EXPECT_EQ(h.list()->at(0).dict()->getInt(ak::DisableDockRecents), 0);
}

TEST_F(Linux, TheCacheIsFoundByIdOrElseByProgramName) {
    writeFile(h.caches() / "org.gnome.gedit/a", "12");
    writeFile(h.caches() / "gedit/b", "123");
    writeFile(h.caches() / "viewer-bin/c", "1234");
    auto gedit = h.row("Text Editor");
    auto viewer = h.row("Viewer");
    EXPECT_EQ(h.traces().cachePath(gedit), h.caches() / "org.gnome.gedit");
    EXPECT_EQ(h.traces().cachePath(viewer), h.caches() / "viewer-bin");
    EXPECT_EQ(h.traces().countAppDetailsToClear(viewer).size, 4);

    h.driver().markOnly({"Viewer"});
    h.clean();
    EXPECT_FALSE(fs::exists(h.caches() / "viewer-bin"));
    EXPECT_TRUE(fs::exists(h.caches() / "gedit/b"));
    EXPECT_EQ(h.running->terminated, (std::vector<std::string>{"viewer-bin"}));
}

TEST_F(Linux, ClearRecentsRemovesOnlyTheBookmarksThisApplicationAloneRegistered) {
    writeFile(xbel(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xbel version=\"1.0\" "
                      "xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\" "
                      "xmlns:mime=\"http://www.freedesktop.org/standards/shared-mime-info\">" +
                          bookmark("one.txt", {"gedit"}) +
                          bookmark("two.txt", {"Text Editor", "GEDIT"}) +
                          bookmark("shared.txt", {"gedit", "firefox"}) + bookmark("none.txt", {}) +
                          bookmark("other.txt", {"viewer-bin"}) + "</xbel>\n");
    auto gedit = h.row("Text Editor");
    for (const char* flag : ak::kOptionFlags)
        gedit->set(flag, 0);
    gedit->set(ak::ClearDockRecents, 1); // no meaning here
    EXPECT_EQ(h.traces().countAppDetailsToClear(gedit).count, 0);
    gedit->set(ak::ClearRecents, 1);
    EXPECT_EQ(h.traces().countAppDetailsToClear(gedit).count, 2);

    h.traces().deleteAppData(gedit);
    const auto bookmarks = platform::RecentFiles(xbel()).read();
    ASSERT_TRUE(bookmarks);
    std::vector<std::string> left;
    for (const auto& b : *bookmarks)
        left.push_back(b.href.substr(b.href.rfind('/') + 1));
    EXPECT_EQ(left, (std::vector<std::string>{"shared.txt", "none.txt", "other.txt"}));
    EXPECT_FALSE(fs::exists(h.prefs() / "org.gnome.gedit.plist"));
}

} // namespace
} // namespace tpc::test::apps
