// The file eraser scan and the silent sizes update after adding: what they measure, what they
// show, what they keep.

#include "EraserHarness.h"

#include "core/SizeText.h"
#include "core/TaskFlags.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tpc::test::eraser {
namespace {

using core::Category;
using core::MainButton;
using core::TaskKind;
namespace ck = core::keys;
using Strings = std::vector<std::string>;

std::uint64_t lstatSize(const fs::path& p) {
    struct stat st {};
    EXPECT_EQ(::lstat(p.c_str(), &st), 0) << p;
    return static_cast<std::uint64_t>(st.st_size);
}

class Scan : public ::testing::TestWithParam<Main> {
protected:
    EraserHarness h{GetParam()};

    // d holds x (3 bytes) and sub/y (5 bytes); "other" is 1 byte.
    void makeFiles() {
        writeFile(h.files() / "d/x", "abc");
        writeFile(h.files() / "d/sub/y", "12345");
        writeFile(h.files() / "other", "z");
    }
    std::uint64_t folderBytes() { return 3 + 5 + lstatSize(h.files() / "d/sub"); }
    bool idle() {
        return !h.flags().running(Category::Shredder, TaskKind::Scan) &&
               !h.flags().aborting(Category::Shredder, TaskKind::Scan) && h.app->tasks().idle();
    }
};

TEST_P(Scan, AnEmptyListScansToNothing) {
    h.start();
    h.scan();
    EXPECT_EQ(h.statuses(), (Strings{"Preparing...", "Scanning Folders/Files...", "Done...", " "}));
    EXPECT_EQ(h.frontend.resultText(),
              "Total Size To Clean: 0.00 KB\nTotal Items To Clean: 0 items");
    EXPECT_EQ(h.frontend.subtitle(MainButton::FileEraser), std::nullopt);
    EXPECT_FALSE(h.frontend.progressWindowShown());
    EXPECT_FALSE(h.frontend.progressState().visible);
    EXPECT_TRUE(idle());
}

TEST_P(Scan, MeasuresEveryRowMarkedOrNotAndKeepsTheSizes) {
    makeFiles();
    writeFile(h.files() / "gone", "1234");
    h.start();
    h.add({h.at("d"), h.at("other"), h.at("gone")});
    fs::remove(h.files() / "gone");
    h.list().setRowMark(h.list().findRow(h.at("other")), false);
    h.frontend.clear();

    h.scan();
    const std::uint64_t total = folderBytes() + 1;
    EXPECT_EQ(core::size(h.row(h.at("d"))), folderBytes());
    EXPECT_EQ(core::size(h.row(h.at("other"))), 1u);
    EXPECT_EQ(core::size(h.row(h.at("gone"))), 0u);
    EXPECT_EQ(h.row(h.at("d"))->getString(ck::SizeFormattedString),
              core::getFormattedStringForSize(folderBytes()));
    EXPECT_EQ(h.frontend.resultText(),
              "Total Size To Clean: " + core::getFormattedStringForSize(total) +
                  "\nTotal Items To Clean: 4 items");
    EXPECT_EQ(h.frontend.subtitle(MainButton::FileEraser),
              "(" + core::getFormattedStringForSize(total) + ")");
    // The bar ends determinate at its maximum before it is hidden.
    bool full = false;
    for (const auto& e : h.frontend.eventsOf(Type::Progress))
        full = full || (e.progress.maxValue == 100u && e.progress.doubleValue == 100u &&
                        e.progress.indicatorType == 1);
    EXPECT_TRUE(full);
    EXPECT_TRUE(idle());

    h.restart();
    EXPECT_EQ(core::size(h.row(h.at("d"))), folderBytes());
    EXPECT_EQ(h.row(h.at("other"))->getString(ck::SizeFormattedString), "0.00 KB");
    EXPECT_EQ(core::mark(h.row(h.at("other"))), 0);
}

TEST_P(Scan, AddingSizesTheRowsWithoutTheProgressSheet) {
    makeFiles();
    h.start();
    h.frontend.clear();
    h.add({h.at("d"), h.at("other")});
    EXPECT_EQ(core::size(h.row(h.at("d"))), folderBytes());
    EXPECT_EQ(core::size(h.row(h.at("other"))), 1u);
    EXPECT_TRUE(h.frontend.eventsOf(Type::Progress).empty());
    EXPECT_TRUE(h.frontend.eventsOf(Type::Window).empty());
    EXPECT_TRUE(h.frontend.eventsOf(Type::Subtitle).empty());
    EXPECT_EQ(h.frontend.resultText(), std::nullopt);
    EXPECT_TRUE(idle());

    h.restart();
    EXPECT_EQ(core::size(h.row(h.at("d"))), folderBytes());
}

TEST_P(Scan, AScanStartedRightAfterAddingTakesOverFromTheSizesUpdate) {
    makeFiles();
    h.start();
    h.driver().addPaths({h.at("d")});
    h.driver().buttonScanClicked(core::Sender::Button);
    h.settle();
    EXPECT_EQ(core::size(h.row(h.at("d"))), folderBytes());
    EXPECT_EQ(h.frontend.resultText(),
              "Total Size To Clean: " + core::getFormattedStringForSize(folderBytes()) +
                  "\nTotal Items To Clean: 3 items");
    EXPECT_TRUE(idle());
    EXPECT_TRUE(h.flags().allScansAndCleansAborted());
}

TEST_P(Scan, AnAbortedScanStoresNothingAndWindsDown) {
    makeFiles();
    h.start();
    // Listed without the sizes update.
    h.list().addPaths({h.at("d")});
    h.frontend.abortOnStatus = "Scanning Folders/Files...";
    h.scan();
    EXPECT_EQ(core::size(h.row(h.at("d"))), 0u);
    const auto statuses = h.statuses();
    EXPECT_NE(std::find(statuses.begin(), statuses.end(), "Aborted..."), statuses.end());
    EXPECT_EQ(h.frontend.resultText(), std::nullopt);
    EXPECT_FALSE(h.frontend.progressWindowShown());
    EXPECT_TRUE(idle());
    EXPECT_TRUE(h.flags().allScansAndCleansAborted());
}

INSTANTIATE_TEST_SUITE_P(Eraser, Scan, ::testing::Values(Main::Queue, Main::Immediate), mainName);

} // namespace
} // namespace tpc::test::eraser
