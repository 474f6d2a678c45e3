// The System page over a real engine on a fake home: the five categories with their marks, the
// Downloads notice, and the scan that opening the page starts and the clean's rescan.

#include "ui/SystemPage.h"
#include "core/Record.h"
#include "system/SystemDriver.h"
#include "ui/CheckListModel.h"
#include "ui/CheckListPanel.h"
#include "ui/MainWindow.h"
#include "ui/MasterCheckBox.h"
#include "ui/QtMainThread.h"
#include "ui/RecordNameDelegate.h"
#include "ui/support/HoverHarness.h"
#include "ui/support/PageEngine.h"

#include <QComboBox>
#include <QPushButton>
#include <QStyle>
#include <QTableView>
#include <QTest>

#include <filesystem>
#include <memory>

namespace core = tpc::core;
namespace fs = std::filesystem;
using tpc::ui::CheckListModel;
using tpc::ui::CheckListPanel;
using tpc::ui::SystemPage;

namespace {

// A started engine whose workers reach the page through the Qt event loop, on a fake home whose
// Logs folder holds two files in a sub folder and whose Trash holds one file.
struct Engine : tpc::test::PageEngine {
    Engine() {
        tpc::test::writeFile(home() / "Library/Logs/app/one.log", "12345");
        tpc::test::writeFile(home() / "Library/Logs/two.log", "123");
        tpc::test::writeFile(home() / ".Trash/old.txt", "1234567");
        fs::create_directories(home() / "Downloads");
        // Menus of exactly their fixed entries: nothing recent.
        scripts->answer = "7";
        start();
    }
    tpc::system::SystemDriver& driver() {
        return app->module<tpc::system::SystemModule>()->driver();
    }
    bool idle() { return PageEngine::idle(core::Category::System); }
};

QStringList names(const CheckListPanel& list) {
    QStringList out;
    for (int row = 0; row < list.model()->rowCount(); ++row)
        out << list.model()->index(row, CheckListModel::NameColumn).data().toString();
    return out;
}

// The rows as "name: count".
QStringList shownCounts(const SystemPage& page) {
    QStringList out;
    const CheckListModel* model = page.list()->model();
    for (int row = 0; row < model->rowCount(); ++row)
        out << model->index(row, CheckListModel::NameColumn).data().toString() + ": " +
                   page.nameDelegate()->countText(row);
    return out;
}

void clickCheckBox(QTableView* table, int row) {
    const QModelIndex index = table->model()->index(row, CheckListModel::CheckColumn);
    QStyleOptionViewItem option;
    option.initFrom(table->viewport());
    option.rect = table->visualRect(index);
    option.features |= QStyleOptionViewItem::HasCheckIndicator;
    const QRect box =
        table->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, table);
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, box.center());
}

void clickMaster(CheckListPanel& list) {
    QTest::mouseClick(list.masterBox(), Qt::LeftButton, {},
                      QPoint(8, list.masterBox()->height() / 2));
}

std::vector<core::AlertRequest> alerts(const tpc::test::RecordingFrontend& frontend) {
    std::vector<core::AlertRequest> out;
    for (const auto& event : frontend.eventsOf(tpc::test::FrontendEvent::Type::Alert))
        out.push_back(event.alert);
    return out;
}

} // namespace

class SystemPageTest : public QObject {
    Q_OBJECT
private slots:
    void listsTheFiveCategoriesAndFollowsTheirMarks();
    void openingThePageScansAndTheCleanShowsTheRescan();
};

void SystemPageTest::listsTheFiveCategoriesAndFollowsTheirMarks() {
    Engine e;
    SystemPage page(*e.app->module<tpc::system::SystemModule>());
    e.driver().hooks = page.hooks();
    page.resize(560, 400);
    page.show();
    CheckListPanel& list = *page.list();
    QCOMPARE(names(list), QStringList({"Recent Documents, Applications, Servers", "Recent Places",
                                       "Logs", "Trash", "User Downloads"}));
    QCOMPARE(page.nameDelegate()->countText(2), QString("0 items"));
    // Every category but the Downloads starts marked.
    QCOMPARE(list.masterBox()->checkState(), Qt::PartiallyChecked);

    // Marking the Downloads asks first, then marks.
    clickCheckBox(list.table(), 4);
    const auto shown = alerts(e.frontend);
    QCOMPARE(shown.size(), std::size_t(1));
    QCOMPARE(shown[0].title, std::string("Information"));
    QCOMPARE(shown[0].message, "This option will delete every file in the \"" +
                                   e.platform->downloads().string() + "\" folder.");
    QVERIFY(core::isMarked(e.driver().list()->at(4).dict()));
    QCOMPARE(list.masterBox()->checkState(), Qt::Checked);

    clickMaster(list);
    QCOMPARE(core::countMarked(e.driver().list()), std::size_t(0));
    QCOMPARE(list.masterBox()->checkState(), Qt::Unchecked);
    clickCheckBox(list.table(), 2);
    QCOMPARE(core::countMarked(e.driver().list()), std::size_t(1));
    QCOMPARE(list.masterBox()->checkState(), Qt::PartiallyChecked);
    // Unmarking the Downloads asks nothing.
    QCOMPARE(alerts(e.frontend).size(), std::size_t(1));

    // The sort pop-up sorts through the engine; the page shows the new order.
    emit list.sortPopUp()->activated(1);
    QCOMPARE(names(list).first(), QString("Logs"));
    QCOMPARE(list.sortPopUp()->currentIndex(), 1);

    // The hooks turn the controls off and on.
    e.driver().hooks.disableForScan();
    QVERIFY(!list.table()->isEnabled() && !page.scanButton()->isEnabled());
    e.driver().hooks.enableAfterScan();
    QVERIFY(list.masterBox()->isEnabled() && page.scanButton()->isEnabled());
}

void SystemPageTest::openingThePageScansAndTheCleanShowsTheRescan() {
    Engine e;
    tpc::ui::test::HoverHarness hover;
    tpc::ui::MainWindow window(hover.env());
    auto* page = new SystemPage(*e.app->module<tpc::system::SystemModule>());
    page->attach(window);
    e.driver().hooks = page->hooks();
    window.show();
    QPushButton* clean = window.cleanButton();

    window.buttonMainSystemClicked();
    QCOMPARE(window.currentPageId(), QString("5"));
    QVERIFY(e.app->flags().running(core::Category::System, core::TaskKind::Scan));
    QVERIFY(!page->scanButton()->isEnabled());
    QTRY_VERIFY(e.idle());
    QVERIFY(page->scanButton()->isEnabled());
    QVERIFY(clean->isEnabled());
    const QStringList scanned = shownCounts(*page);
    QCOMPARE(scanned[2], QString("Logs: 3 items"));
    QCOMPARE(scanned[3], QString("Trash: 1 items"));
    QCOMPARE(page->list()->model()->index(3, CheckListModel::SizeColumn).data().toString(),
             QString("0.01 KB"));

    // Only the Logs stay marked; the Clean button follows the marks.
    clickMaster(*page->list()); // mixed: marks all
    clickMaster(*page->list());
    QVERIFY(!clean->isEnabled());
    clickCheckBox(page->list()->table(), 2);
    QVERIFY(clean->isEnabled());

    QTest::mouseClick(clean, Qt::LeftButton);
    QTRY_VERIFY(e.frontend.resultText() == std::optional<std::string>("Cleaning Done"));
    QTRY_VERIFY(e.idle());
    // The rows show the rescan after the clean: the Logs emptied, the Trash as it was.
    const QStringList cleaned = shownCounts(*page);
    QCOMPARE(cleaned[2], QString("Logs: 0 items"));
    QCOMPARE(cleaned[3], QString("Trash: 1 items"));
    QVERIFY(fs::exists(e.platform->home() / "Library/Logs"));
    QVERIFY(fs::exists(e.platform->trash() / "old.txt"));
    QVERIFY(clean->isEnabled());
}

QTEST_MAIN(SystemPageTest)
#include "SystemPageTest.moc"
