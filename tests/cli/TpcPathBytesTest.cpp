// Paths whose names are not UTF-8, through the real `tpc`: refused where they would enter a list
// (exit 2, the path shown escaped), erased byte for byte when found inside a listed folder or
// named to `tpc erase`, and never a crash or another path removed.

#include "TpcFixture.h"

#include "core/Utf8.h"

#include "support/OddNames.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace tpc::test {
namespace {

using nlohmann::json;
using Strings = std::vector<std::string>;

class TpcPathBytes : public Tpc {
protected:
    fs::path stuff = dir / "stuff";

    void SetUp() override {
        Tpc::SetUp();
        // The folders a name cut or repaired at its bad bytes would reach.
        writeFile(stuff / "a/keep", "a");
        writeFile(stuff / "c/keep", "c");
        writeFile(stuff / "g/h/keep", "gh");
    }

    Result linux(std::vector<std::string> args) {
        args.insert(args.begin(), {"--layout", "linux", "--home", home.string()});
        return tpc(args);
    }
    void expectOthersUntouched() {
        EXPECT_EQ(readFile(stuff / "a/keep"), "a");
        EXPECT_EQ(readFile(stuff / "c/keep"), "c");
        EXPECT_EQ(readFile(stuff / "g/h/keep"), "gh");
    }
    Strings listed() {
        Strings out;
        const auto printed = jsonOf(linux({"--json", "eraser", "list"}));
        for (const auto& row : printed["list"])
            out.push_back(row["Description Dictionary"]["Path"]);
        return out;
    }
};

TEST_F(TpcPathBytes, EraserAddRefusesNamesThatAreNotUtf8AndTheCleanRemovesNothingElse) {
    writeFile(stuff / "fine", "1");
    for (const auto& name : kOddNames) {
        SCOPED_TRACE(core::displayText(name));
        writeFile(stuff / name / "inside", "x");
        auto added = linux({"eraser", "add", (stuff / name).string()});
        EXPECT_EQ(added.code, 2);
        EXPECT_TRUE(core::isValidUtf8(added.err));
        EXPECT_NE(added.err.find(core::displayText((stuff / name).string())), std::string::npos)
            << added.err;
        EXPECT_NE(added.err.find("not valid UTF-8"), std::string::npos) << added.err;
    }
    // Every path is checked before any is added.
    EXPECT_EQ(
        linux({"eraser", "add", (stuff / "fine").string(), (stuff / kOddNames[0]).string()}).code,
        2);
    EXPECT_TRUE(listed().empty());

    EXPECT_EQ(linux({"clean", "eraser"}).code, 0);
    expectOthersUntouched();
    for (const auto& name : kOddNames)
        EXPECT_EQ(readFile(stuff / name / "inside"), "x");
    EXPECT_EQ(readFile(stuff / "fine"), "1");

    // Naming such a path as a row is bad input too, shown escaped.
    auto item = linux({"clean", "eraser", "--item", (stuff / kOddNames[0]).string()});
    EXPECT_EQ(item.code, 2);
    EXPECT_TRUE(core::isValidUtf8(item.err)) << item.err;
}

TEST_F(TpcPathBytes, NamesInsideAListedFolderAreErasedAndPrintedWithoutACrash) {
    for (const auto& name : kOddNames) {
        writeFile(stuff / "listed" / name / name, "12345");
        writeFile(stuff / "listed" / (name + ".txt"), "1");
    }
    const auto trace = dir / "trace.jsonl";
    auto added =
        linux({"--json", "--trace", trace.string(), "eraser", "add", (stuff / "listed").string()});
    ASSERT_EQ(added.code, 0) << added.err;
    EXPECT_EQ(listed(), (Strings{(stuff / "listed").string()}));

    // Each odd folder with its file, and the three files beside them.
    auto scanned = jsonOf(linux({"--json", "--trace", trace.string(), "scan", "eraser"}));
    EXPECT_NE(scanned["result"].get<std::string>().find("Total Items To Clean: 9 items"),
              std::string::npos)
        << scanned["result"];

    // Readable output too.
    EXPECT_EQ(linux({"eraser", "list"}).code, 0);
    auto cleaned = linux({"--json", "--trace", trace.string(), "clean", "eraser"});
    EXPECT_EQ(jsonOf(cleaned)["result"], "Cleaning Done");
    EXPECT_FALSE(fs::exists(stuff / "listed"));
    expectOthersUntouched();

    // Every trace line is a JSON object.
    std::istringstream lines(readFile(trace));
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        EXPECT_TRUE(json::accept(line)) << line;
    EXPECT_GT(count, 0);
}

TEST_F(TpcPathBytes, EraseRemovesExactlyTheNamedBytes) {
    Strings paths;
    for (const auto& name : kOddNames) {
        writeFile(stuff / name / "inside", "x");
        paths.push_back((stuff / name).string());
    }
    Strings args{"--json", "erase", "--method", "0"};
    args.insert(args.end(), paths.begin(), paths.end());
    auto erased = linux(args);
    EXPECT_EQ(erased.code, 0) << erased.err;
    for (const auto& path : paths)
        EXPECT_FALSE(fs::exists(fs::symlink_status(path))) << core::displayText(path);
    expectOthersUntouched();

    auto missing = linux({"erase", (stuff / "x\xfe").string()});
    EXPECT_EQ(missing.code, 2);
    EXPECT_NE(missing.err.find("x\\xFE"), std::string::npos) << missing.err;
}

TEST_F(TpcPathBytes, RecentsAddRefusesADesktopEntryWhoseNameIsNotUtf8) {
    const auto entry = dir / "apps" / "org.cut\xff.App.desktop";
    writeFile(entry, "[Desktop Entry]\nType=Application\nName=Cut\nExec=cut\n");
    auto before = jsonOf(linux({"--json", "recents", "list"}))["list"].size();

    auto added = linux({"recents", "add", entry.string()});
    EXPECT_EQ(added.code, 2);
    EXPECT_NE(added.err.find("org.cut\\xFF.App.desktop"), std::string::npos) << added.err;
    EXPECT_NE(added.err.find("not valid UTF-8"), std::string::npos) << added.err;
    EXPECT_EQ(jsonOf(linux({"--json", "recents", "list"}))["list"].size(), before);
}

} // namespace
} // namespace tpc::test
