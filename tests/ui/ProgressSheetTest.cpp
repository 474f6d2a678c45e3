// The progress sheet: progress messages move its bar and status line in the fixed key order, the
// inverted animation key, and its one button.

#include "ui/ProgressSheet.h"

#include <QPushButton>
#include <QTest>
#include <QWidget>

using tpc::core::ProgressMessage;
using tpc::ui::ProgressSheet;

namespace {

ProgressMessage increment(std::uint64_t by) {
    ProgressMessage m;
    m.increment = by;
    return m;
}

ProgressMessage animation(std::int64_t startStop) {
    ProgressMessage m;
    m.startStopAnimation = startStop;
    return m;
}

} // namespace

class ProgressSheetTest : public QObject {
    Q_OBJECT
private slots:
    void startsHiddenAndDeterminateFromZeroToHundred();
    void aScanSequenceMovesTheBar();
    void animationKeyOneStopsAndZeroStarts();
    void barValuesStayInsideTheRange();
    void largeByteRangesStillShowTheirProportion();
    void theButtonRunsTheActionTheTaskSet();
    void onlyTheTaskEndsTheSheet();
};

void ProgressSheetTest::startsHiddenAndDeterminateFromZeroToHundred() {
    ProgressSheet sheet;
    QVERIFY(!sheet.barShown());
    QVERIFY(!sheet.statusShown());
    QVERIFY(sheet.state().determinate);
    QCOMPARE(sheet.barMinimum(), 0);
    QCOMPARE(sheet.barMaximum(), 100);
    QVERIFY(!sheet.isBusy());
}

void ProgressSheetTest::aScanSequenceMovesTheBar() {
    ProgressSheet sheet;

    ProgressMessage start;
    start.hideUnhide = 1;
    start.indicatorType = 1;
    start.status = "Scanning Firefox...";
    start.minValue = 0;
    start.maxValue = 10;
    start.doubleValue = 0;
    sheet.apply(start);
    QVERIFY(sheet.barShown());
    QVERIFY(sheet.statusShown());
    QCOMPARE(sheet.statusText(), QString("Scanning Firefox..."));
    QCOMPARE(sheet.barMinimum(), 0);
    QCOMPARE(sheet.barMaximum(), 10);
    QCOMPARE(sheet.barValue(), 0);

    sheet.apply(increment(3));
    sheet.apply(increment(2));
    QCOMPARE(sheet.barValue(), 5);
    QCOMPARE(sheet.state().value, 5.0);

    ProgressMessage jump;
    jump.doubleValue = 8;
    sheet.apply(jump);
    QCOMPARE(sheet.barValue(), 8);
    // A message without a status leaves the line as it was.
    QCOMPARE(sheet.statusText(), QString("Scanning Firefox..."));

    ProgressMessage busy;
    busy.indicatorType = 0;
    busy.startStopAnimation = 0;
    busy.status = "Cleaning...";
    sheet.apply(busy);
    QVERIFY(!sheet.state().determinate);
    QVERIFY(sheet.isAnimating());
    QVERIFY(sheet.isBusy());
    QCOMPARE(sheet.barMinimum(), 0);
    QCOMPARE(sheet.barMaximum(), 0);
    QCOMPARE(sheet.statusText(), QString("Cleaning..."));

    ProgressMessage hide;
    hide.hideUnhide = 0;
    sheet.apply(hide);
    QVERIFY(!sheet.barShown());
    QVERIFY(!sheet.statusShown());
}

void ProgressSheetTest::animationKeyOneStopsAndZeroStarts() {
    ProgressSheet sheet;
    ProgressMessage indeterminate;
    indeterminate.hideUnhide = 1;
    indeterminate.indicatorType = 0;
    sheet.apply(indeterminate);

    sheet.apply(animation(0));
    QVERIFY(sheet.isAnimating());
    QVERIFY(sheet.isBusy());

    sheet.apply(animation(1));
    QVERIFY(!sheet.isAnimating());
    QVERIFY(!sheet.isBusy());
    // A stopped indeterminate bar stands still and empty.
    QCOMPARE(sheet.barMinimum(), 0);
    QCOMPARE(sheet.barMaximum(), 1);
    QCOMPARE(sheet.barValue(), 0);

    sheet.apply(animation(0));
    QVERIFY(sheet.isBusy());

    // Switching back to determinate shows the range again, whatever the animation does.
    ProgressMessage determinate;
    determinate.indicatorType = 1;
    determinate.maxValue = 4;
    determinate.doubleValue = 1;
    sheet.apply(determinate);
    QVERIFY(!sheet.isBusy());
    QCOMPARE(sheet.barMaximum(), 4);
    QCOMPARE(sheet.barValue(), 1);
}

void ProgressSheetTest::barValuesStayInsideTheRange() {
    ProgressSheet sheet;
    ProgressMessage m;
    m.minValue = 2;
    m.maxValue = 10;
    m.doubleValue = 0;
    sheet.apply(m);
    // Below the minimum the bar shows its start, not the last value it accepted.
    QCOMPARE(sheet.barValue(), 2);

    sheet.apply(increment(12));
    QCOMPARE(sheet.state().value, 12.0);
    QCOMPARE(sheet.barValue(), 10);

    // An empty or inverted range is an empty bar, never a busy one.
    for (std::uint64_t max : {10, 3}) {
        ProgressMessage empty;
        empty.minValue = 10;
        empty.maxValue = max;
        sheet.apply(empty);
        QVERIFY(!sheet.isBusy());
    }
}

void ProgressSheetTest::largeByteRangesStillShowTheirProportion() {
    ProgressSheet sheet;
    ProgressMessage m;
    m.maxValue = 10'000'000'000ULL;
    m.doubleValue = 2'500'000'000ULL;
    sheet.apply(m);
    QVERIFY(sheet.barMaximum() > 0);
    const double shown = double(sheet.barValue()) / sheet.barMaximum();
    QVERIFY2(shown > 0.249 && shown < 0.251, qPrintable(QString::number(shown)));
}

void ProgressSheetTest::theButtonRunsTheActionTheTaskSet() {
    ProgressSheet sheet;
    int scanAborts = 0;
    int cleanAborts = 0;
    sheet.setAbortButton("Abort Scan", [&] {
        ++scanAborts;
        // An action may hand the button to the next task while it runs.
        sheet.setAbortButton("Abort Clean", [&] { ++cleanAborts; });
    });
    QCOMPARE(sheet.abortButton()->text(), QString("Abort Scan"));

    sheet.abortButton()->click();
    QCOMPARE(scanAborts, 1);
    QCOMPARE(sheet.abortButton()->text(), QString("Abort Clean"));

    sheet.abortButton()->click();
    QCOMPARE(scanAborts, 1);
    QCOMPARE(cleanAborts, 1);

    // Return in the sheet must not press it.
    QVERIFY(!sheet.abortButton()->isDefault());
    QVERIFY(!sheet.abortButton()->autoDefault());
}

void ProgressSheetTest::onlyTheTaskEndsTheSheet() {
    QWidget window;
    window.show();
    ProgressSheet sheet(&window);
    QVERIFY(sheet.windowFlags().testFlag(Qt::Sheet));

    sheet.begin();
    QVERIFY(sheet.isVisible());
    QCOMPARE(sheet.windowModality(), Qt::WindowModal);

    // Escape and the close box are the user's; the sheet stays until the task ends it.
    QTest::keyClick(&sheet, Qt::Key_Escape);
    sheet.close();
    QVERIFY(sheet.isVisible());

    sheet.end();
    QVERIFY(!sheet.isVisible());
    // Ending twice is harmless.
    sheet.end();
    QVERIFY(!sheet.isVisible());
}

QTEST_MAIN(ProgressSheetTest)
#include "ProgressSheetTest.moc"
