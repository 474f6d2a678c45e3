// The "Clean" submenu's rebuild, sorting the presets, and the size roll-up.

#include "PresetFixture.h"

namespace tpc::test::presets {
namespace {

using core::SortChoice;
using tpc::presets::kOneClickClean;

class SortAndMenuTest : public PresetFixture {
protected:
    void SetUp() override {
        PresetFixture::SetUp();
        model.ensureDefaultPreset(browserRows(), systemRows());
        model.addPreset();
        model.addPreset();
    }
    static Names menu(Names old) {
        old.insert(old.begin(), {"One Click Clean", "-"});
        return old;
    }
};

TEST_F(SortAndMenuTest, CleanMenuRebuildSkipsEverySecondOldEntry) {
    EXPECT_EQ(model.rebuildCleanMenu(menu({})), menu({"Preset #1", "Preset #2"}));
    EXPECT_EQ(model.rebuildCleanMenu(menu({"a"})), menu({"Preset #1", "Preset #2"}));
    EXPECT_EQ(model.rebuildCleanMenu(menu({"a", "b"})), menu({"b", "Preset #1", "Preset #2"}));
    EXPECT_EQ(model.rebuildCleanMenu(menu({"a", "b", "c"})), menu({"b", "Preset #1", "Preset #2"}));
    EXPECT_EQ(model.rebuildCleanMenu(menu({"a", "b", "c", "d", "e"})),
              menu({"b", "d", "Preset #1", "Preset #2"}));
}

TEST_F(SortAndMenuTest, SortingTheMainList) {
    core::setSize(at(0), 20);
    core::setSize(at(1), 30);
    core::setSize(at(2), 10);
    model.sortMainList(SortChoice::Size);
    EXPECT_EQ(names(model.presets()), (Names{"Preset #1", kOneClickClean, "Preset #2"}));
    model.sortMainList(SortChoice::Size);
    EXPECT_EQ(names(reloaded()), (Names{"Preset #2", kOneClickClean, "Preset #1"}));
    const DictRef added = model.addPreset(); // joins the sort in force, smallest first
    EXPECT_EQ(at(0), added);
    EXPECT_EQ(model.selectedRow(), 0);

    model.sortMainList(SortChoice::Name);
    model.sortMainList(SortChoice::Name);
    model.selectRow(0);
    model.sortPresetsArrayByTempDefaultSort();
    EXPECT_EQ(names(model.presets()),
              (Names{kOneClickClean, "Preset #1", "Preset #2", "Preset #3"}));
    EXPECT_EQ(model.selectedRow(), 3); // the selection follows its preset
    EXPECT_EQ(model.mainListSort(), SortChoice::Name);
    model.sortPresetsArrayByPreviousSort();
    EXPECT_EQ(at(0), added);
}

TEST_F(SortAndMenuTest, SizesRollUpAndElementCountsFollowMarks) {
    const DictRef safari = core::subList(at(0))->at(0).dict();
    child(safari, "Cookies")->set(ck::Size, 1500000);
    child(safari, "Internet Cache")->set(ck::Size, 500000);
    core::setSize(core::subList(at(0))->at(1).dict(), 99); // Firefox's items are 0
    PresetModel::setPresetSizes(at(0));
    EXPECT_EQ(safari->getString(ck::SizeFormattedString), "2.00 MB");
    EXPECT_EQ(core::size(at(0)), 2000000u);
    PresetModel::resetSizesOfArray(core::subList(at(0)));
    EXPECT_EQ(core::size(child(safari, "Cookies")), 0u);

    model.addRowToPreset(2, "Preset #1", row("File Eraser", 1, {row("a", 1)}));
    EXPECT_EQ(model.getCountOfPresetElements(), 4u);
    model.setPresetMark(0, false);
    EXPECT_EQ(model.getCountOfPresetElements(), 1u);
}

} // namespace
} // namespace tpc::test::presets
