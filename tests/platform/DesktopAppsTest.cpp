#include "platform/DesktopApps.h"
#include "platform/Platform.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace tpc::platform {
namespace {

using test::TempDir;
using test::writeFile;

struct DesktopAppsFixture : ::testing::Test {
    TempDir dir;
    Platform platform{[&] {
        PlatformOptions opts;
        opts.layout = Layout::Linux;
        opts.home = dir / "home";
        opts.root = dir / "root";
        opts.environment = std::map<std::string, std::string>{};
        return opts;
    }()};
    fs::path user = dir / "home/.local/share/applications";
    fs::path system = dir / "root/usr/share/applications";

    static void entry(const fs::path& file, const std::string& body,
                      const std::string& type = "Application") {
        writeFile(file, "# comment\n[Desktop Entry]\nType=" + type + "\n" + body +
                            "[Desktop Action new]\nName=Other\nExec=/bin/other\n");
    }
};

TEST_F(DesktopAppsFixture, FoldersAreTheUsersThenTheSystems) {
    EXPECT_EQ(applicationFolders(platform), (std::vector<fs::path>{user, system}));
}

TEST_F(DesktopAppsFixture, ReadsNameAndExecutable) {
    entry(system / "org.example.Edit.desktop",
          "Name=Text\\sEditor\nName[fr]=Editeur\nExec=\"/opt/My Apps/edit\" %U\n");
    entry(system / "kde/viewer.desktop", "Exec=viewer --new\n");
    entry(system / "link.desktop", "Name=Web\nURL=https://example.com\n", "Link");

    auto edit = readDesktopApp(platform, system / "org.example.Edit.desktop");
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->id, "org.example.Edit");
    EXPECT_EQ(edit->name, "Text Editor");
    EXPECT_EQ(edit->executable, "edit");
    EXPECT_EQ(edit->file, system / "org.example.Edit.desktop");

    auto viewer = readDesktopApp(platform, system / "kde/viewer.desktop");
    ASSERT_TRUE(viewer);
    EXPECT_EQ(viewer->id, "kde-viewer");
    EXPECT_EQ(viewer->name, "kde-viewer"); // no Name: the id
    EXPECT_EQ(viewer->executable, "viewer");
    EXPECT_EQ(readDesktopApp(platform, system / "kde/viewer.desktop", "given")->id, "given");

    entry(dir / "elsewhere/tool.desktop", "Name=Tool\n");
    auto tool = readDesktopApp(platform, dir / "elsewhere/tool.desktop");
    ASSERT_TRUE(tool);
    EXPECT_EQ(tool->id, "tool");
    EXPECT_EQ(tool->executable, "");

    EXPECT_FALSE(readDesktopApp(platform, system / "link.desktop"));
    EXPECT_FALSE(readDesktopApp(platform, system / "missing.desktop"));
    writeFile(system / "nogroup.desktop", "[Other]\nType=Application\n");
    EXPECT_FALSE(readDesktopApp(platform, system / "nogroup.desktop"));
}

TEST_F(DesktopAppsFixture, ListsVisibleApplicationsWithTheUsersFilesWinning) {
    entry(system / "b.desktop", "Name=System B\nExec=b\n");
    entry(user / "b.desktop", "Name=User B\nExec=/home/u/bin/b2\n");
    entry(system / "c.desktop", "Name=C\nExec=c\n");
    entry(user / "c.desktop", "Name=C\nHidden=true\n"); // the user removed it
    entry(system / "d.desktop", "Name=D\nNoDisplay=true\n");
    entry(system / "e.desktop", "Name=E\nNoDisplay=false\n");
    entry(system / "gnome/a.desktop", "Name=A\nExec=a\n");
    entry(system / "f.desktop", "Name=F\n", "Link");
    writeFile(system / "notes.txt", "[Desktop Entry]\nType=Application\n");

    EXPECT_FALSE(desktopAppVisible(user / "c.desktop"));
    EXPECT_FALSE(desktopAppVisible(system / "d.desktop"));
    EXPECT_TRUE(desktopAppVisible(system / "c.desktop"));
    EXPECT_FALSE(desktopAppVisible(system / "missing.desktop"));

    const auto apps = listDesktopApps(platform);
    std::vector<std::string> ids, names, executables;
    for (const auto& app : apps) {
        ids.push_back(app.id);
        names.push_back(app.name);
        executables.push_back(app.executable);
    }
    EXPECT_EQ(ids, (std::vector<std::string>{"b", "e", "gnome-a"}));
    EXPECT_EQ(names, (std::vector<std::string>{"User B", "E", "A"}));
    EXPECT_EQ(executables, (std::vector<std::string>{"b2", "", "a"}));
    EXPECT_EQ(apps[0].file, user / "b.desktop");
}

TEST_F(DesktopAppsFixture, NoFoldersNoApplications) {
    EXPECT_TRUE(listDesktopApps(platform).empty());
}

} // namespace
} // namespace tpc::platform
