#include "ui/ScheduleSwitches.h"

#include "schedule/ScheduleSettings.h"
#include "ui/PreferencesPage.h"
#include "ui/SchedulePanel.h"

#include <QPointer>

namespace tpc::ui {

void linkScheduleSwitches(schedule::ScheduleSettings& settings, SchedulePanel& panel,
                          PreferencesPage& preferences) {
    preferences.onScheduleToggled = [&settings, shown = QPointer<SchedulePanel>(&panel)](bool on) {
        settings.checkBoxEnableScheduleClicked(on);
        if (shown)
            shown->showScheduleEnabled();
    };
    panel.onScheduleSwitched = [&settings, shown = QPointer<PreferencesPage>(&preferences)](bool) {
        if (shown)
            shown->setScheduleChecked(settings.scheduleEnabled());
    };
}

} // namespace tpc::ui
