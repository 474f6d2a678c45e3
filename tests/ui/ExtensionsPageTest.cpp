// The Extensions page over a real engine on a fake home and root (linux layout): the scan that
// opening the page starts, the two lists with their pictures, master boxes and sort pop-ups, and
// the clean through the window's Clean button.

#include "ui/ExtensionsPage.h"
#include "core/Keys.h"
#include "core/Record.h"
#include "extensions/ExtensionsDriver.h"
#include "extensions/ExtensionsModule.h"
#include "ui/CheckListModel.h"
#include "ui/CheckListPanel.h"
#include "ui/MainWindow.h"
#include "ui/MasterCheckBox.h"
#include "ui/support/HoverHarness.h"
#include "ui/support/PageEngine.h"

#include <QComboBox>
#include <QPushButton>
#include <QTableView>
#include <QTest>

#include <filesystem>

namespace core = tpc::core;
namespace fs = std::filesystem;
using tpc::ui::CheckListModel;
using tpc::ui::CheckListPanel;
using tpc::ui::ExtensionsPage;

namespace {

// Two plug-ins of the user's, one autostart entry of the user's and one of the system's.
struct Engine : tpc::test::PageEngine {
    Engine() {
        tpc::test::writeFile(home() / ".mozilla/plugins/libbig.so", std::string(200000, 'b'));
        tpc::test::writeFile(home() / ".mozilla/plugins/libsmall.so", "s");
        tpc::test::writeFile(home() / ".config/autostart/mine.desktop",
                             "[Desktop Entry]\nType=Application\nName=Mine\n");
        tpc::test::writeFile(root() / "etc/xdg/autostart/tray.desktop",
                             "[Desktop Entry]\nType=Application\nName=Tray\n");
        start(tpc::platform::Layout::Linux);
    }
    tpc::extensions::ExtensionsDriver& driver() {
        return app->module<tpc::extensions::ExtensionsModule>()->driver();
    }
    bool idle() { return PageEngine::idle(core::Category::Ext); }
};

// The page in a window, opened by its main button and scanned.
struct Window {
    explicit Window(Engine& e) : e(e), window(hover.env()) {
        page = new ExtensionsPage(*e.app->module<tpc::extensions::ExtensionsModule>());
        page->attach(window);
        e.driver().hooks = page->hooks();
        window.resize(900, 600);
        window.show();
        window.buttonMainExtManagerClicked();
        QTRY_VERIFY(e.idle());
    }
    Engine& e;
    tpc::ui::test::HoverHarness hover;
    tpc::ui::MainWindow window;
    ExtensionsPage* page = nullptr;
    CheckListPanel& main() { return *page->mainList(); }
    CheckListPanel& sub() { return *page->subList(); }
};

QStringList names(const CheckListPanel& list) {
    QStringList out;
    for (int row = 0; row < list.model()->rowCount(); ++row)
        out << list.model()->index(row, CheckListModel::NameColumn).data().toString();
    return out;
}

// A row's own check box, as a click on it stores it.
void tick(CheckListPanel& list, int row) {
    list.model()->setData(list.model()->index(row, CheckListModel::CheckColumn), Qt::Checked,
                          Qt::CheckStateRole);
}

void choose(QComboBox* popUp, int index) {
    popUp->setCurrentIndex(index);
    emit popUp->activated(index);
}

} // namespace

class ExtensionsPageTest : public QObject {
    Q_OBJECT
private slots:
    void openingThePageScansAndShowsTheFirstCategorysItems();
    void marksSortsAndTheCleanKeepTheCategoryShown();
    void everyCategoryHasAPicture();
};

void ExtensionsPageTest::openingThePageScansAndShowsTheFirstCategorysItems() {
    Engine e;
    Window w(e);
    QCOMPARE(w.window.currentPageId(), QString("13"));
    QCOMPARE(names(w.main()), QStringList({"Internet Plugins", "Login Items"}));
    // The first category is shown, under its own name and picture.
    QCOMPARE(w.main().selectedRow(), 0);
    QCOMPARE(names(w.sub()), QStringList({"libbig", "libsmall"}));
    QCOMPARE(w.sub().masterBox()->text(), QString("Internet Plugins"));
    QVERIFY(!w.sub().masterBox()->icon().isNull());
    QVERIFY(w.sub().masterBox()->isEnabled());
    QVERIFY(e.frontend.resultText()->rfind("Total Size To Clean:", 0) == 0);
    QCOMPARE(e.frontend.subtitle(core::MainButton::Extensions),
             std::optional<std::string>("(4 Items found)"));
    // Nothing is marked: the Clean button waits for a category.
    QVERIFY(!w.window.cleanButton()->isEnabled());
    QCOMPARE(w.main().masterBox()->checkState(), Qt::Unchecked);
}

void ExtensionsPageTest::marksSortsAndTheCleanKeepTheCategoryShown() {
    Engine e;
    Window w(e);
    QPushButton* clean = w.window.cleanButton();

    // Items and categories are marked apart.
    w.main().selectRow(1);
    QCOMPARE(names(w.sub()), QStringList({"mine", "tray"}));
    w.sub().masterBox()->click();
    QCOMPARE(core::countMarked(e.driver().subList()), std::size_t(2));
    QCOMPARE(w.main().masterBox()->checkState(), Qt::Unchecked);
    QVERIFY(!clean->isEnabled());
    tick(w.main(), 1);
    QCOMPARE(w.main().masterBox()->checkState(), Qt::PartiallyChecked);
    QVERIFY(clean->isEnabled());

    // Sorting the categories drops the selection; the items wait for one.
    choose(w.main().sortPopUp(), 1);
    choose(w.main().sortPopUp(), 1);
    QCOMPARE(names(w.main()), QStringList({"Login Items", "Internet Plugins"}));
    QCOMPARE(w.main().selectedRow(), -1);
    QCOMPARE(w.sub().masterBox()->text(), QString("Items"));
    QVERIFY(!w.sub().masterBox()->isEnabled());
    w.main().selectRow(1);
    choose(w.sub().sortPopUp(), 2);
    choose(w.sub().sortPopUp(), 2);
    QCOMPARE(names(w.sub()), QStringList({"libsmall", "libbig"}));

    // The Clean button removes the marked items of the marked category, then rescans.
    w.main().selectRow(0);
    QTest::mouseClick(clean, Qt::LeftButton);
    QCOMPARE(e.frontend.abortButtonTitle(), std::string("Abort Clean"));
    QTRY_VERIFY(e.idle());
    QVERIFY(!fs::exists(e.home() / ".config/autostart/mine.desktop"));
    QVERIFY(fs::exists(e.root() / "etc/xdg/autostart/tray.desktop"));
    QVERIFY(fs::exists(e.home() / ".mozilla/plugins/libsmall.so"));
    QCOMPARE(e.frontend.resultText(), std::optional<std::string>("Cleaning Done"));
    // The lists are those of a fresh scan, still showing the category that was selected.
    QCOMPARE(names(w.main()), QStringList({"Internet Plugins", "Login Items"}));
    QCOMPARE(w.main().selectedRow(), 1);
    QCOMPARE(w.sub().masterBox()->text(), QString("Login Items"));
    QCOMPARE(w.sub().model()->rowCount(), 0);
    QVERIFY(!clean->isEnabled());
}

void ExtensionsPageTest::everyCategoryHasAPicture() {
    // Named after the category (a root showing an application by "Path"), or by its "Icon".
    for (const char* title : {"Contacts Plugins", "Dictionaries", "Safari Extensions",
                              "Internet Plugins", "Quick Look Plugins", "Spotlight Plugins",
                              "Widgets", "Login Items", "Firefox Extensions", "Shell Extensions"}) {
        auto shown = core::DictObj::make({{core::keys::Description, title}});
        auto root = core::DictObj::make({{core::keys::DescriptionDictionary, shown}});
        QVERIFY2(!ExtensionsPage::categoryIcon(root).isNull(), title);
        shown->set(core::keys::Icon, std::string(title) + ".png");
        QVERIFY2(!ExtensionsPage::categoryIcon(root).isNull(), title);
    }
}

QTEST_MAIN(ExtensionsPageTest)
#include "ExtensionsPageTest.moc"
