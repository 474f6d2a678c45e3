#include "ui/AddToPresetButton.h"

#include "presets/PresetModel.h"

#include <utility>

namespace tpc::ui {

AddToPresetButton::AddToPresetButton(std::string group, std::function<core::DictRef()> selectedRow,
                                     QWidget* parent)
    : QComboBox(parent), group_(std::move(group)), selectedRow_(std::move(selectedRow)) {
    setToolTip(QStringLiteral("Copy the selected row into a preset"));
    setSizeAdjustPolicy(QComboBox::AdjustToContents);
    hide();
    connect(this, &QComboBox::activated, this, [this](int position) { choose(position); });
}

void AddToPresetButton::usePresets(presets::PresetModel& presets) {
    presets_ = &presets;
    refill();
    show();
}

void AddToPresetButton::refill() {
    clear();
    if (!presets_)
        return;
    for (const std::string& entry : presets_->addToPresetEntries()) {
        if (entry.empty())
            insertSeparator(count());
        else
            addItem(QString::fromStdString(entry));
    }
    setCurrentIndex(0);
}

void AddToPresetButton::choose(int position) {
    const std::string title = itemText(position).toStdString();
    // The pop-up is a menu of actions: it always shows its title.
    setCurrentIndex(0);
    if (!presets_ || !selectedRow_)
        return;
    const core::DictRef row = selectedRow_();
    if (group_.empty())
        presets_->addRowToPreset(position, title, row);
    else
        presets_->addRowToPresetGroup(position, title, group_, row);
}

} // namespace tpc::ui
