#pragma once
// The weekly schedule has two master switches, the Schedule panel's and the Preferences page's
// box. Both act through the same setting ("enableSchedule", which also starts or stops the
// checking at once), and each shows what the other did.

namespace tpc::schedule {
class ScheduleSettings;
}

namespace tpc::ui {

class PreferencesPage;
class SchedulePanel;

// Sets the two switches' handlers. Either widget may go first; the other then acts alone.
void linkScheduleSwitches(schedule::ScheduleSettings& settings, SchedulePanel& panel,
                          PreferencesPage& preferences);

} // namespace tpc::ui
