// `tpc scan system` and `tpc clean system` on fake homes of both layouts.

#include "TpcFixture.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tpc::test {
namespace {

using nlohmann::json;

class TpcSystem : public Tpc {
protected:
    void SetUp() override {
        Tpc::SetUp();
        fs::create_directories(root);
    }

    json run(const std::string& layout, std::vector<std::string> args) {
        args.insert(args.begin(),
                    {"--layout", layout, "--home", home.string(), "--root", root.string()});
        args.push_back("--json");
        return jsonOf(tpc(args));
    }

    static std::string countOf(const json& out, const std::string& description) {
        for (const auto& row : out["list"])
            if (row["Description Dictionary"]["Description"] == description)
                return row["Count"];
        ADD_FAILURE() << description << " is not listed";
        return {};
    }
};

TEST_F(TpcSystem, MacosScanCountsNestedEntriesAndCleaningTheTrashLeavesTheRest) {
    writeFile(home / "Library/Logs/a.log", "log");
    writeFile(home / "Library/Logs/App/b.log", "more");
    fs::create_directories(home / "Library/Logs/App/old");
    writeFile(home / ".Trash/t.txt", "t");
    writeFile(home / ".Trash/d/u.txt", "uu");
    writeFile(home / "Downloads/keep.zip", "zip");

    auto scanned = run("macos", {"scan", "system"});
    EXPECT_EQ(countOf(scanned, "Logs"), "4 items");
    EXPECT_EQ(countOf(scanned, "Trash"), "3 items");
    EXPECT_EQ(countOf(scanned, "User Downloads"), "1 items");
    const std::string result = scanned["result"];
    EXPECT_NE(result.find("\nTotal Items To Clean: 8 items"), std::string::npos) << result;
    EXPECT_EQ(scanned["subtitle"], "(8 Items found)");

    auto cleaned = run("macos", {"clean", "system", "--item", "Trash"});
    EXPECT_TRUE(fs::is_directory(home / ".Trash"));
    EXPECT_TRUE(fs::is_empty(home / ".Trash"));
    EXPECT_TRUE(fs::exists(home / "Library/Logs/App/b.log"));
    EXPECT_TRUE(fs::exists(home / "Downloads/keep.zip"));
    // The clean's rescan shows what is left.
    EXPECT_EQ(countOf(cleaned, "Trash"), "0 items");
    EXPECT_EQ(countOf(cleaned, "Logs"), "4 items");
    EXPECT_EQ(cleaned["result"], "Cleaning Done");
}

TEST_F(TpcSystem, LinuxCountsTheRecentlyUsedFiles) {
    auto bookmark = [](const std::string& href, const std::string& mime) {
        return "<bookmark href=\"" + href +
               "\" added=\"2024-01-02T10:00:00Z\" modified=\"2024-01-02T10:00:00Z\" "
               "visited=\"2024-01-02T10:00:00Z\"><info><metadata "
               "owner=\"http://freedesktop.org\"><mime:mime-type type=\"" +
               mime +
               "\"/><bookmark:applications><bookmark:application name=\"editor\" "
               "exec=\"&apos;editor %u&apos;\" modified=\"2024-01-02T10:00:00Z\" "
               "count=\"1\"/></bookmark:applications></metadata></info></bookmark>\n";
    };
    writeFile(home / ".local/share/recently-used.xbel",
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xbel version=\"1.0\" "
              "xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\" "
              "xmlns:mime=\"http://www.freedesktop.org/standards/shared-mime-info\">\n" +
                  bookmark("file:///home/u/a.txt", "text/plain") +
                  bookmark("file:///home/u/Music", "inode/directory") +
                  bookmark("file:///home/u/b.png", "image/png") + "</xbel>\n");

    auto scanned = run("linux", {"scan", "system"});
    EXPECT_EQ(countOf(scanned, "Recent Documents, Applications, Servers"), "2 items");
    EXPECT_EQ(countOf(scanned, "Recent Places"), "1 items");
}

} // namespace
} // namespace tpc::test
