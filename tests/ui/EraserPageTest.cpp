// The File Eraser page over a real engine on a fake home: adding through the chooser and the
// sizes update, the add rule's alert, removing rows, the folders' delete option, the shared Clean
// button, and the open panel that returns files and folders alike.

#include "ui/EraserPage.h"
#include "core/Keys.h"
#include "core/Record.h"
#include "core/SizeText.h"
#include "eraser/EraserList.h"
#include "support/TempDir.h"
#include "ui/CheckListModel.h"
#include "ui/CheckListPanel.h"
#include "ui/EraserFileDialog.h"
#include "ui/EraserPathLabel.h"
#include "ui/MainWindow.h"
#include "ui/MasterCheckBox.h"
#include "ui/QtMainThread.h"
#include "ui/support/HoverHarness.h"
#include "ui/support/PageEngine.h"

#include <QAbstractItemView>
#include <QAction>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileSystemModel>
#include <QMenu>
#include <QPushButton>
#include <QStyle>
#include <QTableView>
#include <QTest>
#include <QToolButton>

#include <filesystem>
#include <memory>

namespace core = tpc::core;
namespace fs = std::filesystem;
using tpc::ui::CheckListModel;
using tpc::ui::EraserPage;

namespace {

// A started engine whose workers reach the page through the Qt event loop, on a fake home
// holding a folder "docs" (5000 bytes in two files) and a file "notes.txt" (1500 bytes).
struct Engine : tpc::test::PageEngine {
    Engine() {
        tpc::test::writeFile(home() / "docs/a.bin", std::string(3000, 'a'));
        tpc::test::writeFile(home() / "docs/b.bin", std::string(2000, 'b'));
        tpc::test::writeFile(home() / "notes.txt", std::string(1500, 'n'));
        start();
    }

    QString at(const char* relative) const {
        return QString::fromStdString((home() / relative).string());
    }
    // Every task, the sizes update included, has ended and reached the page.
    bool settled() { return idle(core::Category::Shredder); }
};

// A page on screen with its hooks on the driver, adding what `chosen` holds.
struct Page {
    explicit Page(Engine& e) : page(*e.app->module<tpc::eraser::EraserModule>(), e.app->context()) {
        e.app->module<tpc::eraser::EraserModule>()->driver().hooks = page.hooks();
        page.chooseFiles = [this](bool embedded) {
            asked.push_back(embedded);
            return chosen;
        };
        page.resize(560, 430);
        page.show();
    }
    void add(const QStringList& paths) {
        chosen = paths;
        page.addButton()->click();
    }
    EraserPage page;
    QStringList chosen;
    std::vector<bool> asked;
    const CheckListModel& model() { return *page.list()->model(); }
    QTableView* table() { return page.list()->table(); }
};

QStringList column(const CheckListModel& model, int column) {
    QStringList out;
    for (int row = 0; row < model.rowCount(); ++row)
        out << model.index(row, column).data().toString();
    return out;
}

void clickRow(QTableView* table, int row, Qt::KeyboardModifiers modifiers = {}) {
    const QModelIndex index = table->model()->index(row, CheckListModel::NameColumn);
    QTest::mouseClick(table->viewport(), Qt::LeftButton, modifiers,
                      table->visualRect(index).center());
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

QString sizeText(std::uint64_t bytes) {
    return QString::fromStdString(core::getFormattedStringForSize(bytes));
}

} // namespace

class EraserPageTest : public QObject {
    Q_OBJECT
private slots:
    void addingListsTheRowsAndTheSizesUpdateMeasuresThem();
    void aFileInsideAListedFolderIsRefusedWithTheAlert();
    void aNameThatIsNotUtf8IsRefusedWithAnAlert();
    void removeFollowsTheSelectionAndRemoveAllEmptiesTheList();
    void deleteOptionIsAFoldersChoiceAndIsSaved();
    void openingThePageDoesNotScanAndTheCleanButtonFollowsTheMarks();
    void openPanelReturnsSelectedFilesAndFolders();
};

void EraserPageTest::addingListsTheRowsAndTheSizesUpdateMeasuresThem() {
    Engine e;
    Page p(e);
    QVERIFY(!p.page.removeAllButton()->isEnabled());

    p.add({e.at("notes.txt"), e.at("docs")});
    QCOMPARE(column(p.model(), CheckListModel::NameColumn), QStringList({"notes.txt", "docs"}));
    QCOMPARE(p.model().index(1, CheckListModel::NameColumn).data(Qt::ToolTipRole).toString(),
             e.at("docs"));
    QCOMPARE(p.page.list()->masterBox()->checkState(), Qt::Checked);
    QVERIFY(p.page.removeAllButton()->isEnabled());
    QTRY_VERIFY(e.settled());
    QCOMPARE(column(p.model(), CheckListModel::SizeColumn),
             QStringList({sizeText(1500), sizeText(5000)}));
    QVERIFY(e.frontend.eventsOf(tpc::test::FrontendEvent::Type::Alert).empty());

    // The embedded entry asks for hidden entries too; a cancelled choice adds nothing.
    p.chosen.clear();
    p.page.addEmbeddedAction()->trigger();
    QCOMPARE(p.asked, (std::vector<bool>{false, true}));
    QCOMPARE(p.model().rowCount(), 2);

    // The selected row's full path is shown below the list.
    clickRow(p.table(), 0);
    QCOMPARE(p.page.pathLabel()->text(), e.at("notes.txt"));
}

void EraserPageTest::aFileInsideAListedFolderIsRefusedWithTheAlert() {
    Engine e;
    Page p(e);
    p.add({e.at("docs")});
    QTRY_VERIFY(e.settled());

    p.add({e.at("docs/b.bin")});
    QCOMPARE(column(p.model(), CheckListModel::NameColumn), QStringList({"docs"}));
    const auto alerts = e.frontend.eventsOf(tpc::test::FrontendEvent::Type::Alert);
    QCOMPARE(alerts.size(), std::size_t(1));
    QCOMPARE(alerts.front().alert.title, std::string("Path(s) inconsistencies !"));
    QCOMPARE(alerts.front().alert.message,
             std::string("All or some paths were already added to list"));
    QTRY_VERIFY(e.settled());
}

void EraserPageTest::aNameThatIsNotUtf8IsRefusedWithAnAlert() {
    Engine e;
    Page p(e);
    // The panel hands names back as text: bytes that are not UTF-8 come back as U+FFFD, and that
    // text names a missing file, or another one ("b\uFFFD" here, beside "b\xFF").
    tpc::test::writeFile(e.home() / "a\xff/x", "x");
    tpc::test::writeFile(e.home() / "b\xff", "x");
    tpc::test::writeFile(e.home() / "b\xef\xbf\xbd", "y");
    const auto shown = [&](const char* name) {
        return QFile::decodeName(QByteArray::fromStdString((e.home() / name).string()));
    };
    p.add({shown("a\xff"), shown("b\xff"), e.at("notes.txt")});
    QCOMPARE(column(p.model(), CheckListModel::NameColumn), QStringList({"notes.txt"}));
    const auto alerts = e.frontend.eventsOf(tpc::test::FrontendEvent::Type::Alert);
    QCOMPARE(alerts.size(), std::size_t(1));
    QCOMPARE(alerts.front().alert.title, std::string("Path(s) not added !"));
    const std::string& message = alerts.front().alert.message;
    QVERIFY2(message.find("no file or folder has exactly this name") != std::string::npos,
             message.c_str());
    QVERIFY2(message.find("reads the same") != std::string::npos, message.c_str());
    QTRY_VERIFY(e.settled());
}

void EraserPageTest::removeFollowsTheSelectionAndRemoveAllEmptiesTheList() {
    Engine e;
    Page p(e);
    p.add({e.at("notes.txt"), e.at("docs/a.bin"), e.at("docs/b.bin")});
    QTRY_VERIFY(e.settled());
    QVERIFY(!p.page.removeButton()->isEnabled());

    clickRow(p.table(), 0);
    QVERIFY(p.page.removeButton()->isEnabled());
    clickRow(p.table(), 2, Qt::ControlModifier);
    QCOMPARE(p.page.selectedRows(), (std::vector<int>{0, 2}));
    // The selection follows its rows through a sort.
    emit p.page.list()->sortPopUp()->activated(1);
    QCOMPARE(column(p.model(), CheckListModel::NameColumn),
             QStringList({"a.bin", "b.bin", "notes.txt"}));
    QCOMPARE(p.page.selectedRows(), (std::vector<int>{1, 2}));
    QTest::mouseClick(p.page.removeButton(), Qt::LeftButton);
    QCOMPARE(column(p.model(), CheckListModel::NameColumn), QStringList({"a.bin"}));
    QCOMPARE(e.app->module<tpc::eraser::EraserModule>()->list().arrayFolders()->size(),
             std::size_t(1));
    QVERIFY(!p.page.removeButton()->isEnabled());

    QTest::mouseClick(p.page.removeAllButton(), Qt::LeftButton);
    QCOMPARE(p.model().rowCount(), 0);
    QVERIFY(!p.page.removeAllButton()->isEnabled());
    // The list on disk is empty too.
    auto loaded = e.app->settings().load("File Eraser");
    QVERIFY(loaded.dict);
    QCOMPARE(loaded.dict->getArray(tpc::eraser::keys::ArrayOfFolders)->size(), std::size_t(0));
}

void EraserPageTest::deleteOptionIsAFoldersChoiceAndIsSaved() {
    Engine e;
    Page p(e);
    p.add({e.at("notes.txt"), e.at("docs")});
    QTRY_VERIFY(e.settled());
    QComboBox* option = p.page.deleteOptionPopUp();
    const QList<QAction*> menu = p.page.rowMenu()->actions();
    QCOMPARE(option->itemText(0), QString("Erase the folder and everything in it"));
    QCOMPARE(option->itemText(1), QString("Erase only what the folder holds"));
    QVERIFY(!option->isEnabled());

    clickRow(p.table(), 0); // the file
    QVERIFY(!option->isEnabled());
    QVERIFY(!menu.at(2)->isEnabled() && !menu.at(3)->isEnabled());

    clickRow(p.table(), 1); // the folder
    QVERIFY(option->isEnabled());
    QCOMPARE(option->currentIndex(), 0);
    option->setCurrentIndex(1);
    emit option->activated(1);
    const auto saved = [&e] {
        auto loaded = e.app->settings().load("File Eraser");
        auto rows = loaded.dict->getArray(tpc::eraser::keys::ArrayOfFolders);
        return rows->at(1).dict()->getBool(tpc::eraser::keys::DeleteOption);
    };
    QVERIFY(saved());
    QVERIFY(menu.at(3)->isChecked());

    // The choice shows again when the folder is selected again, and the menu changes it back.
    clickRow(p.table(), 0);
    QCOMPARE(option->currentIndex(), 0);
    clickRow(p.table(), 1);
    QCOMPARE(option->currentIndex(), 1);
    menu.at(2)->trigger();
    QVERIFY(!saved());
    QCOMPARE(option->currentIndex(), 0);

    // Several rows selected: no single folder to choose for.
    clickRow(p.table(), 0, Qt::ControlModifier);
    QVERIFY(!option->isEnabled());
}

void EraserPageTest::openingThePageDoesNotScanAndTheCleanButtonFollowsTheMarks() {
    Engine e;
    tpc::ui::test::HoverHarness hover;
    tpc::ui::MainWindow window(hover.env());
    auto* page = new EraserPage(*e.app->module<tpc::eraser::EraserModule>(), e.app->context());
    page->attach(window);
    e.app->module<tpc::eraser::EraserModule>()->driver().hooks = page->hooks();
    QStringList chosen;
    page->chooseFiles = [&chosen](bool) {
        return chosen;
    };
    window.show();
    QPushButton* clean = window.cleanButton();

    window.buttonMainShredderClicked();
    QCOMPARE(window.currentPageId(), QString("8"));
    QVERIFY(e.settled());
    QVERIFY(!clean->isEnabled());

    chosen = {e.at("notes.txt")};
    page->addButton()->click();
    QTRY_VERIFY(e.settled());
    QVERIFY(clean->isEnabled());
    clickCheckBox(page->list()->table(), 0);
    QVERIFY(!clean->isEnabled());
    QCOMPARE(page->list()->masterBox()->checkState(), Qt::Unchecked);
    clickCheckBox(page->list()->table(), 0);
    QVERIFY(clean->isEnabled());

    // While a task runs the controls are off.
    e.app->module<tpc::eraser::EraserModule>()->driver().hooks.disableForScan();
    QVERIFY(!page->addButton()->isEnabled() && !page->scanButton()->isEnabled());
    QVERIFY(!page->removeAllButton()->isEnabled() && !clean->isEnabled());
    e.app->module<tpc::eraser::EraserModule>()->driver().hooks.enableAfterScan();
    QVERIFY(page->removeAllButton()->isEnabled() && clean->isEnabled());

    // The Clean button shreds the marked file.
    QTest::mouseClick(clean, Qt::LeftButton);
    QTRY_VERIFY(e.settled());
    QVERIFY(!fs::exists(e.home() / "notes.txt"));
    QVERIFY(fs::exists(e.home() / "docs/a.bin"));

    // Another page takes the Clean button; this page no longer touches it.
    window.buttonMainPreferencesClicked();
    page->reloadList();
    QVERIFY(!clean->isEnabled());
}

void EraserPageTest::openPanelReturnsSelectedFilesAndFolders() {
    tpc::test::TempDir dir;
    tpc::test::writeFile(dir.path() / "folder/inside.txt", "x");
    tpc::test::writeFile(dir.path() / "file.txt", "y");
    tpc::test::writeFile(dir.path() / ".hidden", "z");
    const QString root = QString::fromStdString(dir.path().string());

    tpc::ui::EraserFileDialog dialog(nullptr, root, false);
    QCOMPARE(dialog.windowTitle(), QString("Locate Folders/Files to add"));
    dialog.show();
    auto* view = dialog.findChild<QAbstractItemView*>("listView");
    QVERIFY(view);
    QTRY_COMPARE(view->model()->rowCount(view->rootIndex()), 2);
    QAbstractItemModel* model = view->model();
    for (int row = 0; row < 2; ++row)
        view->selectionModel()->select(model->index(row, 0, view->rootIndex()),
                                       QItemSelectionModel::Select | QItemSelectionModel::Rows);
    auto* buttons = dialog.findChild<QDialogButtonBox*>("buttonBox");
    QPushButton* accept = buttons->button(QDialogButtonBox::Open);
    QTRY_COMPARE(accept->text(), QString("Add Items"));
    QVERIFY(accept->isEnabled());
    QTest::mouseClick(accept, Qt::LeftButton);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QStringList chosen = dialog.chosenPaths();
    chosen.sort();
    QCOMPARE(chosen, QStringList({root + "/file.txt", root + "/folder"}));

    tpc::ui::EraserFileDialog embedded(nullptr, root, true);
    embedded.show();
    auto* embeddedView = embedded.findChild<QAbstractItemView*>("listView");
    QTRY_COMPARE(embeddedView->model()->rowCount(embeddedView->rootIndex()), 3);
}

QTEST_MAIN(EraserPageTest)
#include "EraserPageTest.moc"
