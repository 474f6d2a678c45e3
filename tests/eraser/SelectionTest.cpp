// A preset's "File Eraser" record measured and shredded by the eraser category inside the
// preset's own task.

#include "EraserHarness.h"

#include "core/SizeText.h"
#include "core/TaskFlags.h"
#include "support/SelectionTask.h"

namespace tpc::test::eraser {
namespace {

using core::Category;
using core::DictObj;
using core::DictRef;
using core::TaskKind;
using core::Value;
namespace ck = core::keys;

class SelectionHarness : public EngineHarness<CheckpointFrontend> {
public:
    SelectionHarness() : EngineHarness(Category::Shredder, Main::Immediate) {
        fs::create_directories(files());
        start(platform::Layout::Linux);
    }
    ~SelectionHarness() override { stop(); }

    fs::path files() const { return dir.path() / "files"; }
    std::string at(const std::string& rel) const { return (files() / rel).string(); }
    tpc::eraser::EraserDriver& driver() {
        return app->module<tpc::eraser::EraserModule>()->driver();
    }

    // A child as the eraser list makes its rows.
    static DictRef item(const std::string& path, bool marked, bool contentsOnly = false) {
        auto rec = DictObj::make(
            {{ck::DescriptionDictionary,
              Value(DictObj::make(
                  {{ck::Description, fs::path(path).filename().string()}, {ck::Path, path}}))},
             {ck::Mark, marked ? 1 : 0},
             {tpc::eraser::keys::DeleteOption, contentsOnly}});
        core::setSize(rec, 0);
        return rec;
    }
    static DictRef record(const std::vector<DictRef>& children,
                          const std::string& description = "File Eraser") {
        auto list = core::ArrayObj::make();
        for (const auto& c : children)
            list->append(c);
        return DictObj::make(
            {{ck::DescriptionDictionary, Value(DictObj::make({{ck::Description, description}}))},
             {ck::SubListArray, Value(list)}});
    }

protected:
    void configure(platform::PlatformOptions& o) override { o.root = dir.path(); }
};

class EraserSelection : public ::testing::Test {
protected:
    void SetUp() override {
        writeFile(h.files() / "folder/a", std::string(100, 'a'));
        writeFile(h.files() / "folder/b", std::string(50, 'b'));
        writeFile(h.files() / "single", std::string(30, 'c'));
    }
    SelectionHarness h;
};

TEST_F(EraserSelection, DrivesOnlyTheFileEraserRecord) {
    EXPECT_TRUE(h.driver().drives("File Eraser"));
    EXPECT_FALSE(h.driver().drives("folder"));
    EXPECT_FALSE(h.driver().drives("Clean App Junk"));
}

TEST_F(EraserSelection, CountMeasuresEveryChildAsTheScanMeasuresARow) {
    auto folder = h.item(h.at("folder"), true);
    auto single = h.item(h.at("single"), false);
    auto rec = h.record({folder, single});
    const auto totals = countInPresetTask(h, h.driver(), rec);

    ASSERT_TRUE(totals.has_value());
    EXPECT_EQ(totals->count, 3u);
    EXPECT_EQ(totals->bytes, 180u);
    EXPECT_EQ(core::size(folder), 150u);
    EXPECT_EQ(core::size(single), 30u);
    EXPECT_EQ(core::size(rec), 180u);
    EXPECT_EQ(rec->getString(ck::SizeFormattedString), "0.18 KB");
    EXPECT_EQ(h.statuses(), std::vector<std::string>{"Preparing..."});
    EXPECT_EQ(h.frontend.subtitle(core::MainButton::FileEraser), std::nullopt);
    EXPECT_FALSE(h.flags().running(Category::Shredder, TaskKind::Scan));
}

TEST_F(EraserSelection, OnlyAbsolutePathsAreLookedAt) {
    // "." would be the folder the program was started from.
    auto dot = h.item(".", true, true);
    auto empty = h.item("", true);
    const auto totals = countInPresetTask(h, h.driver(), h.record({dot, empty}));
    ASSERT_TRUE(totals.has_value());
    EXPECT_EQ(totals->count, 0u);
    EXPECT_EQ(totals->bytes, 0u);
}

TEST_F(EraserSelection, CleanShredsTheMarkedChildrenKeepingAFolderWhenAsked) {
    auto rec = h.record({h.item(h.at("folder"), true, true), h.item(h.at("single"), false)});
    EXPECT_TRUE(cleanInPresetTask(h, h.driver(), rec));
    EXPECT_TRUE(fs::is_directory(h.files() / "folder"));
    EXPECT_TRUE(fs::is_empty(h.files() / "folder"));
    EXPECT_TRUE(fs::exists(h.files() / "single"));

    rec = h.record({h.item(h.at("folder"), true), h.item(h.at("single"), true)});
    EXPECT_TRUE(cleanInPresetTask(h, h.driver(), rec));
    EXPECT_FALSE(fs::exists(h.files() / "folder"));
    EXPECT_FALSE(fs::exists(h.files() / "single"));
    EXPECT_FALSE(h.flags().running(Category::Shredder, TaskKind::Clean));
}

TEST_F(EraserSelection, AnAbortBetweenChildrenStopsTheCountAndTheClean) {
    auto folder = h.item(h.at("folder"), true);
    auto single = h.item(h.at("single"), true);
    auto rec = h.record({folder, single});
    // Check points: the task's own, then one before each child.
    h.frontend.abortAtCheckpoint = 3;
    EXPECT_FALSE(countInPresetTask(h, h.driver(), rec).has_value());
    EXPECT_EQ(core::size(folder), 150u);
    EXPECT_EQ(core::size(single), 0u);
    EXPECT_EQ(core::size(rec), 0u);

    h.frontend.checkpoints = 0;
    EXPECT_FALSE(cleanInPresetTask(h, h.driver(), rec));
    EXPECT_FALSE(fs::exists(h.files() / "folder"));
    EXPECT_TRUE(fs::exists(h.files() / "single"));
    EXPECT_FALSE(h.flags().running(Category::Presets, TaskKind::Clean));
    EXPECT_FALSE(h.flags().abortCleaning());
}

TEST_F(EraserSelection, ARecordOfAnotherCategoryIsLeftAlone) {
    auto single = h.item(h.at("single"), true);
    auto rec = h.record({single}, "Clean System Junk");
    const auto totals = countInPresetTask(h, h.driver(), rec);
    ASSERT_TRUE(totals.has_value());
    EXPECT_EQ(totals->bytes, 0u);
    EXPECT_EQ(core::size(single), 0u);
    EXPECT_TRUE(cleanInPresetTask(h, h.driver(), rec));
    EXPECT_TRUE(fs::exists(h.files() / "single"));
}

} // namespace
} // namespace tpc::test::eraser
