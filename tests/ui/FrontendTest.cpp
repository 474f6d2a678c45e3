// The desktop front end: what the engine's requests do to the window, the progress sheet, the
// registered buttons, alerts and the status item; and the Preferences page storing its choices.

#include "core/Keys.h"
#include "core/app/AppFixture.h"
#include "support/HoverHarness.h"
#include "ui/MainWindow.h"
#include "ui/PreferencesPage.h"
#include "ui/ProgressSheet.h"
#include "ui/QtFrontend.h"
#include "ui/StatusItem.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include <memory>

namespace core = tpc::core;
namespace keys = tpc::core::keys;
using tpc::ui::AlertBox;
using tpc::ui::makeAlertBox;
using tpc::ui::PreferencesPage;

namespace {

// The desktop objects the front end drives; the hover threads outlive the window.
struct Desktop {
    tpc::ui::test::HoverHarness hover;
    tpc::ui::MainWindow window{hover.env()};
    tpc::ui::ProgressSheet sheet{&window};
    tpc::ui::StatusItem statusItem;
    tpc::ui::QtFrontend frontend{window, sheet, statusItem};
};

core::ButtonUpdate update(const std::string& name) {
    core::ButtonUpdate u;
    u.button = name;
    return u;
}

QString buttonText(const AlertBox& alert, int result) {
    QAbstractButton* b = alert.buttonFor(result);
    return b ? b->text() : QString();
}

// "General.plist" as it is on disk now.
core::DictRef generalOnDisk(tpc::test::AppFixture& f) {
    auto loaded = f.app->settings().load(keys::GeneralName);
    return loaded.status == core::Settings::LoadStatus::Loaded ? loaded.dict : nullptr;
}

} // namespace

class FrontendTest : public QObject {
    Q_OBJECT
private slots:
    // Progress, result line and subtitles.
    void progressResultLineAndSubtitlesReachTheWindow();
    // Button updates.
    void buttonUpdatesHideAsDisabledChangeTitlesAndIgnoreUnknownButtons();
    // Alerts.
    void panelAlertButtonsAnswerOneZeroMinusOne();
    void messageAlertButtonsAnswerOneZeroMinusOne();
    // Window requests.
    void showMainWindowShowsItAndOtherRequestsAndAlertsArePassedOn();
    // Status item.
    void animationFramesCycleZeroToEightAndStopRestoresTheIdleIcon();
    void statusMenuEntriesCallTheirHandlersUntilTheItemIsRemoved();
    // Preferences page.
    void deletionChoiceIsShownStoredAndDrivesThePopUp();
    void checkBoxesStoreZeroOrOneAndDriveTheLoginItemAndSchedule();
};

void FrontendTest::progressResultLineAndSubtitlesReachTheWindow() {
    Desktop d;
    d.window.show();
    core::ProgressMessage m;
    m.hideUnhide = 1;
    m.maxValue = 10;
    m.doubleValue = 4;
    m.status = "Scanning...";
    d.frontend.updateProgress(m);
    QCOMPARE(d.sheet.barValue(), 4);
    QCOMPARE(d.sheet.statusText(), QString("Scanning..."));

    int aborted = 0;
    d.frontend.setAbortButton("Abort Scan", [&] { ++aborted; });
    QCOMPARE(d.sheet.abortButton()->text(), QString("Abort Scan"));
    d.frontend.beginProgressWindow();
    QVERIFY(d.sheet.isVisible());
    d.sheet.abortButton()->click();
    QCOMPARE(aborted, 1);
    d.frontend.endProgressWindow();
    QVERIFY(!d.sheet.isVisible());

    d.frontend.updateTextFieldResult(std::string("12 items, 3.40 MB"));
    QCOMPARE(d.window.resultText(), QString("12 items, 3.40 MB"));
    QVERIFY(d.window.resultImageShown());
    d.frontend.updateTextFieldResult(std::nullopt);
    QCOMPARE(d.window.resultText(), QString(" "));
    QVERIFY(!d.window.resultImageShown());

    auto* browsers = d.window.mainButton(core::MainButton::Browsers);
    QVERIFY(browsers);
    d.frontend.setSubtitle(core::MainButton::Browsers, std::string("1.20 MB"));
    QCOMPARE(browsers->subTitle().value_or(QString()), QString("1.20 MB"));
    d.frontend.setSubtitle(core::MainButton::Browsers, std::nullopt);
    QVERIFY(!browsers->subTitle().has_value());
}

void FrontendTest::buttonUpdatesHideAsDisabledChangeTitlesAndIgnoreUnknownButtons() {
    Desktop d;
    QWidget page;
    auto* scan = new QPushButton("Scan", &page);
    page.show();
    d.frontend.registerButton("scan", scan);

    // setHidden disables (the button stays visible) and is applied after setEnabled.
    auto u = update("scan");
    u.setEnabled = true;
    u.setHidden = true;
    d.frontend.updateButton(u);
    QVERIFY(!scan->isEnabled());
    QVERIFY(scan->isVisible());
    u.setEnabled = false;
    u.setHidden = false;
    d.frontend.updateButton(u);
    QVERIFY(scan->isEnabled());
    QVERIFY(scan->isVisible());

    // Only the title changes; a disabled page does not leak into the button's own state.
    page.setEnabled(false);
    auto title = update("scan");
    title.setTitle = "Abort";
    d.frontend.updateButton(title);
    page.setEnabled(true);
    QCOMPARE(scan->text(), QString("Abort"));
    QVERIFY(scan->isEnabled());

    // No button named, an unknown one or a deleted one: nothing happens.
    auto* gone = new QPushButton("Gone");
    d.frontend.registerButton("gone", gone);
    delete gone;
    QVERIFY(d.frontend.registeredButton("gone") == nullptr);
    for (const char* name : {"", "nothing", "gone"}) {
        auto ignored = update(name);
        ignored.setHidden = true;
        d.frontend.updateButton(ignored);
    }
    QVERIFY(scan->isEnabled());
}

void FrontendTest::panelAlertButtonsAnswerOneZeroMinusOne() {
    auto dict = core::DictObj::make({{keys::AlertTitle1, "Information"},
                                     {keys::AlertBody1, "Quit the browsers first?"},
                                     {keys::AlertDefault1, "OK"},
                                     {keys::AlertAlternate1, "Not Now"},
                                     {keys::AlertOther1, "NO, don't prompt again"}});
    AlertBox alert = makeAlertBox(core::AlertRequest::fromPanelDict(dict), nullptr);
    QCOMPARE(alert.box->text(), QString("Information"));
    QCOMPARE(alert.box->informativeText(), QString("Quit the browsers first?"));
    QCOMPARE(alert.box->buttons().size(), 3);
    QCOMPARE(buttonText(alert, 1), QString("OK"));
    QCOMPARE(buttonText(alert, 0), QString("Not Now"));
    QCOMPARE(buttonText(alert, -1), QString("NO, don't prompt again"));
    QCOMPARE(alert.box->defaultButton(), alert.buttonFor(1));
    QCOMPARE(alert.box->escapeButton(), alert.buttonFor(0));

    // Pressing a button of the running box answers its code.
    for (int result : {1, 0, -1}) {
        AlertBox running = makeAlertBox(core::AlertRequest::fromPanelDict(dict), nullptr);
        running.box->open();
        running.buttonFor(result)->click();
        QCOMPARE(running.resultFor(running.box->clickedButton()), result);
        QVERIFY(!running.box->isVisible());
    }
}

void FrontendTest::messageAlertButtonsAnswerOneZeroMinusOne() {
    auto dict = core::DictObj::make({{keys::AlertTitle2, "Changes Made"},
                                     {keys::AlertMessage2, "Click \"Scan\" to reflect them"},
                                     {keys::AlertDefault2, "Clean"},
                                     {keys::AlertAlternate2, "Scan"}});
    AlertBox alert = makeAlertBox(core::AlertRequest::fromMessageDict(dict), nullptr);
    QCOMPARE(alert.box->text(), QString("Changes Made"));
    QCOMPARE(alert.box->informativeText(), QString("Click \"Scan\" to reflect them"));
    QCOMPARE(alert.box->buttons().size(), 2);
    QCOMPARE(buttonText(alert, 1), QString("Clean"));
    QCOMPARE(buttonText(alert, 0), QString("Scan"));
    QVERIFY(alert.buttonFor(-1) == nullptr);

    // Default and other without an alternate: the other still answers -1, not 0.
    core::AlertRequest twoButtons;
    twoButtons.title = "Photo library";
    twoButtons.defaultButton = "Locate";
    twoButtons.otherButton = "Cancel";
    AlertBox gap = makeAlertBox(twoButtons, nullptr);
    QCOMPARE(buttonText(gap, 1), QString("Locate"));
    QCOMPARE(buttonText(gap, -1), QString("Cancel"));
    QCOMPARE(gap.resultFor(gap.buttonFor(-1)), -1);
    QCOMPARE(gap.resultFor(nullptr), -1);

    // Without buttons one "OK" still dismisses it, answering as the default.
    core::AlertRequest bare;
    bare.title = "Tavrin Privacy Cleaner will be running";
    AlertBox ack = makeAlertBox(bare, nullptr);
    QCOMPARE(ack.box->buttons().size(), 1);
    QCOMPARE(ack.resultFor(ack.box->buttons().front()), 1);
    QCOMPARE(ack.box->escapeButton(), ack.box->buttons().front());
}

void FrontendTest::showMainWindowShowsItAndOtherRequestsAndAlertsArePassedOn() {
    Desktop d;
    std::vector<std::string> passed;
    d.frontend.onUi = [&](const std::string& action, const core::Value&) {
        passed.push_back(action);
    };

    d.frontend.ui("reloadBrowserList");
    QVERIFY(!d.window.isVisible());
    QCOMPARE(QString::fromStdString(d.frontend.lastUiAction()), QString("reloadBrowserList"));

    d.frontend.ui("showMainWindow");
    QVERIFY(d.window.isVisible());
    QCOMPARE(QString::fromStdString(d.frontend.lastUiAction()), QString("showMainWindow"));
    QCOMPARE(passed.size(), std::size_t(1));

    d.window.hide();
    d.frontend.bringMainWindowToFront();
    QVERIFY(d.window.isVisible());

    // The override answers instead of a modal box.
    d.frontend.alertOverride = [&](const core::AlertRequest& r) {
        passed.push_back(r.title);
        return 0;
    };
    core::AlertRequest r;
    r.title = "Changes Made";
    r.defaultButton = "Clean";
    QCOMPARE(d.frontend.showAlert(r), 0);
    QCOMPARE(passed.back(), std::string("Changes Made"));
}

void FrontendTest::animationFramesCycleZeroToEightAndStopRestoresTheIdleIcon() {
    Desktop d;
    auto& item = d.statusItem;
    QCOMPARE(item.imageName(), QString("Status Icon.png"));

    d.frontend.startAnimating();
    QVERIFY(item.isAnimating());
    QCOMPARE(item.currentFrame(), 0);
    for (int tick = 0; tick < 20; ++tick) {
        const int frame = tick % 9;
        QCOMPARE(item.currentFrame(), frame);
        item.updateImage();
        QCOMPARE(item.imageName(), QString("Status Icon Anim %1.png").arg(frame));
    }

    d.frontend.stopAnimating();
    QVERIFY(!item.isAnimating());
    QCOMPARE(item.imageName(), QString("Status Icon.png"));

    // A new run starts again at the first frame.
    d.frontend.startAnimating();
    item.updateImage();
    QCOMPARE(item.imageName(), QString("Status Icon Anim 0.png"));
    d.frontend.stopAnimating();
}

void FrontendTest::statusMenuEntriesCallTheirHandlersUntilTheItemIsRemoved() {
    tpc::ui::StatusItem item;
    item.show();
    QStringList called;
    auto record = [&called](const char* what) {
        return [&called, what] {
            called << what;
        };
    };
    item.onOneClickClean = record("clean");
    item.onShowWindow = record("show");
    item.onCheckForUpdates = record("updates");
    item.onQuit = record("quit");

    QStringList entries;
    for (QAction* a : item.menu()->actions())
        entries << (a->isSeparator() ? QStringLiteral("-") : a->text());
    QCOMPARE(entries, (QStringList{"Clean", "Show Tavrin Privacy Cleaner", "Check for Updates...",
                                   "-", "Quit"}));

    QVERIFY(item.cleanMenu());
    const auto cleanEntries = item.cleanMenu()->actions();
    QVERIFY(cleanEntries.size() >= 2);
    QCOMPARE(cleanEntries.at(0)->text(), QString("One Click Clean"));
    QVERIFY(cleanEntries.at(0)->isEnabled());
    QVERIFY(cleanEntries.at(1)->isSeparator());

    cleanEntries.at(0)->trigger();
    item.showWindowAction()->trigger();
    item.checkForUpdatesAction()->trigger();
    item.quitAction()->trigger();
    QCOMPARE(called, (QStringList{"clean", "show", "updates", "quit"}));

    QPointer<QMenu> clean = item.cleanMenu();
    item.startAnimating();
    item.remove();
    QVERIFY(item.removed());
    QVERIFY(item.menu() == nullptr);
    QVERIFY(clean.isNull());
    QVERIFY(!item.isAnimating());
    QVERIFY(!item.shownInTray());
    // A worker's last requests may still arrive after quitting removed the item.
    item.startAnimating();
    item.updateImage();
    item.stopAnimating();
    item.remove();
}

void FrontendTest::deletionChoiceIsShownStoredAndDrivesThePopUp() {
    tpc::test::AppFixture f;
    auto& app = f.start();
    PreferencesPage page(app);
    page.show();
    QVERIFY(page.deleteButton()->isChecked());
    QVERIFY(!page.methodPopUp()->isEnabled());
    QCOMPARE(page.methodPopUp()->count(), 9);
    QCOMPARE(page.methodPopUp()->itemText(0), QString("1 Pass (Zeros)"));
    QCOMPARE(page.methodPopUp()->itemText(8), QString("38 Passes (DoD5220)"));

    QTest::mouseClick(page.eraseButton(), Qt::LeftButton);
    QVERIFY(page.eraseButton()->isChecked());
    QVERIFY(page.methodPopUp()->isEnabled());
    QCOMPARE(page.methodPopUp()->currentIndex(), 0);
    QCOMPARE(generalOnDisk(f)->getInt(keys::FileDeletionOption, -7), 0);

    // The user picks a method (activated, as a pick from the list sends it).
    page.methodPopUp()->setCurrentIndex(5);
    emit page.methodPopUp()->activated(5);
    QCOMPARE(generalOnDisk(f)->getInt(keys::FileDeletionOption, -7), 5);

    // Choosing "erase" again starts over at the first method.
    page.matrixFileDeletionOptionsClicked(1);
    QCOMPARE(page.methodPopUp()->currentIndex(), 0);
    QCOMPARE(generalOnDisk(f)->getInt(keys::FileDeletionOption, -7), 0);

    page.methodPopUp()->setCurrentIndex(5);
    emit page.methodPopUp()->activated(5);
    QTest::mouseClick(page.deleteButton(), Qt::LeftButton);
    QVERIFY(page.deleteButton()->isChecked());
    QVERIFY(!page.methodPopUp()->isEnabled());
    QCOMPARE(page.methodPopUp()->currentIndex(), 0);
    QCOMPARE(generalOnDisk(f)->getInt(keys::FileDeletionOption, -7), -1);

    // A new page shows a stored method, storing nothing.
    app.general().popUpButtonFileDeletionMethodClicked(6);
    PreferencesPage again(app);
    QVERIFY(again.eraseButton()->isChecked());
    QVERIFY(again.methodPopUp()->isEnabled());
    QCOMPARE(again.methodPopUp()->currentIndex(), 6);
    QCOMPARE(generalOnDisk(f)->getInt(keys::FileDeletionOption), 6);
}

void FrontendTest::checkBoxesStoreZeroOrOneAndDriveTheLoginItemAndSchedule() {
    tpc::test::AppFixture f;
    auto& app = f.start();
    PreferencesPage page(app);
    QVERIFY(!page.normalSleepBox()->isChecked());
    QVERIFY(!page.forcedSleepBox()->isChecked());

    page.normalSleepBox()->click();
    auto general = generalOnDisk(f);
    QCOMPARE(general->getInt(keys::PreventNormalSleep, -7), 1);
    QCOMPARE(general->getInt(keys::PreventForcedSleep, -7), 0);

    page.forcedSleepBox()->click();
    page.normalSleepBox()->click();
    general = generalOnDisk(f);
    QCOMPARE(general->getInt(keys::PreventNormalSleep, -7), 0);
    QCOMPARE(general->getInt(keys::PreventForcedSleep, -7), 1);

    // A new page shows what was stored; any non-zero value is on.
    app.general().dict()->set(keys::PreventNormalSleep, core::Value(std::int64_t(2)));
    PreferencesPage again(app);
    QVERIFY(again.normalSleepBox()->isChecked());
    QVERIFY(again.forcedSleepBox()->isChecked());

    QVERIFY(!page.loginItemBox()->isChecked());
    // First run switched the weekly schedule on.
    QVERIFY(page.scheduleBox()->isChecked());

    page.loginItemBox()->click();
    QVERIFY(app.loginItemExists());
    QCOMPARE(f.loginItems->items.size(), std::size_t(1));
    page.loginItemBox()->click();
    QVERIFY(!app.loginItemExists());

    std::vector<bool> scheduler;
    page.onScheduleToggled = [&](bool on) {
        scheduler.push_back(on);
    };
    page.scheduleBox()->click();
    QVERIFY(!app.general().scheduleEnabled());
    QVERIFY(!generalOnDisk(f)->getBool(keys::EnableSchedule, true));
    QCOMPARE(scheduler, std::vector<bool>{false});

    // Showing a state set elsewhere does not act on it.
    page.setLoginItemChecked(true);
    page.setScheduleChecked(true);
    QVERIFY(!app.loginItemExists());
    QVERIFY(!app.general().scheduleEnabled());
    QCOMPARE(scheduler.size(), std::size_t(1));

    // A login item added outside the program shows on the next reload.
    app.toggleLoginItem(true);
    page.reload();
    QVERIFY(page.loginItemBox()->isChecked());
    QVERIFY(!page.scheduleBox()->isChecked());
}

QTEST_MAIN(FrontendTest)
#include "FrontendTest.moc"
