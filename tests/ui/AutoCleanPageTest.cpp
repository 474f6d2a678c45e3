// The Auto clean page over a real engine on a fake home and root where three browsers are
// installed: the presets list and its buttons, the selected preset's outline and its marking,
// the status menu's "Clean" submenu and the "Add to Preset" pop-up of a category page, all
// following the presets through the same listeners the application uses.

#include "ui/AutoCleanPage.h"
#include "core/Record.h"
#include "presets/PresetModel.h"
#include "presets/PresetRunner.h"
#include "presets/PresetsModule.h"
#include "ui/AddToPresetButton.h"
#include "ui/CheckListModel.h"
#include "ui/CheckListPanel.h"
#include "ui/MainWindow.h"
#include "ui/MasterCheckBox.h"
#include "ui/PresetListeners.h"
#include "ui/PresetOutlineModel.h"
#include "ui/PresetOutlinePanel.h"
#include "ui/StatusItem.h"
#include "ui/SystemPage.h"
#include "ui/support/HoverHarness.h"
#include "ui/support/PageEngine.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QRegularExpression>
#include <QStyle>
#include <QTableView>
#include <QTest>
#include <QTreeView>

#include <filesystem>

namespace core = tpc::core;
namespace fs = std::filesystem;
using tpc::ui::AutoCleanPage;
using tpc::ui::CheckListModel;
using tpc::ui::PresetOutlineModel;

namespace {

struct Engine : tpc::test::PageEngine {
    Engine() {
        for (const char* name : {"Firefox", "Google Chrome", "Opera"})
            fs::create_directories(root() / "Applications" / (std::string(name) + ".app"));
        tpc::test::writeFile(home() / "Library/Logs/one.log", "123456789012");
        scripts->answer = "7";
        start();
    }
    tpc::presets::PresetsModule& presets() { return *app->module<tpc::presets::PresetsModule>(); }
    tpc::presets::PresetModel& model() { return presets().model(); }
};

// The page with its hooks, hearing the presets as the application's page does.
struct Page {
    explicit Page(Engine& e) : page(e.presets()), listeners(e.model()) {
        e.presets().runner().hooks = page.hooks();
        listeners.setPage(&page);
        listeners.setStatusItem(&tray);
        page.resize(640, 460);
        page.show();
    }
    AutoCleanPage page;
    tpc::ui::StatusItem tray;
    tpc::ui::PresetListeners listeners;
};

QStringList presetNames(const AutoCleanPage& page) {
    QStringList out;
    const CheckListModel* model = page.mainList()->model();
    for (int row = 0; row < model->rowCount(); ++row)
        out << model->index(row, CheckListModel::NameColumn).data().toString();
    return out;
}

// The outline's rows as "name" for categories and "  name" for their items.
QStringList outline(const AutoCleanPage& page) {
    QStringList out;
    const PresetOutlineModel* model = page.subList()->model();
    for (int row = 0; row < model->rowCount(); ++row) {
        const QModelIndex top = model->index(row, 0);
        out << top.data().toString();
        for (int item = 0; item < model->rowCount(top); ++item)
            out << "  " + model->index(item, 0, top).data().toString();
    }
    return out;
}

// Clicks the check box drawn at `index`, where the item delegate looks for the click.
void clickCheckBox(QAbstractItemView* view, const QModelIndex& index) {
    QStyleOptionViewItem option;
    option.initFrom(view->viewport());
    option.rect = view->visualRect(index);
    option.features |= QStyleOptionViewItem::HasCheckIndicator;
    const QRect box =
        view->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, view);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, box.center());
}

void clickRow(QAbstractItemView* view, const QModelIndex& index) {
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(index).center());
}

void clickMaster(QCheckBox* box) {
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
}

QStringList entries(const QComboBox* popUp) {
    QStringList out;
    for (int i = 0; i < popUp->count(); ++i)
        out << popUp->itemText(i);
    return out;
}

} // namespace

class AutoCleanPageTest : public QObject {
    Q_OBJECT
private slots:
    void presetsAreAddedAndRemovedAndTheTrayFollows();
    void outlineMarksThroughTheModelAndTheMasterBoxes();
    void addToPresetOnTheSystemPagePutsTheRowUnderSystemJunk();
    void oneClickBoxAndTheSharedCleanButton();
};

void AutoCleanPageTest::presetsAreAddedAndRemovedAndTheTrayFollows() {
    Engine e;
    Page p(e);
    QCOMPARE(presetNames(p.page), QStringList({"One Click Clean"}));
    QCOMPARE(p.tray.cleanMenuTitles(), (std::vector<std::string>{"One Click Clean", ""}));
    // The built-in preset is selected at start and cannot be removed.
    QCOMPARE(p.page.mainList()->selectedRow(), 0);
    QVERIFY(!p.page.removeButton()->isEnabled());

    QTest::mouseClick(p.page.addButton(), Qt::LeftButton);
    QCOMPARE(presetNames(p.page), QStringList({"One Click Clean", "Preset #1"}));
    QCOMPARE(p.page.mainList()->selectedRow(), 1);
    QVERIFY(p.page.removeButton()->isEnabled());
    QVERIFY(outline(p.page).isEmpty());
    QVERIFY(!p.page.subList()->masterBox()->isChecked());
    QCOMPARE(p.tray.cleanMenuTitles(),
             (std::vector<std::string>{"One Click Clean", "", "Preset #1"}));

    // The submenu's rebuild keeps its rule: with two presets, an old entry stays behind.
    p.page.addPreset();
    p.page.addPreset();
    QCOMPARE(p.tray.cleanMenuTitles(),
             (std::vector<std::string>{"One Click Clean", "", "Preset #2", "Preset #1", "Preset #2",
                                       "Preset #3"}));
    std::string chosen;
    p.tray.onCleanPreset = [&](const std::string& title) {
        chosen = title;
    };
    p.tray.cleanMenu()->actions().at(5)->trigger();
    QCOMPARE(chosen, std::string("Preset #3"));

    // Main-list master box: all marked, then one unmarked (mixed), then a click marks all.
    QCOMPARE(p.page.mainList()->masterBox()->checkState(), Qt::Checked);
    clickCheckBox(p.page.mainList()->table(), p.page.mainList()->model()->index(2, 0));
    QVERIFY(!core::isMarked(e.model().presets()->at(2).dict()));
    QCOMPARE(p.page.mainList()->masterBox()->checkState(), Qt::PartiallyChecked);
    clickMaster(p.page.mainList()->masterBox());
    QCOMPARE(core::countMarked(e.model().presets()), std::size_t(4));
    clickMaster(p.page.mainList()->masterBox());
    QCOMPARE(core::countMarked(e.model().presets()), std::size_t(0));
    QCOMPARE(p.page.mainList()->masterBox()->checkState(), Qt::Unchecked);

    // Removing the selected preset leaves nothing selected; the built-in one is guarded.
    clickRow(p.page.mainList()->table(), p.page.mainList()->model()->index(1, 1));
    QTest::mouseClick(p.page.removeButton(), Qt::LeftButton);
    QCOMPARE(presetNames(p.page), QStringList({"One Click Clean", "Preset #2", "Preset #3"}));
    QVERIFY(!p.page.removeButton()->isEnabled());
    clickRow(p.page.mainList()->table(), p.page.mainList()->model()->index(0, 1));
    QVERIFY(!p.page.removeButton()->isEnabled());
    p.page.removeSelectedPreset();
    QCOMPARE(presetNames(p.page).size(), 3);
}

void AutoCleanPageTest::outlineMarksThroughTheModelAndTheMasterBoxes() {
    Engine e;
    Page p(e);
    QTreeView* tree = p.page.subList()->tree();
    const PresetOutlineModel* model = p.page.subList()->model();
    // The built-in preset holds every browser and the system junk, shown expanded.
    const QStringList rows = outline(p.page);
    QCOMPARE(rows.filter(QRegularExpression("^\\S")),
             QStringList({"Firefox", "Google Chrome", "Opera", "Clean System Junk"}));
    QVERIFY(rows.contains("  Logs"));
    QVERIFY(tree->isExpanded(model->index(0, 0)));

    // The Downloads stay unmarked as on the System page: the master box is mixed; a click marks
    // both levels, the next unmarks them.
    QCOMPARE(p.page.subList()->masterBox()->checkState(), Qt::PartiallyChecked);
    clickMaster(p.page.subList()->masterBox());
    QCOMPARE(p.page.subList()->masterBox()->checkState(), Qt::Checked);
    QCOMPARE(model->index(3, 0).data(Qt::CheckStateRole), QVariant(Qt::Checked));
    clickMaster(p.page.subList()->masterBox());
    QCOMPARE(p.page.subList()->masterBox()->checkState(), Qt::Unchecked);
    const core::DictRef firefox = model->record(model->index(0, 0));
    QVERIFY(!core::isMarked(firefox));

    // Marking one item marks its category record, shown partly checked; the preset's own mark
    // is not touched.
    const bool presetMarked = core::isMarked(e.model().selectedPreset());
    clickCheckBox(tree, model->index(0, 0, model->index(0, 0)));
    QVERIFY(core::isMarked(firefox));
    QCOMPARE(model->index(0, 0).data(Qt::CheckStateRole), QVariant(Qt::PartiallyChecked));
    QCOMPARE(p.page.subList()->masterBox()->checkState(), Qt::PartiallyChecked);
    QCOMPARE(core::isMarked(e.model().selectedPreset()), presetMarked);
    // The outline stays expanded after the model's reload.
    QVERIFY(tree->isExpanded(model->index(0, 0)));

    // Unmarking that last marked item unmarks the category again.
    clickCheckBox(tree, model->index(0, 0, model->index(0, 0)));
    QVERIFY(!core::isMarked(firefox));
    QCOMPARE(p.page.subList()->masterBox()->checkState(), Qt::Unchecked);

    // A partly checked category marks all its items when clicked.
    clickCheckBox(tree, model->index(1, 0, model->index(0, 0)));
    clickCheckBox(tree, model->index(0, 0));
    QCOMPARE(core::countMarked(core::subList(firefox)), core::subList(firefox)->size());
    QCOMPARE(model->index(0, 0).data(Qt::CheckStateRole), QVariant(Qt::Checked));

    // The built-in preset's items are not removed with the button, which keeps its state.
    clickRow(tree, model->index(0, 0));
    QVERIFY(!p.page.removeItemButton()->isEnabled());
}

void AutoCleanPageTest::addToPresetOnTheSystemPagePutsTheRowUnderSystemJunk() {
    Engine e;
    Page p(e);
    tpc::ui::SystemPage system(*e.app->module<tpc::system::SystemModule>());
    tpc::ui::AddToPresetButton* popUp = system.addToPresetButton();
    QVERIFY(popUp->isHidden());
    p.listeners.addPopUp(popUp);
    QCOMPARE(entries(popUp), QStringList({"Add Item to Preset", ""}));
    p.page.addPreset();
    QCOMPARE(entries(popUp), QStringList({"Add Item to Preset", "", "Preset #1"}));

    // Without a selected row the choice does nothing.
    emit popUp->activated(2);
    QVERIFY(core::subList(e.model().presetNamed("Preset #1"))->empty());

    system.list()->selectRow(2); // Logs
    emit popUp->activated(2);
    QCOMPARE(popUp->currentIndex(), 0);
    QCOMPARE(outline(p.page), QStringList({"Clean System Junk", "  Logs"}));
    // Twice is once.
    emit popUp->activated(2);
    QCOMPARE(outline(p.page).size(), 2);

    // Its category record can be removed from an added preset, and goes with its last item.
    const PresetOutlineModel* model = p.page.subList()->model();
    clickRow(p.page.subList()->tree(), model->index(0, 0));
    QVERIFY(p.page.removeItemButton()->isEnabled());
    QTest::mouseClick(p.page.removeItemButton(), Qt::LeftButton);
    QVERIFY(outline(p.page).isEmpty());
}

void AutoCleanPageTest::oneClickBoxAndTheSharedCleanButton() {
    Engine e;
    tpc::ui::test::HoverHarness hover;
    tpc::ui::MainWindow window(hover.env());
    auto* page = new AutoCleanPage(e.presets());
    tpc::ui::PresetListeners listeners(e.model());
    listeners.setPage(page);
    page->attach(window);
    e.presets().runner().hooks = page->hooks();
    window.show();

    QVERIFY(page->oneClickBox()->isHidden());
    e.presets().runner().scanOneClickCleanPreset(
        [page](const tpc::presets::OneClickResult& result) { page->showOneClickResult(result); });
    QVERIFY(!page->oneClickBox()->isHidden());
    QVERIFY(page->oneClickButton()->isEnabled());
    QCOMPARE(page->oneClickSizeLabel()->text(), QString("Size to clean: 0.01 KB"));
    QVERIFY(page->oneClickItemsLabel()->text().endsWith(" items"));
    // The measured sizes show beside the system junk record.
    const PresetOutlineModel* model = page->subList()->model();
    QCOMPARE(model->index(3, PresetOutlineModel::SizeColumn).data().toString(), QString("0.01 KB"));

    window.buttonMainAutoCleanClicked();
    QCOMPARE(window.currentPageId(), QString("2"));
    QVERIFY(window.cleanButton()->isEnabled());
    clickMaster(page->mainList()->masterBox());
    QVERIFY(!window.cleanButton()->isEnabled());
    // A preset task turns the controls off.
    e.presets().runner().hooks.disableForScan();
    QVERIFY(!page->scanButton()->isEnabled() && !page->oneClickButton()->isEnabled());
    e.presets().runner().hooks.enableAfterScan();
    QVERIFY(page->scanButton()->isEnabled() && page->oneClickButton()->isEnabled());
}

QTEST_MAIN(AutoCleanPageTest)
#include "AutoCleanPageTest.moc"
