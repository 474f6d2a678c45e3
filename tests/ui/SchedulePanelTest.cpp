// The schedule panel over a real engine on a fake home, started as on a first run (the built-in
// preset cleaned at 10:00 on Mondays, 12:00 on Wednesdays and 14:00 on Fridays): days ticked,
// moved and unticked are saved in the preset and handed to the running schedule, "Set to Now"
// reads the clock, the table follows the presets, the two master switches agree, and the
// "Last Schedule Run:" line follows a scheduled clean.

#include "ui/SchedulePanel.h"
#include "core/Record.h"
#include "presets/PresetModel.h"
#include "presets/PresetsModule.h"
#include "schedule/ScheduleEntry.h"
#include "schedule/ScheduleModule.h"
#include "schedule/ScheduleTime.h"
#include "ui/AutoCleanPage.h"
#include "ui/PreferencesPage.h"
#include "ui/PresetListeners.h"
#include "ui/ScheduleDayRow.h"
#include "ui/ScheduleSwitches.h"
#include "ui/support/PageEngine.h"

#include <QCheckBox>
#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QTimeEdit>

#include <chrono>

namespace core = tpc::core;
namespace schedule = tpc::schedule;
using tpc::ui::SchedulePanel;

namespace {

constexpr const char* kBuiltIn = "One Click Clean";

struct Engine : tpc::test::PageEngine {
    Engine() { start(); }
    tpc::presets::PresetsModule& presets() { return *app->module<tpc::presets::PresetsModule>(); }
    tpc::presets::PresetModel& model() { return presets().model(); }
    schedule::ScheduleModule& scheduler() { return *app->module<schedule::ScheduleModule>(); }
    schedule::ScheduleSettings& settings() { return scheduler().settings(); }
    // The day's entry of the preset as saved in Presets.plist.
    core::DictRef savedEntry(const std::string& preset, const std::string& day) {
        const auto saved = app->settings().load("Presets").dict;
        for (const auto& record : saved->getArray("Array Of Presets")->dicts())
            if (core::description(record) == preset)
                return record->getDict(day);
        return nullptr;
    }
    std::size_t scheduled(const std::string& day) {
        return scheduler().schedule().arrayForDay(day)->size();
    }
};

// The panel, hearing the presets as the application's does.
struct Panel {
    explicit Panel(Engine& e) : panel(e.model(), e.settings()), listeners(e.model()) {
        listeners.setSchedulePanel(&panel);
        panel.resize(620, 440);
        panel.show();
    }
    SchedulePanel panel;
    tpc::ui::PresetListeners listeners;
};

QTime timeOf(const core::DictRef& entry) {
    const auto date = schedule::entryDate(entry);
    const auto hm = date ? schedule::hmFromDate(*date) : schedule::HourMinute{};
    return QTime(hm.hour, hm.minute);
}

QTime now(Engine& e) {
    const auto hm = schedule::hmFromDate(schedule::dateFromWallTime(e.clock.wallNow()));
    return QTime(hm.hour, hm.minute);
}

// "Monday 10:00" for every day that is on.
QStringList daysOn(const SchedulePanel& panel) {
    QStringList out;
    for (const auto* row : panel.dayRows())
        if (row->isOn())
            out << QString::fromStdString(row->day()) + " " + row->time().toString("HH:mm");
    return out;
}

QStringList presetRows(const SchedulePanel& panel) {
    QStringList out;
    for (int row = 0; row < panel.presetTable()->rowCount(); ++row)
        out << panel.presetTable()->item(row, 0)->text();
    return out;
}

void clickBox(QCheckBox* box) {
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
}

void clickPreset(SchedulePanel& panel, int row) {
    QTableWidget* table = panel.presetTable();
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {},
                      table->visualItemRect(table->item(row, 0)).center());
}

} // namespace

class SchedulePanelTest : public QObject {
    Q_OBJECT
private slots:
    void aTickedDayIsSavedMovedAndRemoved();
    void setToNowReadsTheClock();
    void theTableFollowsThePresetsAndShowsTheirDays();
    void thePanelAndPreferencesSwitchesAgree();
    void lastScheduleRunFollowsAScheduledClean();
    void theAutoCleanPageOpensTheSchedule();
};

void SchedulePanelTest::aTickedDayIsSavedMovedAndRemoved() {
    Engine e;
    Panel p(e);
    QCOMPARE(p.panel.selectedPreset(), std::string(kBuiltIn));
    QCOMPARE(daysOn(p.panel), QStringList({"Monday 10:00", "Wednesday 12:00", "Friday 14:00"}));
    tpc::ui::ScheduleDayRow* sunday = p.panel.dayRow("Sunday");
    QCOMPARE(sunday->time(), QTime(0, 0));

    // A time picked for a day that is off is kept for the tick, and stores nothing.
    sunday->timePicker()->setTime(QTime(7, 30));
    QVERIFY(!e.settings().storedEntry(kBuiltIn, "Sunday"));
    clickBox(sunday->checkBox());
    const core::DictRef saved = e.savedEntry(kBuiltIn, "Sunday");
    QVERIFY(saved);
    QCOMPARE(saved->getString(schedule::keys::DayOfTheWeek), std::string("Sunday"));
    QCOMPARE(saved->getString(schedule::keys::PresetName), std::string(kBuiltIn));
    QCOMPARE(timeOf(saved), QTime(7, 30));
    QCOMPARE(e.scheduled("Sunday"), std::size_t(1));

    // The picker moves the entry, in the preset and in the schedule (replaced, not added).
    sunday->timePicker()->setTime(QTime(8, 15));
    QCOMPARE(timeOf(e.savedEntry(kBuiltIn, "Sunday")), QTime(8, 15));
    QCOMPARE(e.scheduled("Sunday"), std::size_t(1));
    QCOMPARE(timeOf(e.scheduler().schedule().arrayForDay("Sunday")->at(0).dict()), QTime(8, 15));

    clickBox(sunday->checkBox());
    QVERIFY(!e.savedEntry(kBuiltIn, "Sunday"));
    QCOMPARE(e.scheduled("Sunday"), std::size_t(0));
    // The other days are untouched.
    QCOMPARE(e.scheduled("Monday"), std::size_t(1));
}

void SchedulePanelTest::setToNowReadsTheClock() {
    Engine e;
    Panel p(e);
    e.clock.advance(std::chrono::minutes(37));
    tpc::ui::ScheduleDayRow* tuesday = p.panel.dayRow("Tuesday");
    // Off: only the picker moves.
    QTest::mouseClick(tuesday->nowButton(), Qt::LeftButton);
    QCOMPARE(tuesday->time(), now(e));
    QVERIFY(!e.settings().storedEntry(kBuiltIn, "Tuesday"));

    clickBox(tuesday->checkBox());
    e.clock.advance(std::chrono::hours(3));
    QTest::mouseClick(tuesday->nowButton(), Qt::LeftButton);
    QCOMPARE(tuesday->time(), now(e));
    QCOMPARE(timeOf(e.savedEntry(kBuiltIn, "Tuesday")), now(e));
    QCOMPARE(timeOf(e.scheduler().schedule().arrayForDay("Tuesday")->at(0).dict()), now(e));
}

void SchedulePanelTest::theTableFollowsThePresetsAndShowsTheirDays() {
    Engine e;
    Panel p(e);
    e.model().addPreset();
    QCOMPARE(presetRows(p.panel), QStringList({kBuiltIn, "Preset #1"}));
    QCOMPARE(p.panel.selectedPreset(), std::string(kBuiltIn));

    clickPreset(p.panel, 1);
    QCOMPARE(p.panel.selectedPreset(), std::string("Preset #1"));
    QVERIFY(daysOn(p.panel).isEmpty());
    QCOMPARE(p.panel.dayRow("Monday")->time(), QTime(0, 0));
    p.panel.dayRow("Thursday")->timePicker()->setTime(QTime(18, 45));
    clickBox(p.panel.dayRow("Thursday")->checkBox());

    clickPreset(p.panel, 0);
    QCOMPARE(daysOn(p.panel), QStringList({"Monday 10:00", "Wednesday 12:00", "Friday 14:00"}));
    QCOMPARE(p.panel.dayRow("Thursday")->time(), QTime(0, 0));
    clickPreset(p.panel, 1);
    QCOMPARE(daysOn(p.panel), QStringList({"Thursday 18:45"}));
    // A reload for the same preset (a mark changed on the Auto clean page) keeps a time picked
    // for a day that is off.
    p.panel.dayRow("Sunday")->timePicker()->setTime(QTime(6, 5));
    e.model().setPresetMark(0, false);
    QCOMPARE(p.panel.dayRow("Sunday")->time(), QTime(6, 5));

    // Removing the shown preset takes its entries out of the schedule; the first is shown.
    e.model().selectRow(1);
    e.model().removeSelectedPreset();
    QCOMPARE(presetRows(p.panel), QStringList({kBuiltIn}));
    QCOMPARE(p.panel.selectedPreset(), std::string(kBuiltIn));
    QCOMPARE(e.scheduled("Thursday"), std::size_t(0));
    QCOMPARE(daysOn(p.panel).size(), 3);
}

void SchedulePanelTest::thePanelAndPreferencesSwitchesAgree() {
    Engine e;
    Panel p(e);
    tpc::ui::PreferencesPage prefs(*e.app);
    tpc::ui::linkScheduleSwitches(e.settings(), p.panel, prefs);
    prefs.show();
    QVERIFY(p.panel.scheduleBox()->isChecked() && prefs.scheduleBox()->isChecked());

    clickBox(p.panel.scheduleBox());
    QVERIFY(!e.app->general().scheduleEnabled());
    QVERIFY(e.scheduler().schedule().abortSchedule());
    QVERIFY(!prefs.scheduleBox()->isChecked());

    clickBox(prefs.scheduleBox());
    QVERIFY(e.app->general().scheduleEnabled());
    QVERIFY(!e.scheduler().schedule().abortSchedule());
    QVERIFY(p.panel.scheduleBox()->isChecked());
}

void SchedulePanelTest::lastScheduleRunFollowsAScheduledClean() {
    Engine e;
    Panel p(e);
    QCOMPARE(p.panel.lastRunHeader()->text(), QString());
    QCOMPARE(p.panel.lastRunText()->text(), QString());

    // The hold an entry gets when it fires does not change the days shown.
    e.settings().markScheduleAsAlreadyRun(e.settings().storedEntry(kBuiltIn, "Monday"));
    QVERIFY(e.savedEntry(kBuiltIn, "Monday")->getBool(schedule::keys::ScheduleAlreadyRun));
    p.panel.reloadScheduleTable();
    QVERIFY(daysOn(p.panel).contains("Monday 10:00"));

    // The schedule's queue runner starts the clean: the preset is stamped, and the line shows
    // the stamp once the clean has ended.
    const auto stamp = schedule::localDateText(schedule::dateFromWallTime(e.clock.wallNow()));
    e.scheduler().schedule().hooks.cleanPreset(e.settings().storedEntry(kBuiltIn, "Monday"));
    QTRY_VERIFY(e.idle(core::Category::Presets));
    QTRY_COMPARE(p.panel.lastRunHeader()->text(), QString("Last Schedule Run:"));
    QCOMPARE(p.panel.lastRunText()->text(), QString::fromStdString(stamp));

    // A preset that never ran from the schedule shows no line.
    e.model().addPreset();
    clickPreset(p.panel, 1);
    QCOMPARE(p.panel.lastRunHeader()->text(), QString());
    clickPreset(p.panel, 0);
    QCOMPARE(p.panel.lastRunText()->text(), QString::fromStdString(stamp));
}

void SchedulePanelTest::theAutoCleanPageOpensTheSchedule() {
    Engine e;
    tpc::ui::AutoCleanPage page(e.presets());
    QVERIFY(page.scheduleButton()->isHidden());
    auto* panel = new SchedulePanel(e.model(), e.settings());
    page.setSchedulePanel(panel);
    page.show();
    QVERIFY(page.scheduleButton()->isVisible());
    QTest::mouseClick(page.scheduleButton(), Qt::LeftButton);
    QVERIFY(page.scheduleWindow()->isVisible());
    QVERIFY(panel->isVisible());
    QCOMPARE(daysOn(*panel).size(), 3);

    if (qEnvironmentVariableIsSet("TPC_SCHEDULE_SCREENSHOT")) {
        e.model().presetNamed(kBuiltIn)->set(schedule::keys::LastScheduledRun,
                                             schedule::dateFromWallTime(e.clock.wallNow()));
        e.settings().updateLastScheduledRunTextField();
        QTest::qWait(200);
        QVERIFY(
            page.scheduleWindow()->grab().save(qEnvironmentVariable("TPC_SCHEDULE_SCREENSHOT")));
    }
}

QTEST_MAIN(SchedulePanelTest)
#include "SchedulePanelTest.moc"
