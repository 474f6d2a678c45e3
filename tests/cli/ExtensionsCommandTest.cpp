// `tpc scan extensions`, `tpc clean extensions --item ... | --all` and the `tpc extensions`
// alias, on fake homes and roots of both layouts.

#include "TpcFixture.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tpc::test {
namespace {

using nlohmann::json;

class TpcExtensions : public Tpc {
protected:
    void SetUp() override {
        Tpc::SetUp();
        fs::create_directories(root);
        writeFile(home / ".config/autostart/mine.desktop",
                  "[Desktop Entry]\nType=Application\nName=Mine\n");
        writeFile(root / "etc/xdg/autostart/tray.desktop",
                  "[Desktop Entry]\nType=Application\nName=Tray\n");
        writeFile(home / ".mozilla/plugins/libx.so", "x");
    }

    Result linux(std::vector<std::string> args) {
        args.insert(args.begin(),
                    {"--layout", "linux", "--home", home.string(), "--root", root.string()});
        return tpc(args);
    }

    static std::vector<std::string> itemsOf(const json& out, const std::string& category) {
        std::vector<std::string> names;
        for (const auto& root : out["list"])
            if (root["Description Dictionary"]["Description"] == category)
                for (const auto& item : root["Sub List Array"])
                    names.push_back(item["Description Dictionary"]["Description"]);
        return names;
    }
};

TEST_F(TpcExtensions, ScanPrintsBothLevelsTheResultAndTheSubtitle) {
    const auto out = jsonOf(linux({"scan", "extensions", "--json"}));
    EXPECT_EQ(out["category"], "extensions");
    ASSERT_EQ(out["list"].size(), 2u);
    EXPECT_EQ(out["list"][0]["Description Dictionary"]["Icon"], "Internet Plugins.png");
    EXPECT_EQ(itemsOf(out, "Login Items"), (std::vector<std::string>{"mine", "tray"}));
    EXPECT_EQ(out["subtitle"], "(3 Items found)");
    EXPECT_EQ(out["result"].get<std::string>().rfind("Total Size To Clean: ", 0), 0u);
}

TEST_F(TpcExtensions, CleanRemovesTheNamedItemsThroughEitherSpelling) {
    auto out = jsonOf(linux({"clean", "extensions", "--item", "Login Items/mine", "--json"}));
    EXPECT_FALSE(fs::exists(home / ".config/autostart/mine.desktop"));
    EXPECT_EQ(out["result"], "Cleaning Done");
    EXPECT_EQ(itemsOf(out, "Login Items"), std::vector<std::string>{"tray"});

    out = jsonOf(linux({"extensions", "clean", "--item", "Login Items/tray", "--json"}));
    EXPECT_TRUE(fs::exists(root / "etc/xdg/autostart/tray.desktop"));
    EXPECT_NE(readFile(home / ".config/autostart/tray.desktop").find("Hidden=true"),
              std::string::npos);
    EXPECT_TRUE(itemsOf(out, "Login Items").empty());

    // The category alone, or --all (the lists are built unmarked), removes nothing.
    EXPECT_EQ(linux({"extensions", "clean", "--item", "Internet Plugins"}).code, 0);
    EXPECT_EQ(linux({"clean", "extensions", "--all"}).code, 0);
    EXPECT_TRUE(fs::exists(home / ".mozilla/plugins/libx.so"));
}

TEST_F(TpcExtensions, NothingIsCleanedWithoutNamesAndUnknownNamesAreRefused) {
    auto r = linux({"clean", "extensions"});
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.err.find("--item"), std::string::npos) << r.err;
    r = linux({"extensions", "clean", "--item", "Login Items/nothing"});
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.err.find("\"Login Items/nothing\""), std::string::npos) << r.err;
    EXPECT_TRUE(fs::exists(home / ".config/autostart/mine.desktop"));
    EXPECT_EQ(linux({"extensions"}).code, 2);

    // The macos layout on the same home: only "Login Items" is always listed.
    const auto out = jsonOf(run({"scan", "extensions", "--json"}));
    ASSERT_EQ(out["list"].size(), 1u);
    EXPECT_EQ(out["list"][0]["Description Dictionary"]["Description"], "Login Items");
    EXPECT_TRUE(out["subtitle"].is_null());
}

} // namespace
} // namespace tpc::test
