// Paths whose names are not UTF-8: a listed path must be kept byte for byte or refused, never
// turned into another path; names found inside a listed folder are bytes and are erased as such.

#include "EraserHarness.h"

#include "core/GeneralPrefs.h"
#include "core/Utf8.h"

#include "support/OddNames.h"

#include <gtest/gtest.h>

namespace tpc::test::eraser {
namespace {

using Strings = std::vector<std::string>;

using tpc::test::kOddNames;

TEST(EraserPathBytes, NamesThatAreNotUtf8AreRefusedWithAnAlertAndNothingElseIsListed) {
    EraserHarness h;
    // The folders a name cut or repaired at the bad bytes would reach.
    writeFile(h.files() / "a/keep", "a");
    writeFile(h.files() / "c/keep", "c");
    writeFile(h.files() / "g/h/keep", "gh");
    Strings chosen;
    for (const auto& name : kOddNames) {
        writeFile(h.files() / name / "inside", "x");
        chosen.push_back(h.at(name));
    }
    writeFile(h.files() / "fine", "1");
    chosen.push_back(h.at("fine"));
    h.start();

    const auto outcome = h.add(chosen);
    EXPECT_EQ(outcome.added, 1u);
    EXPECT_EQ(outcome.refused, (Strings(chosen.begin(), chosen.begin() + 3)));
    EXPECT_EQ(h.paths(), (Strings{h.at("fine")}));
    const auto alerts = h.alerts();
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].title, "Path(s) not added !");
    // Named through the escaped rendering, so the message itself is valid text.
    EXPECT_TRUE(core::isValidUtf8(alerts[0].message));
    EXPECT_NE(alerts[0].message.find("a\\xFFb"), std::string::npos) << alerts[0].message;
    EXPECT_NE(alerts[0].message.find("g\\xC0\\xAFh"), std::string::npos) << alerts[0].message;

    // The saved list holds the one good path, and a restart reads it back the same.
    h.restart();
    EXPECT_EQ(h.paths(), (Strings{h.at("fine")}));

    h.clean();
    EXPECT_FALSE(fs::exists(h.files() / "fine"));
    EXPECT_EQ(readFile(h.files() / "a/keep"), "a");
    EXPECT_EQ(readFile(h.files() / "c/keep"), "c");
    EXPECT_EQ(readFile(h.files() / "g/h/keep"), "gh");
    for (const auto& name : kOddNames)
        EXPECT_EQ(readFile(h.files() / name / "inside"), "x");
}

class EraserFoundNames : public ::testing::TestWithParam<int> {};

TEST_P(EraserFoundNames, NamesInsideAListedFolderAreMeasuredAndErasedAsBytes) {
    EraserHarness h;
    writeFile(h.files() / "a/keep", "a");
    writeFile(h.files() / "c/keep", "c");
    for (const auto& name : kOddNames) {
        writeFile(h.files() / "listed" / name / name, "12345");
        writeFile(h.files() / "contents" / name, "12345");
    }
    h.start();
    if (GetParam() >= 0)
        h.app->general().matrixFileDeletionOptionsClicked(GetParam() + 1);
    h.add({h.at("listed"), h.at("contents")});
    ASSERT_TRUE(h.list().setDeleteOption(h.list().findRow(h.at("contents")), true));

    h.scan();
    // Each odd folder with its file, and the three odd files.
    const auto result = h.frontend.resultText().value_or("");
    EXPECT_NE(result.find("Total Items To Clean: 9 items"), std::string::npos) << result;

    h.clean();
    EXPECT_FALSE(fs::exists(h.files() / "listed"));
    EXPECT_TRUE(fs::is_directory(h.files() / "contents"));
    EXPECT_TRUE(fs::is_empty(h.files() / "contents"));
    EXPECT_EQ(readFile(h.files() / "a/keep"), "a");
    EXPECT_EQ(readFile(h.files() / "c/keep"), "c");
}

// -1: plain removal; 0: the first erase method.
INSTANTIATE_TEST_SUITE_P(Methods, EraserFoundNames, ::testing::Values(-1, 0));

} // namespace
} // namespace tpc::test::eraser
