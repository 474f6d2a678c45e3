#pragma once
// The presets: named selections of cleaning items gathered from the category pages, kept in the
// Presets settings dictionary ("Array Of Presets") and saved after every change.
//
// Three levels of records: a preset (a row of the presets list), its category records (deep copies
// of a category page's rows, or the built "Clean System Junk" record) in its "Sub List Array", and
// their item records. An item's parent is its category record (DictObj::parent, relinked after a
// load); a category record has none, so marking walks stop there.
//
// Main thread only: the presets list is shown by the Auto clean page, and workers reach it through
// MainThread::invoke.

#include "core/CheckList.h"
#include "core/Value.h"

#include <functional>
#include <string>
#include <vector>

namespace tpc::core {
class TaskFlags;
}

namespace tpc::presets {

class PresetStore;

// The built-in preset's name ("presetName" and "Description").
inline constexpr const char* kOneClickClean = "One Click Clean";
// The category records a preset can hold that are not a browser row.
inline constexpr const char* kCleanSystemJunk = "Clean System Junk";
inline constexpr const char* kCleanAppJunk = "Clean App Junk";
inline constexpr const char* kFileEraser = "File Eraser";

// What the presets page shows that a change asks to refresh (names as the front ends hear them
// through Frontend::ui when no listener is set).
inline constexpr const char* kReloadPresetsMainList = "reloadPresetsMainList";
inline constexpr const char* kReloadPresetsSubList = "reloadPresetsSubList";
inline constexpr const char* kReflectSubMenuCleanItems = "reflectSubMenuCleanItems";
inline constexpr const char* kReflectPopUpButtonsAddToPreset = "reflectPopUpButtonsAddToPreset";
inline constexpr const char* kReloadScheduleTable = "reloadScheduleTable";

class PresetModel {
public:
    PresetModel(PresetStore& store, core::TaskFlags& flags);

    // Told after a change what to refresh (one of the names above), in the order the change
    // needs them. A main-list reload also stands for reflecting its marks (the master check box
    // and the Clean button); a sub-list reload shows the root rows expanded. The model keeps the
    // selection (selectedRow) in step: a reload shows it. Unset: nobody is told.
    std::function<void(const std::string& what)> notify;
    // Removes one weekday's schedule entry of a preset being removed (the weekly schedule fills
    // it); called with the entry for each day the preset holds, Sunday to Saturday.
    std::function<void(const core::DictRef& dayEntry)> removeSchedule;

    // arrayPresets.
    core::ArrayRef presets() const;
    // The presets list's selected row (-1: none) and its preset; the sub list shows that
    // preset's "Sub List Array" (arrayPresetsSubList; null without a selection).
    int selectedRow() const { return selectedRow_; }
    void selectRow(int row);
    core::DictRef selectedPreset() const;
    core::ArrayRef subList() const;
    // The first preset whose "Description" is `name`; null when none.
    core::DictRef presetNamed(const std::string& name) const;

    // ensureDefaultPreset: makes sure "One Click Clean" exists and holds every browser row of
    // `browserRows` (browsers installed later are inserted at position 0) and a "Clean System
    // Junk" record built from `systemRows`; selects it and saves.
    void ensureDefaultPreset(const core::ArrayRef& browserRows, const core::ArrayRef& systemRows);
    // The built "Clean System Junk" category record over a copy of the system page's rows.
    core::DictRef buildSystemJunkRecord(const core::ArrayRef& systemRows) const;

    // buttonPresetsAddPresetClicked: appends "Preset #N" (the naming rule) and selects it.
    core::DictRef addPreset();
    // "Preset #%ld" with the current count of presets, increased while the name is taken.
    static std::string nextPresetName(const core::ArrayRef& presets);
    // buttonPresetsRemovePresetClicked: removes the selected preset (its schedule entries first)
    // and renumbers "Value For Default Sort". Nothing without a selection.
    void removeSelectedPreset();
    // buttonPresetsSubListRemoveItemClicked: removes `row` (a category record, or an item of
    // one) from the selected preset.
    void removeSubListItem(const core::DictRef& row);
    // enableOrDisableButtonPresetsRemovePreset: a row is selected and it is not the built-in
    // preset.
    bool removePresetEnabled() const;
    // enableOrDisableButtonPresetsSubListRemoveItem, for the sub list's selected row (null:
    // none). `current` is the button's state now: with the built-in preset selected the button
    // is left as it is (and the remove-preset button is disabled).
    bool removeItemEnabled(const core::DictRef& subListRow, bool current) const;

    // The entries of the four "Add to Preset" pop-ups: "Add Item to Preset", a separator (an
    // empty string), then every preset's "Description" but the built-in one's, in array order.
    std::vector<std::string> addToPresetEntries() const;
    // A pop-up entry chosen with the page's selected row (null: none selected): a position below
    // 2 does nothing; the preset named `title` (the first preset when none is) gets a deep copy
    // of the row unless it already holds a category record of the same "Description". Answers
    // whether the row was added.
    bool addRowToPreset(int position, const std::string& title, const core::DictRef& pageRow);
    // The same pop-up on the System, Recents and File Eraser pages: their rows are not categories
    // of their own but go under the preset's category record `group` ("Clean System Junk",
    // "Clean App Junk" or "File Eraser"), made when the preset has none. A row already held there
    // (same "Description") is not added again. Answers whether the row was added.
    bool addRowToPresetGroup(int position, const std::string& title, const std::string& group,
                             const core::DictRef& pageRow);

    // reflectSubMenuCleanItems: the "Clean" submenu's entries after the rebuild, given its
    // entries now (the one-click entry and the separator first). The rebuild's removal pass skips
    // every second old preset entry, so with several presets stale entries stay: that is the
    // rebuild's rule and is kept.
    std::vector<std::string> rebuildCleanMenu(std::vector<std::string> entries) const;

    // Marking.
    void setPresetMark(int row, bool on);         // a main-list check box
    void markPreset(const std::string& name);     // the first preset of that name
    void markOnlyPreset(const std::string& name); // every preset of that name, no other
    void markAllPresetsMainList(bool on);         // markAllPresetsMainList
    core::CheckState
    clickMainMaster(core::CheckState current); // presetsMainListCheckBoxButtonClicked
    core::CheckState mainListState() const;    // reflectMarkStatusInPresetsMainList
    void markAllPresetsSubList(bool on);       // two levels of the selected preset
    core::CheckState
    clickSubMaster(core::CheckState current); // presetsSubListCheckBoxButtonClicked
    core::CheckState subListState() const;    // reflectMarkStatusInPresetsSubList
    // One check-box click in the sub list (a CheckController run), then saved.
    void clickSubListRow(const core::DictRef& row, bool on);
    // enableOrDisableScanAndCleanButton: some preset is marked.
    bool canClean() const;

    // Sorting: the main list's pop-up (saved; the menu and pop-ups rebuilt), the selected
    // preset's sub list's pop-up.
    void sortMainList(core::SortChoice choice);
    void sortSubList(core::SortChoice choice);
    core::SortChoice mainListSort() const;
    core::SortChoice subListSort() const;
    // Both keep the selected preset selected (at its new row) and save nothing.
    void sortPresetsArrayByPreviousSort();
    void sortPresetsArrayByTempDefaultSort();

    // Sizes.
    static void resetSizesOfArray(const core::ArrayRef& records);
    static void setPresetSizes(const core::DictRef& preset);
    // The category records of every marked preset (the preset scan's and clean's bar maximum).
    std::size_t getCountOfPresetElements() const;

    // setParentsArrayPresets: every item record points at its category record again; category
    // records point at nothing (PresetStore::linkPresetParents).
    void setParentsArrayPresets();
    // flushPresetData of the Presets dictionary.
    bool save();

private:
    void tell(const char* what) const;
    // The preset an "Add to Preset" choice goes to: the one titled `title`, else the first; null
    // for the pop-up's title and separator, without a selected row or without presets.
    core::DictRef popUpTarget(int position, const std::string& title,
                              const core::DictRef& pageRow) const;

    PresetStore& store_;
    core::TaskFlags& flags_;
    int selectedRow_ = -1;
};

// One check-box click in an outline list: marking walks up the parents and down the children;
// unmarking clears the children and walks up, clearing each parent left with no marked child.
class CheckController {
public:
    CheckController(core::DictRef dict, bool flag) : dict_(std::move(dict)), flag_(flag) {}
    void run() { setSelected(); }
    void setSelected();
    static void markAllChildrenDictArray(const core::ArrayRef& children, bool value);
    // The children of `record` whose "Mark" is not 0.
    static std::size_t itemsChildrenSelected(const core::DictRef& record);

private:
    core::DictRef dict_;
    bool flag_;
};

} // namespace tpc::presets
