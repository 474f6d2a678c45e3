// `tpc eraser …` and the eraser's scan and clean through the command line.

#include "TpcFixture.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tpc::test {
namespace {

using nlohmann::json;

class TpcEraser : public Tpc {
protected:
    fs::path stuff = dir / "stuff";
    fs::path folder = stuff / "folder";
    fs::path file = stuff / "file.bin";

    void SetUp() override {
        Tpc::SetUp();
        fs::create_directories(root);
        writeFile(folder / "a.txt", "abc");
        writeFile(folder / "sub/b.txt", "bb");
        writeFile(file, "0123456789");
    }

    // The list a command printed, after checking it succeeded.
    json listOf(std::vector<std::string> args) {
        args.push_back("--json");
        return jsonOf(run(args));
    }

    static std::vector<std::string> paths(const json& out) {
        std::vector<std::string> p;
        for (const auto& row : out["list"])
            p.push_back(row["Description Dictionary"]["Path"]);
        return p;
    }

    static const json& row(const json& out, const fs::path& path) {
        for (const auto& r : out["list"])
            if (r["Description Dictionary"]["Path"] == path.string())
                return r;
        static const json none;
        ADD_FAILURE() << path << " is not listed";
        return none;
    }
};

TEST_F(TpcEraser, EditingTheListKeepsTheAddRuleAndPersists) {
    auto added = listOf({"eraser", "add", folder.string() + "/", file.string()});
    EXPECT_EQ(paths(added), (std::vector<std::string>{folder.string(), file.string()}));
    EXPECT_FALSE(added.contains("alert"));
    const auto& f = row(added, file);
    EXPECT_EQ(f["Description Dictionary"]["Description"], "file.bin");
    EXPECT_EQ(f["Mark"], 1);
    EXPECT_EQ(f["Is A Folder"], false);
    EXPECT_FALSE(f.contains("Parent"));
    // The sizes update ran before the list was printed.
    EXPECT_EQ(f["Size"], 10u);
    EXPECT_EQ(row(added, folder)["Is A Folder"], true);

    auto inside = listOf({"eraser", "add", (folder / "sub/b.txt").string()});
    EXPECT_EQ(inside["alert"], (json{{"title", "Path(s) inconsistencies !"},
                                     {"message", "All or some paths were already added to list"}}));
    EXPECT_EQ(paths(inside).size(), 2u);

    // A missing path adds nothing, not even the paths given with it.
    writeFile(stuff / "new.txt", "n");
    auto missing = run({"eraser", "add", (stuff / "new.txt").string(), (stuff / "nope").string()});
    EXPECT_EQ(missing.code, 2);
    EXPECT_NE(missing.err.find("nope"), std::string::npos);

    EXPECT_EQ(row(listOf({"eraser", "mark", file.string(), "0"}), file)["Mark"], 0);
    auto notFolder = run({"eraser", "option", file.string(), "contents"});
    EXPECT_EQ(notFolder.code, 2);
    EXPECT_NE(notFolder.err.find("is not a folder"), std::string::npos);
    EXPECT_EQ(
        row(listOf({"eraser", "option", folder.string(), "contents"}), folder)["Delete Option"],
        true);
    EXPECT_EQ(run({"eraser", "mark", (stuff / "nope").string(), "1"}).code, 2);
    EXPECT_EQ(run({"eraser", "mark", file.string(), "yes"}).code, 2);

    // Every change was saved.
    auto listed = listOf({"eraser", "list"});
    EXPECT_EQ(paths(listed), (std::vector<std::string>{folder.string(), file.string()}));
    EXPECT_EQ(row(listed, file)["Mark"], 0);
    EXPECT_EQ(row(listed, folder)["Delete Option"], true);

    EXPECT_EQ(run({"eraser", "remove", file.string(), (stuff / "new.txt").string()}).code, 2);
    EXPECT_EQ(paths(listOf({"eraser", "remove", (stuff / "folder/../folder/").string()})),
              (std::vector<std::string>{file.string()}));
    EXPECT_TRUE(listOf({"eraser", "clear"})["list"].empty());
    EXPECT_TRUE(listOf({"eraser", "list"})["list"].empty());
    EXPECT_TRUE(fs::exists(folder / "a.txt"));
    EXPECT_TRUE(fs::exists(file));
}

TEST_F(TpcEraser, CleanWithAnItemErasesThatPathOnlyAndKeepsTheSavedMarks) {
    auto other = stuff / "other.txt";
    writeFile(other, "1234567");
    listOf({"eraser", "add", file.string(), other.string()});
    listOf({"eraser", "mark", file.string(), "0"});

    auto scanned = listOf({"scan", "eraser"});
    EXPECT_EQ(row(scanned, file)["Size"], 10u);
    EXPECT_EQ(row(scanned, other)["Size"], 7u);
    EXPECT_EQ(scanned["result"], "Total Size To Clean: 0.02 KB\nTotal Items To Clean: 2 items");

    auto text = run({"eraser", "list"});
    EXPECT_NE(text.out.find("[ ] file.bin  0.01 KB  " + file.string()), std::string::npos)
        << text.out;

    auto cleaned = listOf({"clean", "eraser", "--item", file.string()});
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(readFile(other), "1234567");
    EXPECT_EQ(cleaned["result"], "Cleaning Done");

    auto listed = listOf({"eraser", "list"});
    EXPECT_EQ(row(listed, file)["Mark"], 0);
    EXPECT_EQ(row(listed, other)["Mark"], 1);
}

} // namespace
} // namespace tpc::test
