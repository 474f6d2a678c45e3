// The Recents page over a real engine on a fake home and root: the first-run applications, the
// buttons that add and remove them, each row's options pop-up, and the scan opening the page
// starts.

#include "ui/RecentsPage.h"
#include "apps/AppKeys.h"
#include "core/Keys.h"
#include "core/PropertyList.h"
#include "core/Record.h"
#include "ui/CheckListModel.h"
#include "ui/CheckListPanel.h"
#include "ui/MainWindow.h"
#include "ui/MasterCheckBox.h"
#include "ui/QtMainThread.h"
#include "ui/RecentsOptionsMenu.h"
#include "ui/support/HoverHarness.h"
#include "ui/support/PageEngine.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QPushButton>
#include <QTableView>
#include <QTest>

#include <filesystem>
#include <memory>

namespace core = tpc::core;
namespace fs = std::filesystem;
namespace appkeys = tpc::apps::keys;
using tpc::ui::CheckListModel;
using tpc::ui::FileRequest;
using tpc::ui::RecentsPage;

namespace {

void makeBundle(const fs::path& bundle, const std::string& identifier) {
    auto info = core::DictObj::make({{"CFBundleIdentifier", identifier}});
    tpc::test::writeFile(bundle / "Contents/Info.plist", core::plist::toXml(core::Value(info)));
}

// A started engine whose workers reach the page through the Qt event loop. macos: the root's
// Applications folder holds three applications, Safari, and a bundle without an identifier.
struct Engine : tpc::test::PageEngine {
    explicit Engine(tpc::platform::Layout layout = tpc::platform::Layout::MacOS) {
        const fs::path apps = root() / "Applications";
        if (layout == tpc::platform::Layout::MacOS) {
            for (const char* name : {"Alpha", "Beta", "Gamma"})
                makeBundle(apps / (std::string(name) + ".app"), std::string("org.test.") + name);
            makeBundle(apps / "Safari.app", "com.apple.Safari");
            fs::create_directories(apps / "NoId.app/Contents");
        }
        start(layout, [](tpc::platform::Platform& p) {
            fs::create_directories(p.xdgDataHome() / "applications");
        });
    }
    core::ArrayRef rows() {
        return app->module<tpc::apps::AppsModule>()->catalogue().arrayRecents();
    }
    // The list as the settings file "Recents" holds it now.
    core::ArrayRef onDisk() {
        auto loaded = app->settings().load(core::keys::RecentsName);
        return loaded.dict ? loaded.dict->getArray(appkeys::ArrayOfRecents) : nullptr;
    }
    std::vector<core::AlertRequest> alerts() const {
        std::vector<core::AlertRequest> out;
        for (const auto& event : frontend.eventsOf(tpc::test::FrontendEvent::Type::Alert))
            out.push_back(event.alert);
        return out;
    }
};

struct Page {
    explicit Page(Engine& e) : page(*e.app->module<tpc::apps::AppsModule>(), e.app->context()) {
        e.app->module<tpc::apps::AppsModule>()->driver().hooks = page.hooks();
        page.resize(600, 420);
        page.show();
    }
    RecentsPage page;
    QTableView* table() { return page.list()->table(); }
};

QStringList names(const RecentsPage& page) {
    QStringList out;
    const CheckListModel* model = page.list()->model();
    for (int row = 0; row < model->rowCount(); ++row)
        out << model->index(row, CheckListModel::NameColumn).data().toString();
    return out;
}

QPoint cellCenter(QTableView* table, int row) {
    return table->visualRect(table->model()->index(row, CheckListModel::NameColumn)).center();
}

void clickRow(QTableView* table, int row) {
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, cellCenter(table, row));
}

// What the window system sends after a right-click.
void rightClickRow(QTableView* table, int row) {
    const QPoint pos = cellCenter(table, row);
    QContextMenuEvent event(QContextMenuEvent::Mouse, pos, table->viewport()->mapToGlobal(pos));
    QApplication::sendEvent(table->viewport(), &event);
}

} // namespace

class RecentsPageTest : public QObject {
    Q_OBJECT
private slots:
    void firstRunApplicationsAndRemovingThem();
    void optionsMenuTogglesAndSavesAFlag();
    void linuxLayoutAddsDesktopEntriesAndDisablesUnavailableOptions();
    void addingThroughTheChooser();
    void openingThePageScans();
};

void RecentsPageTest::firstRunApplicationsAndRemovingThem() {
    Engine e;
    Page p(e);
    QStringList shown = names(p.page);
    QStringList sorted = shown;
    sorted.sort();
    QCOMPARE(sorted, QStringList({"Alpha", "Beta", "Gamma"}));
    QCOMPARE(p.page.list()->masterBox()->checkState(), Qt::Checked);
    QVERIFY(!p.page.removeButton()->isEnabled());
    QVERIFY(!p.page.optionsButton()->isEnabled());
    QVERIFY(p.page.removeAllButton()->isEnabled());

    clickRow(p.table(), 1);
    QVERIFY(p.page.removeButton()->isEnabled());
    QTest::mouseClick(p.page.removeButton(), Qt::LeftButton);
    QCOMPARE(names(p.page), QStringList({shown[0], shown[2]}));
    QVERIFY(!p.page.removeButton()->isEnabled());
    // The rows left are renumbered without a gap, on disk too.
    for (const core::ArrayRef& rows : {e.rows(), e.onDisk()}) {
        QVERIFY(rows && rows->size() == 2);
        QCOMPARE(rows->at(0).dict()->getInt(core::keys::ValueForDefaultSort), std::int64_t(0));
        QCOMPARE(rows->at(1).dict()->getInt(core::keys::ValueForDefaultSort), std::int64_t(1));
    }

    QTest::mouseClick(p.page.removeAllButton(), Qt::LeftButton);
    QCOMPARE(p.page.list()->model()->rowCount(), 0);
    QVERIFY(!p.page.removeAllButton()->isEnabled());
    QVERIFY(!p.page.list()->masterBox()->isEnabled());
    QCOMPARE(e.onDisk()->size(), std::size_t(0));
}

void RecentsPageTest::optionsMenuTogglesAndSavesAFlag() {
    Engine e;
    Page p(e);
    clickRow(p.table(), 0);
    QTest::mouseClick(p.page.optionsButton(), Qt::LeftButton);
    tpc::ui::RecentsOptionsMenu* menu = p.page.optionsMenu();
    QVERIFY(menu);
    QCOMPARE(menu->row(), 0);
    QStringList titles;
    for (QAction* action : menu->actions())
        titles << action->text();
    QCOMPARE(titles, QStringList({"Cache", "Clear Recents", "Disable Recents", "Clear Dock Recents",
                                  "Disable Dock Recents", "Auto Quit"}));
    QVERIFY(menu->optionAction("Cache")->isChecked());
    QVERIFY(menu->optionAction("Disable Recents")->isEnabled());
    QVERIFY(!menu->optionAction("Disable Recents")->isChecked());

    menu->optionAction("Disable Recents")->trigger();
    QCOMPARE(e.rows()->at(0).dict()->getInt(appkeys::DisableRecents), std::int64_t(1));
    QCOMPARE(e.onDisk()->at(0).dict()->getInt(appkeys::DisableRecents), std::int64_t(1));
    p.page.optionsMenu()->close();
    QTRY_VERIFY(!p.page.optionsMenu());

    // A right-click on a row selects it and opens its options.
    rightClickRow(p.table(), 2);
    QVERIFY(p.page.optionsMenu());
    QCOMPARE(p.page.optionsMenu()->row(), 2);
    QCOMPARE(p.page.list()->selectedRow(), 2);
    p.page.optionsMenu()->optionAction("Cache")->trigger();
    QCOMPARE(e.onDisk()->at(2).dict()->getInt(appkeys::Cache), std::int64_t(0));
    QCOMPARE(e.onDisk()->at(0).dict()->getInt(appkeys::Cache), std::int64_t(1));
}

void RecentsPageTest::linuxLayoutAddsDesktopEntriesAndDisablesUnavailableOptions() {
    Engine e(tpc::platform::Layout::Linux);
    Page p(e);
    const fs::path folder = e.platform->xdgDataHome() / "applications";
    tpc::test::writeFile(folder / "org.test.Editor.desktop",
                         "[Desktop Entry]\nType=Application\nName=Editor\nExec=editor\n");
    const int before = p.page.list()->model()->rowCount();
    FileRequest asked;
    p.page.chooseFiles = [&](const FileRequest& request) {
        asked = request;
        return QStringList{QString::fromStdString((folder / "org.test.Editor.desktop").string())};
    };
    QTest::mouseClick(p.page.addButton(), Qt::LeftButton);
    QCOMPARE(asked.startFolder, QString::fromStdString(folder.string()));
    QCOMPARE(asked.nameFilters, QStringList({"Desktop entries (*.desktop)"}));
    QCOMPARE(p.page.list()->model()->rowCount(), before + 1);

    p.page.showOptionsMenu(before, QPoint(0, 0));
    tpc::ui::RecentsOptionsMenu* menu = p.page.optionsMenu();
    QVERIFY(menu);
    for (const char* flag : {"Disable Recents", "Clear Dock Recents", "Disable Dock Recents"})
        QVERIFY2(!menu->optionAction(flag)->isEnabled(), flag);
    for (const char* flag : {"Cache", "Clear Recents", "Auto Quit"})
        QVERIFY2(menu->optionAction(flag)->isEnabled(), flag);
}

void RecentsPageTest::addingThroughTheChooser() {
    Engine e;
    Page p(e);
    const fs::path elsewhere = e.dir.path() / "Other/Delta.app";
    makeBundle(elsewhere, "org.test.Delta");
    std::vector<FileRequest> asked;
    p.page.chooseFiles = [&](const FileRequest& request) {
        asked.push_back(request);
        return QStringList{QString::fromStdString(elsewhere.string())};
    };

    QTest::mouseClick(p.page.addButton(), Qt::LeftButton);
    QCOMPARE(asked.size(), std::size_t(1));
    QCOMPARE(asked[0].title, QString("Locate App to add"));
    QCOMPARE(asked[0].acceptLabel, QString("Add"));
    QCOMPARE(asked[0].startFolder,
             QString::fromStdString((e.dir.path() / "root/Applications").string()));
    QCOMPARE(asked[0].nameFilters, QStringList({"Applications (*.app)"}));
    QVERIFY(!asked[0].allowFolders);
    QCOMPARE(names(p.page).last(), QString("Delta"));
    QCOMPARE(e.onDisk()->size(), std::size_t(4));

    // The same path again: the alert, nothing added.
    QTest::mouseClick(p.page.addEmbeddedButton(), Qt::LeftButton);
    QVERIFY(asked.back().allowFolders);
    QCOMPARE(names(p.page).size(), 4);
    QCOMPARE(e.alerts().size(), std::size_t(1));
    QCOMPARE(e.alerts()[0].title, std::string("! Application Already Added"));
}

void RecentsPageTest::openingThePageScans() {
    Engine e;
    tpc::ui::test::HoverHarness hover;
    tpc::ui::MainWindow window(hover.env());
    auto* page = new RecentsPage(*e.app->module<tpc::apps::AppsModule>(), e.app->context());
    page->attach(window);
    e.app->module<tpc::apps::AppsModule>()->driver().hooks = page->hooks();
    window.show();

    window.buttonMainRecentsClicked();
    QCOMPARE(window.currentPageId(), QString("4"));
    QVERIFY(e.app->flags().running(core::Category::Recents, core::TaskKind::Scan));
    QVERIFY(!page->scanButton()->isEnabled());
    QVERIFY(!page->addButton()->isEnabled());
    QTRY_VERIFY(!e.app->flags().running(core::Category::Recents, core::TaskKind::Scan));
    QTRY_VERIFY(e.app->tasks().idle());
    QVERIFY(page->scanButton()->isEnabled());
    QVERIFY(page->removeAllButton()->isEnabled());
    QVERIFY(window.cleanButton()->isEnabled());
    QVERIFY(e.frontend.resultText().value_or("").find("Total Size To Clean:") == 0);
}

QTEST_MAIN(RecentsPageTest)
#include "RecentsPageTest.moc"
