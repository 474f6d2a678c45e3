#pragma once
// The "Add Item to Preset" pop-up of a category page: its title, a separator, then every preset
// but the built-in one. Choosing a preset copies the page's selected row into it, and the pop-up
// shows its title again. The page makes the pop-up; the desktop application gives it the presets
// (usePresets) and refills it whenever they change. Without presets it stays hidden.

#include "core/Value.h"

#include <QComboBox>

#include <functional>
#include <string>

namespace tpc::presets {
class PresetModel;
}

namespace tpc::ui {

class AddToPresetButton : public QComboBox {
    Q_OBJECT
public:
    // `group` is the preset's category record the row goes under ("Clean System Junk", ...);
    // empty when the row is a category record of its own (a browser). `selectedRow` answers the
    // page's selected row, null when none is.
    AddToPresetButton(std::string group, std::function<core::DictRef()> selectedRow,
                      QWidget* parent = nullptr);

    void usePresets(presets::PresetModel& presets);
    // reflectPopUpButtonsAddToPreset: the entries again from the presets, the title shown.
    void refill();
    // The entry at `position` was chosen (the pop-up's own handler).
    void choose(int position);

private:
    std::string group_;
    std::function<core::DictRef()> selectedRow_;
    presets::PresetModel* presets_ = nullptr;
};

} // namespace tpc::ui
