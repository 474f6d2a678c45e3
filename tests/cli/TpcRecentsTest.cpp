// `tpc recents …`: the application list on fake roots of both layouts.

#include "TpcFixture.h"

#include "core/PropertyList.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>

namespace tpc::test {
namespace {

using nlohmann::json;

void writeBundle(const fs::path& bundle, const std::string& id) {
    auto info = core::DictObj::make({{"CFBundleIdentifier", id}});
    auto bytes = core::plist::toBinary(core::Value(info));
    fs::create_directories(bundle / "Contents");
    std::ofstream(bundle / "Contents/Info.plist", std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

class TpcRecents : public Tpc {
protected:
    fs::path x = root / "Applications/X.app";
    fs::path y = dir / "Elsewhere/Y.app";

    void SetUp() override {
        Tpc::SetUp();
        writeBundle(x, "com.example.x");
        writeBundle(root / "Applications/Safari.app", "com.apple.Safari");
        writeBundle(y, "com.example.y");
    }

    // The list a command printed, after checking it succeeded.
    json listOf(std::vector<std::string> args) {
        args.push_back("--json");
        return jsonOf(run(args));
    }

    static std::vector<std::string> names(const json& out) {
        std::vector<std::string> n;
        for (const auto& row : out["list"])
            n.push_back(row["Description Dictionary"]["Description"]);
        return n;
    }
};

TEST_F(TpcRecents, FirstRunListsTheApplicationsAndEditsPersist) {
    auto first = listOf({"recents", "list"});
    ASSERT_EQ(names(first), std::vector<std::string>{"X"});
    EXPECT_EQ(first["list"][0]["Bundle ID"], "com.example.x");
    EXPECT_EQ(first["list"][0]["Description Dictionary"]["Path"], x.string());
    EXPECT_FALSE(first["list"][0].contains("Parent"));

    auto again = listOf({"recents", "add", x.string()});
    EXPECT_EQ(again["alert"]["title"], "! Application Already Added");
    EXPECT_EQ(again["alert"]["message"],
              "The application at path:\"" + x.string() + "\" is already in the recents list");
    EXPECT_EQ(names(again).size(), 1u);

    auto added = listOf({"recents", "add", y.string() + "/", "--embedded"});
    EXPECT_FALSE(added.contains("alert"));
    EXPECT_EQ(names(added), (std::vector<std::string>{"X", "Y"}));
    EXPECT_EQ(listOf({"recents", "add", y.string()})["alert"]["title"],
              "! Application Already Added");

    listOf({"recents", "set", "X", "Auto Quit", "0"});
    listOf({"recents", "mark", y.string(), "0"});
    auto text = run({"recents", "list"});
    EXPECT_NE(text.out.find("[x] X  0.00 KB  " + x.string() +
                            "  (Cache, Clear Recents, Clear Dock Recents)"),
              std::string::npos)
        << text.out;
    auto listed = listOf({"recents", "list"});
    EXPECT_EQ(listed["list"][0]["Auto Quit"], 0);
    EXPECT_EQ(listed["list"][0]["Cache"], 1);
    EXPECT_EQ(listed["list"][1]["Mark"], 0);

    auto unknownFlag = run({"recents", "set", "X", "Autoquit", "0"});
    EXPECT_EQ(unknownFlag.code, 2);
    EXPECT_NE(unknownFlag.err.find("Autoquit"), std::string::npos);
    EXPECT_EQ(run({"recents", "mark", "Nobody", "1"}).code, 2);
    EXPECT_EQ(run({"recents", "set", "X", "Cache", "2"}).code, 2);
    EXPECT_EQ(run({"recents", "add", (dir / "Missing.app").string()}).code, 2);
    writeFile(dir / "notes.txt", "x");
    EXPECT_EQ(run({"recents", "add", (dir / "notes.txt").string()}).code, 2);

    EXPECT_EQ(names(listOf({"recents", "remove", x.string()})), std::vector<std::string>{"Y"});
    EXPECT_TRUE(listOf({"recents", "clear"})["list"].empty());
    EXPECT_TRUE(listOf({"recents", "list"})["list"].empty());
}

TEST_F(TpcRecents, LinuxListsTheUsersDesktopEntries) {
    writeFile(home / ".local/share/applications/org.example.Editor.desktop",
              "[Desktop Entry]\nType=Application\nName=Text Editor\nExec=editor %U\n");
    auto r = tpc({"--layout", "linux", "--home", home.string(), "--root", root.string(), "recents",
                  "list", "--json"});
    ASSERT_EQ(r.code, 0) << r.err;
    auto out = json::parse(r.out);
    EXPECT_EQ(names(out), std::vector<std::string>{"Text Editor"});
    EXPECT_EQ(out["list"][0]["Bundle ID"], "org.example.Editor");

    auto dock = tpc({"--layout", "linux", "--home", home.string(), "--root", root.string(),
                     "recents", "set", "Text Editor", "Disable Dock Recents", "1"});
    EXPECT_EQ(dock.code, 2);
    EXPECT_NE(dock.err.find("not available"), std::string::npos);
}

} // namespace
} // namespace tpc::test
