// The linux layout: plug-ins, Firefox add-ons, shell extensions and autostart entries, and that
// a clean changes nothing but what it was asked to remove.

#include "ExtensionsHarness.h"

#include <nlohmann/json.hpp>
#include <sys/stat.h>

namespace tpc::test::ext {
namespace {

using Json = nlohmann::json;

// Every entry under `top` with what it is: its mode, and a file's bytes or a link's target.
using Snapshot = std::map<std::string, std::string>;
Snapshot snapshot(const fs::path& top) {
    Snapshot out;
    for (const auto& entry : fs::recursive_directory_iterator(top)) {
        struct stat st {};
        ::lstat(entry.path().c_str(), &st);
        std::string what = std::to_string(st.st_mode) + " ";
        what += S_ISLNK(st.st_mode)   ? fs::read_symlink(entry.path()).string()
                : S_ISREG(st.st_mode) ? readFile(entry.path())
                                      : "";
        out[entry.path().lexically_relative(top).string()] = what;
    }
    return out;
}

// What changed between two snapshots: "+name", "-name" or "~name", sorted by name.
std::vector<std::string> changes(const Snapshot& before, const Snapshot& after) {
    std::map<std::string, std::string> out;
    for (const auto& [name, what] : before)
        if (!after.count(name) || after.at(name) != what)
            out[name] = after.count(name) ? "~" : "-";
    for (const auto& [name, what] : after)
        if (!before.count(name))
            out[name] = "+";
    std::vector<std::string> list;
    for (const auto& [name, sign] : out)
        list.push_back(sign + name);
    return list;
}

class LinuxExtensions : public ::testing::Test {
protected:
    ExtensionsHarness h;
    fs::path profile() const { return h.home() / ".mozilla/firefox/abcd.default-release"; }
    fs::path autostart() const { return h.home() / ".config/autostart"; }
    fs::path systemAutostart() const { return h.root() / "etc/xdg/autostart"; }
    fs::path shell() const { return h.home() / ".local/share/gnome-shell/extensions"; }

    void SetUp() override {
        writeFile(h.home() / ".mozilla/firefox/profiles.ini",
                  "[Profile0]\nName=default\nIsRelative=1\nPath=abcd.default-release\n"
                  "Default=1\n");
        writeFile(profile() / "extensions/block@ads.xpi", "zip1");
        writeFile(profile() / "extensions/{5f3c}.xpi", "zip2");
        writeFile(profile() / "extensions/notes.txt", "n");
        const Json registry = {
            {"schemaVersion", 36},
            {"addons",
             {{{"id", "block@ads"},
               {"location", "app-profile"},
               {"defaultLocale", {{"name", "Ad Blocker"}, {"creator", "Someone"}}},
               {"installDate", 1700000000000LL}},
              {{"id", "{5f3c}"}, {"location", "app-profile"}, {"active", true}},
              {{"id", "block@ads"},
               {"location", "app-system-defaults"},
               {"defaultLocale", {{"name", "Built-in copy"}}}}}}};
        writeFile(profile() / "extensions.json", registry.dump());
        ::chmod((profile() / "extensions.json").c_str(), 0600);

        writeFile(h.home() / ".mozilla/plugins/libmine.so", "m");
        writeFile(h.root() / "usr/lib/mozilla/plugins/libpkg.so", "p");
        writeFile(h.root() / "usr/lib/mozilla/plugins/readme", "r");
        // A link in the user's folder to a file outside: removed as a link, the file kept.
        writeFile(h.dir / "outside/libreal.so", "real");
        fs::create_symlink(h.dir / "outside/libreal.so", h.home() / ".mozilla/plugins/liblink.so");

        writeFile(shell() / "dash@x/metadata.json", R"({"name": "Dash Dock", "uuid": "dash@x"})");
        writeFile(shell() / "broken@x/metadata.json", "{not json");

        writeFile(autostart() / "mine.desktop", "[Desktop Entry]\nType=Application\nName=Mine\n");
        writeFile(autostart() / "off.desktop", "[Desktop Entry]\nName=Off\nHidden=true\n");
        writeFile(systemAutostart() / "off.desktop", "[Desktop Entry]\nName=Off\n");
        writeFile(systemAutostart() / "tray.desktop",
                  "[Desktop Entry]\nType=Application\nName=Tray Applet\nExec=tray\n");
        writeFile(systemAutostart() / "gone.desktop",
                  "[Desktop Entry]\nName=Gone\nX-GNOME-Autostart-enabled=false\n");
        h.start(platform::Layout::Linux);
        h.scan();
    }
};

TEST_F(LinuxExtensions, ScanListsTheLinuxCategoriesOnly) {
    EXPECT_EQ(h.titles(), (std::vector<std::string>{"Internet Plugins", "Firefox Extensions",
                                                    "Shell Extensions", "Login Items"}));
    EXPECT_EQ(h.items("Internet Plugins"),
              (std::vector<std::string>{"liblink", "libmine", "libpkg"}));
    // Named from the registry, else by the file name.
    EXPECT_EQ(h.items("Firefox Extensions"),
              (std::vector<std::string>{"Ad Blocker", "{5f3c}.xpi"}));
    EXPECT_EQ(h.items("Shell Extensions"), std::vector<std::string>{"Dash Dock"});
    // Entries switched off, and system entries a user entry hides, are not login items.
    EXPECT_EQ(h.items("Login Items"), (std::vector<std::string>{"mine", "tray"}));
    EXPECT_EQ(core::path(h.item("Login Items", "tray")),
              (systemAutostart() / "tray.desktop").string());
}

TEST_F(LinuxExtensions, CleanRemovesOnlyWhatWasNamed) {
    const auto homeBefore = snapshot(h.home());
    const auto rootBefore = snapshot(h.root());
    const auto outsideBefore = snapshot(h.dir / "outside");
    const std::string trayBefore = readFile(systemAutostart() / "tray.desktop");

    h.cleanOnly({"Login Items/mine", "Login Items/tray", "Firefox Extensions/Ad Blocker",
                 "Internet Plugins/liblink", "Internet Plugins/libpkg", "Shell Extensions"});

    // The system's files are never touched: the system entry is switched off by a user entry.
    EXPECT_TRUE(changes(rootBefore, snapshot(h.root())).empty());
    EXPECT_EQ(readFile(systemAutostart() / "tray.desktop"), trayBefore);
    EXPECT_EQ(readFile(autostart() / "tray.desktop"),
              "[Desktop Entry]\nType=Application\nName=Tray Applet\nHidden=true\n");
    EXPECT_TRUE(changes(outsideBefore, snapshot(h.dir / "outside")).empty());
    EXPECT_EQ(changes(homeBefore, snapshot(h.home())),
              (std::vector<std::string>{"-.config/autostart/mine.desktop",
                                        "+.config/autostart/tray.desktop",
                                        "~.mozilla/firefox/abcd.default-release/extensions.json",
                                        "-.mozilla/firefox/abcd.default-release/extensions/"
                                        "block@ads.xpi",
                                        "-.mozilla/plugins/liblink.so"}));

    // The add-on's entry is gone; the other entries, the other keys and the mode stay.
    const Json registry = Json::parse(readFile(profile() / "extensions.json"));
    EXPECT_EQ(registry["schemaVersion"], 36);
    ASSERT_EQ(registry["addons"].size(), 2u);
    EXPECT_EQ(registry["addons"][0],
              (Json{{"id", "{5f3c}"}, {"location", "app-profile"}, {"active", true}}));
    EXPECT_EQ(registry["addons"][1]["location"], "app-system-defaults");
    struct stat st {};
    ::stat((profile() / "extensions.json").c_str(), &st);
    EXPECT_EQ(st.st_mode & 07777, 0600u);

    // The rescan: removed and switched-off items are gone.
    EXPECT_EQ(h.items("Login Items"), std::vector<std::string>{});
    EXPECT_EQ(h.items("Firefox Extensions"), std::vector<std::string>{"{5f3c}.xpi"});
    EXPECT_EQ(h.items("Internet Plugins"), (std::vector<std::string>{"libmine", "libpkg"}));
    EXPECT_TRUE(
        h.logged("Not removing item:" + (h.root() / "usr/lib/mozilla/plugins/libpkg.so").string() +
                 ", reason: it belongs to the system's packages"));
}

TEST_F(LinuxExtensions, AnAddOnMissingFromTheRegistryLeavesItAsItWas) {
    writeFile(profile() / "extensions/stray@x.xpi", "zip3");
    h.scan();
    struct stat before {
    }, after{};
    ::stat((profile() / "extensions.json").c_str(), &before);
    h.cleanOnly({"Firefox Extensions/stray@x.xpi"});
    EXPECT_FALSE(fs::exists(profile() / "extensions/stray@x.xpi"));
    ::stat((profile() / "extensions.json").c_str(), &after);
    EXPECT_EQ(after.st_ino, before.st_ino);
}

} // namespace
} // namespace tpc::test::ext
