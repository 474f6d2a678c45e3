// Marking: one check box of the sub list (CheckController) and the master check boxes.

#include "PresetFixture.h"

namespace tpc::test::presets {
namespace {

using core::CheckState;
using tpc::presets::CheckController;

class MarkingTest : public PresetFixture {
protected:
    void SetUp() override {
        PresetFixture::SetUp();
        model.ensureDefaultPreset(browserRows(), systemRows());
        preset = model.addPreset();
        model.addRowToPreset(2, "Preset #1", browserRows()->at(0).dict()); // Safari, unmarked
        safari = model.subList()->at(0).dict();
    }
    DictRef preset, safari;
};

TEST_F(MarkingTest, AChildClickWalksUpToItsCategoryOnly) {
    core::setMark(preset, false);
    model.clickSubListRow(child(safari, "Cookies"), true);
    EXPECT_EQ(core::mark(safari), 1);
    EXPECT_EQ(core::mark(child(safari, "Internet Cache")), 0);
    EXPECT_EQ(core::mark(preset), 0);
    EXPECT_EQ(model.subListState(), CheckState::Mixed);

    model.clickSubListRow(safari, true);
    model.clickSubListRow(child(safari, "Cookies"), false);
    EXPECT_EQ(core::mark(safari), 1); // one of two still marked
    model.clickSubListRow(child(safari, "Internet Cache"), false);
    EXPECT_EQ(core::mark(safari), 0);

    // The same after a load: the walk stops at the category record.
    const DictRef loaded = reloaded()->at(1).dict();
    const DictRef loadedSafari = core::subList(loaded)->at(0).dict();
    CheckController(child(loadedSafari, "Cookies"), true).run();
    EXPECT_EQ(core::mark(loadedSafari), 1);
    EXPECT_EQ(core::mark(loaded), 0);
}

TEST_F(MarkingTest, DeeperChainsAreWalkedOnceEachWay) {
    auto leaf = row("leaf", 0);
    auto middle = row("middle", 0, {leaf, row("other", 0)});
    auto top = row("top", 0, {middle});
    core::linkParents(rowsOf({top}));
    CheckController(leaf, true).run();
    EXPECT_EQ(core::mark(top), 1);
    CheckController(leaf, false).run();
    EXPECT_EQ(core::mark(top), 0);
    CheckController(top, true).run();
    EXPECT_EQ(core::mark(child(middle, "other")), 1);
    top->parent = leaf; // a badly linked loop ends the walk instead of spinning
    CheckController(leaf, false).run();
    EXPECT_EQ(core::mark(middle), 1);
}

TEST_F(MarkingTest, MasterCheckBoxes) {
    auto deep = row("deep", 0);
    child(safari, "Cookies")->set(ck::SubListArray, Value(rowsOf({deep})));
    EXPECT_EQ(model.clickSubMaster(CheckState::Mixed), CheckState::On);
    EXPECT_EQ(core::mark(child(safari, "Internet Cache")), 1);
    EXPECT_EQ(core::mark(deep), 0); // two levels only
    EXPECT_EQ(model.subListState(), CheckState::On);

    model.setPresetMark(0, false);
    EXPECT_EQ(model.mainListState(), CheckState::Mixed);
    EXPECT_EQ(model.clickMainMaster(CheckState::Mixed), CheckState::On);
    EXPECT_EQ(model.clickMainMaster(CheckState::On), CheckState::Off);
    EXPECT_FALSE(model.canClean());
    EXPECT_EQ(core::countMarked(reloaded()), 0u);
    model.markAllPresetsMainList(true);
    model.markOnlyPreset("Preset #1");
    EXPECT_EQ(core::countMarked(model.presets()), 1u);
    EXPECT_TRUE(model.canClean());
}

} // namespace
} // namespace tpc::test::presets
