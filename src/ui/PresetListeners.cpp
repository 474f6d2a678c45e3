#include "ui/PresetListeners.h"

#include "presets/PresetModel.h"
#include "ui/AddToPresetButton.h"
#include "ui/AutoCleanPage.h"
#include "ui/SchedulePanel.h"
#include "ui/StatusItem.h"

namespace tpc::ui {

PresetListeners::PresetListeners(presets::PresetModel& model) : model_(model) {
    model_.notify = [this](const std::string& what) {
        hear(what);
    };
}

PresetListeners::~PresetListeners() {
    model_.notify = nullptr;
}

void PresetListeners::setPage(AutoCleanPage* page) {
    page_ = page;
}

void PresetListeners::setSchedulePanel(SchedulePanel* panel) {
    schedulePanel_ = panel;
}

void PresetListeners::setStatusItem(StatusItem* item) {
    statusItem_ = item;
    reflectSubMenuCleanItems();
}

void PresetListeners::addPopUp(AddToPresetButton* popUp) {
    if (!popUp)
        return;
    popUps_.emplace_back(popUp);
    popUp->usePresets(model_);
}

void PresetListeners::hear(const std::string& what) {
    if (what == presets::kReloadPresetsMainList) {
        if (page_)
            page_->reloadMainList();
        // Sorting the presets reorders the schedule's table too.
        if (schedulePanel_)
            schedulePanel_->reloadScheduleTable();
    } else if (what == presets::kReloadScheduleTable) {
        if (schedulePanel_)
            schedulePanel_->reloadScheduleTable();
    } else if (what == presets::kReloadPresetsSubList) {
        if (page_)
            page_->reloadSubList();
    } else if (what == presets::kReflectSubMenuCleanItems) {
        reflectSubMenuCleanItems();
    } else if (what == presets::kReflectPopUpButtonsAddToPreset) {
        for (const auto& popUp : popUps_)
            if (popUp)
                popUp->refill();
    }
}

void PresetListeners::reflectSubMenuCleanItems() {
    if (statusItem_)
        statusItem_->setCleanMenuTitles(model_.rebuildCleanMenu(statusItem_->cleanMenuTitles()));
}

} // namespace tpc::ui
