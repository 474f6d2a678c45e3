// The presets list: naming, the built-in preset, adding and removing presets and items.

#include "PresetFixture.h"

namespace tpc::test::presets {
namespace {

using tpc::presets::kOneClickClean;
using PresetModelTest = PresetFixture;

TEST(PresetNaming, StartsAtTheCountAndSkipsTakenNames) {
    auto named = [](Names list) {
        auto out = ArrayObj::make();
        for (auto& n : list)
            out->append(Value(DictObj::make({{ck::PresetName, n}})));
        return PresetModel::nextPresetName(out);
    };
    EXPECT_EQ(named({kOneClickClean}), "Preset #1");
    // Also what is left after "Preset #1" went from the built-in one, "Preset #1", "Preset #2".
    EXPECT_EQ(named({kOneClickClean, "Preset #2"}), "Preset #3");
    EXPECT_EQ(named({"Preset #3", "Preset #2", "Preset #4"}), "Preset #5");
}

TEST_F(PresetModelTest, BuiltInPresetIsMadeFromCopiesOfBothPages) {
    const auto browsers = browserRows();
    model.ensureDefaultPreset(browsers, systemRows());
    const DictRef occ = model.presetNamed(kOneClickClean);
    ASSERT_TRUE(occ);
    EXPECT_EQ(core::descriptionDictionary(occ)->getString(ck::Icon),
              "One Click Clean Sub Item.png");
    EXPECT_EQ(model.selectedPreset(), occ);
    EXPECT_EQ(names(core::subList(occ)), (Names{"Safari", "Firefox", "Clean System Junk"}));
    EXPECT_EQ(told,
              (Names{"reloadPresetsMainList", "reloadPresetsSubList", "reloadScheduleTable"}));

    const DictRef safari = core::subList(occ)->at(0).dict();
    EXPECT_EQ(core::mark(safari), 1);
    for (const auto& item : core::subList(safari)->dicts()) {
        EXPECT_EQ(core::mark(item), 1);
        EXPECT_EQ(item->getString(ck::SizeFormattedString), "0.00 KB");
        EXPECT_EQ(core::parent(item), safari);
    }
    EXPECT_EQ(core::mark(child(browsers->at(0).dict(), "Cookies")), 0); // the page's own row

    const DictRef junk = core::subList(occ)->at(2).dict();
    EXPECT_EQ(core::descriptionDictionary(junk)->getString(ck::Icon),
              "Clean System Junk Sub Item.png");
    EXPECT_TRUE(junk->getBool(ck::IsRootItem));
    EXPECT_EQ(core::mark(child(junk, "Trash")), 0); // the locations keep their marks
    EXPECT_EQ(core::parent(child(junk, "Trash")), junk);

    // Saved without "Parent" keys; the load links items to their category record, and nothing
    // holds the category records.
    const auto back = reloaded();
    EXPECT_EQ(back->at(0), Value(occ));
    const DictRef backSafari = core::subList(back->at(0).dict())->at(0).dict();
    EXPECT_EQ(core::parent(child(backSafari, "Cookies")), backSafari);
    EXPECT_FALSE(core::parent(backSafari));
}

TEST_F(PresetModelTest, ExistingBuiltInPresetGetsNewBrowsersOnTopAndItsJunkBack) {
    model.ensureDefaultPreset(rowsOf({row("Safari", 0, {row("Cookies", 0)})}), systemRows());
    const DictRef occ = at(0);
    core::subList(occ)->items.pop_back(); // the junk record
    model.ensureDefaultPreset(
        rowsOf({row("Opera", 0, {row("Stash", 0)}), row("Safari", 0, {row("History", 0)}),
                row("Google Chrome", 0, {row("Top Sites", 0)})}),
        systemRows());
    EXPECT_EQ(names(core::subList(occ)),
              (Names{"Google Chrome", "Opera", "Safari", "Clean System Junk"}));
    EXPECT_EQ(names(core::subList(core::subList(occ)->at(2).dict())), Names{"Cookies"});
    EXPECT_EQ(names(core::subList(reloaded()->at(0).dict())), names(core::subList(occ)));
}

TEST_F(PresetModelTest, AddingAndRemovingPresets) {
    model.ensureDefaultPreset(browserRows(), systemRows());
    told.clear();
    const DictRef p1 = model.addPreset();
    EXPECT_EQ(core::description(p1), "Preset #1");
    EXPECT_EQ(model.selectedPreset(), p1);
    EXPECT_TRUE(flags.changesMade());
    EXPECT_EQ(told, (Names{"reloadPresetsMainList", "reloadScheduleTable",
                           "reflectSubMenuCleanItems", "reflectPopUpButtonsAddToPreset"}));
    const DictRef p2 = model.addPreset();
    model.addPreset();
    EXPECT_EQ(model.addToPresetEntries(),
              (Names{"Add Item to Preset", "", "Preset #1", "Preset #2", "Preset #3"}));

    auto monday = DictObj::make({{"Hour", 10}}), friday = DictObj::make({{"Hour", 14}});
    p2->set("Friday", Value(friday));
    p2->set("Monday", Value(monday));
    std::vector<DictRef> unscheduled;
    model.removeSchedule = [&](const DictRef& entry) {
        EXPECT_EQ(model.presets()->size(), 4u); // the preset is still there
        unscheduled.push_back(entry);
    };
    model.selectRow(2);
    model.removeSelectedPreset();
    EXPECT_EQ(unscheduled, (std::vector<DictRef>{monday, friday}));
    EXPECT_EQ(names(reloaded()), (Names{kOneClickClean, "Preset #1", "Preset #3"}));
    EXPECT_EQ(at(2)->getInt(ck::ValueForDefaultSort), 2);
    EXPECT_EQ(model.selectedRow(), -1);
    EXPECT_EQ(model.addPreset()->getString(ck::PresetName), "Preset #4");
}

TEST_F(PresetModelTest, AddingAPageRowCopiesItOnceIntoTheChosenPreset) {
    model.ensureDefaultPreset(browserRows(), systemRows());
    model.addPreset();
    const DictRef p2 = model.addPreset();
    const DictRef firefox = browserRows()->at(1).dict();
    child(firefox, "Cookies")->set(ck::Mark, 1);
    EXPECT_FALSE(model.addRowToPreset(1, "Preset #2", firefox));
    EXPECT_FALSE(model.addRowToPreset(3, "Preset #2", nullptr));
    ASSERT_TRUE(model.addRowToPreset(3, "Preset #2", firefox));
    EXPECT_FALSE(model.addRowToPreset(3, "Preset #2", firefox)); // already held

    const DictRef copy = core::subList(p2)->at(0).dict();
    EXPECT_EQ(core::mark(copy), 0);
    EXPECT_EQ(core::parent(child(copy, "Cookies")), copy);
    core::setMark(child(firefox, "Cookies"), false);
    EXPECT_EQ(core::mark(child(copy, "Cookies")), 1); // independent of the page's row

    // An unknown title means the first preset, here the built-in one.
    EXPECT_TRUE(model.addRowToPreset(2, "Gone", row("File Eraser", 1, {row("a", 1)})));
    EXPECT_EQ(names(core::subList(at(0))).back(), "File Eraser");
    EXPECT_EQ(core::subList(reloaded()->at(2).dict())->size(), 1u);
}

TEST_F(PresetModelTest, RemovingItemsAndTheButtonsThatDoIt) {
    model.ensureDefaultPreset(browserRows(), systemRows());
    EXPECT_FALSE(model.removePresetEnabled());
    EXPECT_TRUE(model.removeItemEnabled(nullptr, true)); // built-in preset: as it was
    const DictRef preset = model.addPreset();
    model.addRowToPreset(2, "Preset #1", browserRows()->at(0).dict());
    model.addRowToPreset(2, "Preset #1", browserRows()->at(1).dict());
    const DictRef safari = model.subList()->at(0).dict();
    EXPECT_TRUE(model.removePresetEnabled());
    EXPECT_TRUE(model.removeItemEnabled(safari, false));
    EXPECT_FALSE(model.removeItemEnabled(child(safari, "Cookies"), true));

    child(safari, "Internet Cache")->set(ck::Size, 400);
    model.removeSubListItem(child(safari, "Cookies"));
    EXPECT_EQ(core::size(preset), 400u);
    model.removeSubListItem(child(safari, "Internet Cache")); // the last: Safari goes too
    EXPECT_EQ(names(model.subList()), Names{"Firefox"});
    model.removeSubListItem(model.subList()->at(0).dict());
    EXPECT_TRUE(core::subList(reloaded()->at(1).dict())->empty());
    preset->set(ck::Size, 5);
    model.removeSubListItem(nullptr); // an empty preset only has its size cleared
    EXPECT_EQ(core::size(preset), 0u);
}

} // namespace
} // namespace tpc::test::presets
