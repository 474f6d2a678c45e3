#pragma once
// Who follows the presets in the desktop application. The presets model tells what a change asks
// to refresh (PresetModel::notify); this passes it on to the Auto clean page's lists, the schedule
// panel's presets, the status menu's "Clean" submenu and the category pages' "Add to Preset"
// pop-ups. Listeners are held weakly: one deleted is left out. The model hears nothing once this
// is gone.

#include <QPointer>

#include <string>
#include <vector>

namespace tpc::presets {
class PresetModel;
}

namespace tpc::ui {

class AddToPresetButton;
class AutoCleanPage;
class SchedulePanel;
class StatusItem;

class PresetListeners {
public:
    explicit PresetListeners(presets::PresetModel& model);
    ~PresetListeners();
    PresetListeners(const PresetListeners&) = delete;
    PresetListeners& operator=(const PresetListeners&) = delete;

    void setPage(AutoCleanPage* page);
    // The schedule's preset table follows the presets added, removed, renamed or reordered.
    void setSchedulePanel(SchedulePanel* panel);
    // The status menu's "Clean" submenu is rebuilt at once, then after every change.
    void setStatusItem(StatusItem* item);
    // The pop-up gets the presets (a null pop-up is ignored).
    void addPopUp(AddToPresetButton* popUp);

    // One change notice of the model.
    void hear(const std::string& what);

private:
    void reflectSubMenuCleanItems();

    presets::PresetModel& model_;
    QPointer<AutoCleanPage> page_;
    QPointer<SchedulePanel> schedulePanel_;
    QPointer<StatusItem> statusItem_;
    std::vector<QPointer<AddToPresetButton>> popUps_;
};

} // namespace tpc::ui
