// The Browsers page over a real engine on a fake home and root: the two check-box lists with
// their master boxes and sort pop-ups, the cookie keep and delete lists, the page hooks, and the
// scan that opening the page starts.

#include "ui/BrowsersPage.h"
#include "browsers/BrowserDriver.h"
#include "browsers/BrowserLocations.h"
#include "browsers/sqlite/Databases.h"
#include "core/Keys.h"
#include "core/Record.h"
#include "ui/CheckListModel.h"
#include "ui/CheckListPanel.h"
#include "ui/CookieListsPanel.h"
#include "ui/MainWindow.h"
#include "ui/MasterCheckBox.h"
#include "ui/QtMainThread.h"
#include "ui/support/HoverHarness.h"
#include "ui/support/PageEngine.h"

#include <QComboBox>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QStringListModel>
#include <QStyle>
#include <QTabWidget>
#include <QTableView>
#include <QTest>

#include <algorithm>
#include <filesystem>
#include <memory>

namespace core = tpc::core;
namespace keys = tpc::core::keys;
namespace fs = std::filesystem;
using tpc::browsers::CookieBrowser;
using tpc::browsers::CookieLists;
using tpc::ui::BrowsersPage;
using tpc::ui::CheckListModel;
using tpc::ui::CheckListPanel;

namespace {

// A started engine whose workers reach the page through the Qt event loop, on a fake root where
// Firefox, Google Chrome and Opera are installed and a home where Firefox holds cookies.
struct Engine : tpc::test::PageEngine {
    explicit Engine(const std::vector<std::string>& cookieHosts = {
                        "example.com", ".Example.org", "news.site.net", "myexample.net"}) {
        for (const char* name : {"Firefox", "Google Chrome", "Opera"})
            fs::create_directories(root() / "Applications" / (std::string(name) + ".app"));
        start(tpc::platform::Layout::MacOS, [&](tpc::platform::Platform&) {
            fs::create_directories(cookiesStore().parent_path());
            tpc::test::execSql(
                cookiesStore(),
                "CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, name TEXT, host TEXT);");
            for (const auto& host : cookieHosts)
                addCookie(host);
        });
    }

    fs::path cookiesStore() const {
        return tpc::browsers::BrowserLocations(*platform).firefoxProfilesFolder() / "abcd.default" /
               "cookies.sqlite";
    }
    void addCookie(const std::string& host) {
        tpc::test::execSql(cookiesStore(),
                           "INSERT INTO moz_cookies (name, host) VALUES ('n', '" + host + "');");
    }
    tpc::browsers::BrowserDriver& driver() {
        return app->module<tpc::browsers::BrowsersModule>()->driver();
    }

    // The keep list of a browser as the settings file "Cookies" holds it now.
    std::vector<std::string> keptOnDisk(CookieBrowser b) {
        std::vector<std::string> out;
        auto loaded = app->settings().load(keys::CookiesName);
        if (loaded.status != core::Settings::LoadStatus::Loaded)
            return out;
        if (auto list = loaded.dict->getArray(CookieLists::allowedKey(b)))
            for (const auto& v : *list)
                out.push_back(v.toString());
        return out;
    }
};

// A page shown on screen with its hooks on the driver.
struct Page {
    explicit Page(Engine& e)
        : page(*e.app->module<tpc::browsers::BrowsersModule>(), e.app->context()) {
        e.driver().hooks = page.hooks();
        page.resize(560, 430);
        page.show();
    }
    BrowsersPage page;
    CheckListPanel& main() { return *page.mainList(); }
    CheckListPanel& sub() { return *page.subList(); }
};

QStringList names(const CheckListPanel& list) {
    QStringList out;
    const CheckListModel* model = list.model();
    for (int row = 0; row < model->rowCount(); ++row)
        out << model->index(row, CheckListModel::NameColumn).data().toString();
    return out;
}

QStringList shown(const QListView* table) {
    return static_cast<const QStringListModel*>(table->model())->stringList();
}

std::vector<std::string> marks(const core::ArrayRef& rows) {
    std::vector<std::string> out;
    for (const auto& rec : rows->dicts())
        out.push_back(core::description(rec) + "=" + std::to_string(core::mark(rec)));
    return out;
}

// Clicks the check box drawn in a row, where the item delegate looks for the click.
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

// Clicks a row by its name.
void clickRow(QAbstractItemView* view, int row, Qt::KeyboardModifiers modifiers = {}) {
    const int column = view->model()->columnCount() > 1 ? CheckListModel::NameColumn : 0;
    const QModelIndex index = view->model()->index(row, column);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, modifiers,
                      view->visualRect(index).center());
}

void clickMaster(CheckListPanel& list) {
    QTest::mouseClick(list.masterBox(), Qt::LeftButton, {},
                      QPoint(8, list.masterBox()->height() / 2));
}

} // namespace

class BrowsersPageTest : public QObject {
    Q_OBJECT
private slots:
    // The browsers and their items.
    void pageOpensOnTheInstalledBrowsersMarkedAndTheirCookies();
    void rootCheckBoxesAndTheMasterBoxMarkTheBrowsers();
    void selectingARootShowsItsItemsAndTheirMasterBoxMarksOnlyThem();
    void sortPopUpsSortAndReverseAndClearTheSelection();
    // The cookie lists.
    void movingDomainsBetweenTheListsPersistsThem();
    void searchFiltersTheDeleteTableCaseInsensitively();
    // Hooks and the window.
    void hooksTurnTheControlsOffAndOnAndReloadTheLists();
    void openingThePageScansAndPointsTheCleanButtonAtTheBrowsers();
};

void BrowsersPageTest::pageOpensOnTheInstalledBrowsersMarkedAndTheirCookies() {
    Engine e;
    Page p(e);
    QCOMPARE(names(p.main()), QStringList({"Firefox", "Google Chrome", "Opera"}));
    const CheckListModel* model = p.main().model();
    for (int row = 0; row < 3; ++row) {
        QCOMPARE(model->index(row, CheckListModel::CheckColumn).data(Qt::CheckStateRole),
                 QVariant(Qt::Checked));
        QCOMPARE(model->index(row, CheckListModel::SizeColumn).data().toString(),
                 QString("0.00 KB"));
    }
    QCOMPARE(p.main().masterBox()->checkState(), Qt::Checked);
    QCOMPARE(p.main().sortPopUp()->currentText(), QString("Default Sort"));
    QCOMPARE(p.main().sortPopUp()->count(), 3);
    QCOMPARE(p.main().sortPopUp()->itemText(1), QString("Sort by Name"));
    QCOMPARE(p.main().sortPopUp()->itemText(2), QString("Sort by Size"));
    // The page opens on the first browser's items.
    QCOMPARE(p.main().selectedRow(), 0);
    QCOMPARE(e.driver().selectedMainRow(), 0);
    QCOMPARE(names(p.sub()).first(), QString("Internet History"));
    QCOMPARE(names(p.sub()).last(), QString("Auto Quit Firefox"));
    QVERIFY(p.sub().masterBox()->isEnabled());
    QVERIFY(p.sub().sortPopUp()->isEnabled());

    // The cookie lists offer the installed browsers, opening on the first one's domains.
    QComboBox* chooser = p.page.cookiePanel()->browserChooser();
    QCOMPARE(chooser->count(), 3);
    QCOMPARE(chooser->itemText(0), QString("Firefox"));
    QCOMPARE(chooser->itemText(1), QString("Google Chrome"));
    QCOMPARE(chooser->itemText(2), QString("Opera"));
    QVERIFY(p.page.cookiePanel()->currentBrowser() == CookieBrowser::Firefox);
    // Sorted case-insensitively, leading dots gone.
    QCOMPARE(shown(p.page.cookiePanel()->deleteTable()),
             QStringList({"example.com", "Example.org", "myexample.net", "news.site.net"}));
    QVERIFY(shown(p.page.cookiePanel()->keepTable()).isEmpty());
    chooser->setCurrentIndex(1);
    QVERIFY(p.page.cookiePanel()->currentBrowser() == CookieBrowser::Chrome);
    QVERIFY(shown(p.page.cookiePanel()->deleteTable()).isEmpty());
}

void BrowsersPageTest::rootCheckBoxesAndTheMasterBoxMarkTheBrowsers() {
    Engine e;
    Page p(e);
    const core::ArrayRef roots = e.driver().list();

    clickCheckBox(p.main().table(), 1);
    QCOMPARE(marks(roots), (std::vector<std::string>{"Firefox=1", "Google Chrome=0", "Opera=1"}));
    QCOMPARE(p.main().masterBox()->checkState(), Qt::PartiallyChecked);
    QVERIFY(e.driver().enableOrDisableBrowserScanAndCleanButton());

    clickCheckBox(p.main().table(), 0);
    clickCheckBox(p.main().table(), 2);
    QCOMPARE(marks(roots), (std::vector<std::string>{"Firefox=0", "Google Chrome=0", "Opera=0"}));
    QCOMPARE(p.main().masterBox()->checkState(), Qt::Unchecked);

    clickCheckBox(p.main().table(), 2);
    QCOMPARE(core::mark(roots->at(2).dict()), std::int64_t(1));
    QCOMPARE(p.main().model()->index(2, 0).data(Qt::CheckStateRole), QVariant(Qt::Checked));
    QCOMPARE(p.main().masterBox()->checkState(), Qt::PartiallyChecked);

    // A click on the mixed master box marks all, the next unmarks all.
    clickMaster(p.main());
    QCOMPARE(marks(roots), (std::vector<std::string>{"Firefox=1", "Google Chrome=1", "Opera=1"}));
    QCOMPARE(p.main().masterBox()->checkState(), Qt::Checked);
    for (int row = 0; row < 3; ++row)
        QCOMPARE(p.main().model()->index(row, 0).data(Qt::CheckStateRole), QVariant(Qt::Checked));

    clickMaster(p.main());
    QCOMPARE(marks(roots), (std::vector<std::string>{"Firefox=0", "Google Chrome=0", "Opera=0"}));
    QCOMPARE(p.main().masterBox()->checkState(), Qt::Unchecked);

    // The keyboard does what the mouse does.
    p.main().masterBox()->setFocus();
    QTest::keyClick(p.main().masterBox(), Qt::Key_Space);
    QCOMPARE(marks(roots), (std::vector<std::string>{"Firefox=1", "Google Chrome=1", "Opera=1"}));
    QCOMPARE(p.main().masterBox()->checkState(), Qt::Checked);
}

void BrowsersPageTest::selectingARootShowsItsItemsAndTheirMasterBoxMarksOnlyThem() {
    Engine e;
    Page p(e);
    clickRow(p.main().table(), 1);
    QCOMPARE(p.main().selectedRow(), 1);
    QCOMPARE(e.driver().selectedMainRow(), 1);
    const auto* chrome =
        e.app->module<tpc::browsers::BrowsersModule>()->cleaners().find("Google Chrome");
    QVERIFY(chrome);
    QStringList expected;
    for (const auto& item : chrome->items)
        expected << QString::fromStdString(item);
    QCOMPARE(names(p.sub()), expected);
    QCOMPARE(names(p.sub()).last(), QString("Auto Quit Chrome"));
    QCOMPARE(p.sub().model()->index(expected.size() - 1, CheckListModel::SizeColumn).data(),
             QVariant(QString("-")));
    QVERIFY(p.sub().masterBox()->isEnabled());
    QCOMPARE(p.sub().masterBox()->checkState(), Qt::Checked);

    // Unmarking one item marks the sub list mixed and leaves the root alone.
    clickCheckBox(p.sub().table(), 0);
    QCOMPARE(core::mark(e.driver().subList()->at(0).dict()), std::int64_t(0));
    QCOMPARE(p.sub().masterBox()->checkState(), Qt::PartiallyChecked);
    QCOMPARE(core::mark(e.driver().list()->at(1).dict()), std::int64_t(1));

    clickRow(p.main().table(), 2);
    QCOMPARE(names(p.sub()).first(), QString("Internet History"));
    QCOMPARE(names(p.sub()).last(), QString("Auto Quit Opera"));
    QCOMPARE(p.sub().masterBox()->checkState(), Qt::Checked);

    clickRow(p.main().table(), 0);
    clickMaster(p.sub());
    QCOMPARE(core::countMarked(e.driver().subList()), std::size_t(0));
    QCOMPARE(p.sub().masterBox()->checkState(), Qt::Unchecked);
    // The other browsers' items (Chrome's first one unmarked above) and the roots keep their marks.
    const auto chromeItems = core::subList(e.driver().list()->at(1).dict());
    const auto opera = core::subList(e.driver().list()->at(2).dict());
    QCOMPARE(core::countMarked(chromeItems), chromeItems->size() - 1);
    QCOMPARE(core::countMarked(opera), opera->size());
    QCOMPARE(p.main().masterBox()->checkState(), Qt::Checked);

    clickMaster(p.sub());
    QCOMPARE(core::countMarked(e.driver().subList()), e.driver().subList()->size());
    QCOMPARE(p.sub().masterBox()->checkState(), Qt::Checked);
}

void BrowsersPageTest::sortPopUpsSortAndReverseAndClearTheSelection() {
    Engine e;
    Page p(e);
    clickRow(p.main().table(), 0);
    QComboBox* popUp = p.main().sortPopUp();
    popUp->setCurrentIndex(1);
    emit popUp->activated(1);
    QCOMPARE(names(p.main()), QStringList({"Firefox", "Google Chrome", "Opera"}));
    QCOMPARE(p.main().selectedRow(), -1);
    QCOMPARE(p.sub().model()->rowCount(), 0);
    QCOMPARE(popUp->currentIndex(), 1);
    // No browser selected: the sub list's box and pop-up wait for one.
    QVERIFY(!p.sub().masterBox()->isEnabled());
    QVERIFY(!p.sub().sortPopUp()->isEnabled());

    // The sort in force, chosen again, reverses.
    emit popUp->activated(1);
    QCOMPARE(names(p.main()), QStringList({"Opera", "Google Chrome", "Firefox"}));

    popUp->setCurrentIndex(0);
    emit popUp->activated(0);
    QCOMPARE(names(p.main()), QStringList({"Firefox", "Google Chrome", "Opera"}));
    QCOMPARE(popUp->currentIndex(), 0);

    // The sub list sorts the selected browser's items; the browser stays selected.
    clickRow(p.main().table(), 1);
    QComboBox* subPopUp = p.sub().sortPopUp();
    subPopUp->setCurrentIndex(1);
    emit subPopUp->activated(1);
    emit subPopUp->activated(1);
    QCOMPARE(names(p.sub()).first(), QString("Top Sites"));
    QCOMPARE(subPopUp->currentIndex(), 1);
    QCOMPARE(p.main().selectedRow(), 1);
}

void BrowsersPageTest::movingDomainsBetweenTheListsPersistsThem() {
    Engine e;
    Page p(e);
    auto* cookies = p.page.cookiePanel();
    p.page.tabs()->setCurrentWidget(cookies);
    QVERIFY(!cookies->keepButton()->isEnabled());

    clickRow(cookies->deleteTable(), 1); // "Example.org"
    QVERIFY(cookies->keepButton()->isEnabled());
    QTest::mouseClick(cookies->keepButton(), Qt::LeftButton);

    const auto& lists = e.app->module<tpc::browsers::BrowsersModule>()->cookies();
    QCOMPARE(lists.allowed(CookieBrowser::Firefox), std::vector<std::string>{"Example.org"});
    QVERIFY(!lists.disAllowedListContains(CookieBrowser::Firefox, "Example.org"));
    QCOMPARE(e.keptOnDisk(CookieBrowser::Firefox), std::vector<std::string>{"Example.org"});
    QCOMPARE(shown(cookies->keepTable()), QStringList({"Example.org"}));
    QCOMPARE(shown(cookies->deleteTable()),
             QStringList({"example.com", "myexample.net", "news.site.net"}));
    QVERIFY(!cookies->keepButton()->isEnabled());
    QVERIFY(!cookies->deleteTable()->selectionModel()->hasSelection());

    // A refresh reads the browser's cookies again but does not bring a kept domain back.
    e.addCookie("..later.example.net");
    QTest::mouseClick(cookies->refreshButton(), Qt::LeftButton);
    QCOMPARE(shown(cookies->deleteTable()),
             QStringList({"example.com", "later.example.net", "myexample.net", "news.site.net"}));
    QCOMPARE(shown(cookies->keepTable()), QStringList({"Example.org"}));

    // Several at once, and back again.
    clickRow(cookies->deleteTable(), 0);
    clickRow(cookies->deleteTable(), 3, Qt::ControlModifier);
    QTest::mouseClick(cookies->keepButton(), Qt::LeftButton);
    QCOMPARE(shown(cookies->keepTable()),
             QStringList({"example.com", "Example.org", "news.site.net"}));
    QCOMPARE(e.keptOnDisk(CookieBrowser::Firefox),
             (std::vector<std::string>{"example.com", "Example.org", "news.site.net"}));

    QVERIFY(!cookies->deleteButton()->isEnabled());
    clickRow(cookies->keepTable(), 2);
    QVERIFY(cookies->deleteButton()->isEnabled());
    QTest::mouseClick(cookies->deleteButton(), Qt::LeftButton);
    QCOMPARE(shown(cookies->keepTable()), QStringList({"example.com", "Example.org"}));
    QVERIFY(e.app->module<tpc::browsers::BrowsersModule>()->cookies().disAllowedListContains(
        CookieBrowser::Firefox, "news.site.net"));
    QCOMPARE(e.keptOnDisk(CookieBrowser::Firefox),
             (std::vector<std::string>{"example.com", "Example.org"}));
}

void BrowsersPageTest::searchFiltersTheDeleteTableCaseInsensitively() {
    Engine e;
    Page p(e);
    auto* cookies = p.page.cookiePanel();
    p.page.tabs()->setCurrentWidget(cookies);

    QTest::keyClicks(cookies->deleteSearchField(), "EXAMPLE");
    QCOMPARE(shown(cookies->deleteTable()),
             QStringList({"example.com", "Example.org", "myexample.net"}));
    QCOMPARE(e.app->module<tpc::browsers::BrowsersModule>()->cookies().deleteSearchText(
                 CookieBrowser::Firefox),
             std::string("EXAMPLE"));

    // Moving a filtered row moves the domain it shows.
    clickRow(cookies->deleteTable(), 2);
    QTest::mouseClick(cookies->keepButton(), Qt::LeftButton);
    QCOMPARE(
        e.app->module<tpc::browsers::BrowsersModule>()->cookies().allowed(CookieBrowser::Firefox),
        std::vector<std::string>{"myexample.net"});
    QCOMPARE(shown(cookies->deleteTable()), QStringList({"example.com", "Example.org"}));

    // The keep side has its own filter.
    QTest::keyClicks(cookies->keepSearchField(), "zzz");
    QVERIFY(shown(cookies->keepTable()).isEmpty());
    cookies->keepSearchField()->clear();
    QCOMPARE(shown(cookies->keepTable()), QStringList({"myexample.net"}));

    cookies->deleteSearchField()->clear();
    QCOMPARE(shown(cookies->deleteTable()),
             QStringList({"example.com", "Example.org", "news.site.net"}));

    // Each browser keeps its own search text.
    QTest::keyClicks(cookies->deleteSearchField(), "site");
    cookies->browserChooser()->setCurrentIndex(2);
    QCOMPARE(cookies->deleteSearchField()->text(), QString());
    cookies->browserChooser()->setCurrentIndex(0);
    QCOMPARE(cookies->deleteSearchField()->text(), QString("site"));
    QCOMPARE(shown(cookies->deleteTable()), QStringList({"news.site.net"}));
}

void BrowsersPageTest::hooksTurnTheControlsOffAndOnAndReloadTheLists() {
    Engine e;
    Page p(e);
    const core::PageHooks& hooks = e.driver().hooks;
    QVERIFY(hooks.disableForScan && hooks.enableAfterScan && hooks.disableForClean &&
            hooks.enableAfterClean && hooks.reloadLists);

    hooks.disableForScan();
    for (QWidget* w : std::initializer_list<QWidget*>{
             p.main().table(), p.main().masterBox(), p.main().sortPopUp(), p.sub().table(),
             p.page.scanButton(), p.page.cookiePanel()->deleteTable(),
             p.page.cookiePanel()->refreshButton()})
        QVERIFY(!w->isEnabled());
    hooks.enableAfterScan();
    QVERIFY(p.main().table()->isEnabled());
    QVERIFY(p.page.scanButton()->isEnabled());
    QVERIFY(p.page.cookiePanel()->refreshButton()->isEnabled());
    QVERIFY(p.sub().masterBox()->isEnabled());

    hooks.disableForClean();
    QVERIFY(!p.main().table()->isEnabled());
    hooks.enableAfterClean();
    QVERIFY(p.main().table()->isEnabled());

    // reloadLists shows what the engine changed, keeping the driver's selection.
    clickRow(p.main().table(), 2);
    auto opera = e.driver().list()->at(2).dict();
    opera->set(keys::SizeFormattedString, "1.50 MB");
    core::setMark(opera, false);
    core::setMark(e.driver().subList()->at(0).dict(), false);
    hooks.reloadLists();
    QCOMPARE(p.main().model()->index(2, CheckListModel::SizeColumn).data(),
             QVariant(QString("1.50 MB")));
    QCOMPARE(p.main().masterBox()->checkState(), Qt::PartiallyChecked);
    QCOMPARE(p.main().selectedRow(), 2);
    QCOMPARE(p.sub().masterBox()->checkState(), Qt::PartiallyChecked);

    // Hooks left behind by a page that is gone do nothing.
    auto* gone =
        new BrowsersPage(*e.app->module<tpc::browsers::BrowsersModule>(), e.app->context());
    const core::PageHooks stale = gone->hooks();
    delete gone;
    stale.disableForScan();
    stale.reloadLists();
    QVERIFY(p.main().table()->isEnabled());
}

void BrowsersPageTest::openingThePageScansAndPointsTheCleanButtonAtTheBrowsers() {
    Engine e({"example.com"});
    tpc::ui::test::HoverHarness hover;
    tpc::ui::MainWindow window(hover.env());
    auto* page =
        new BrowsersPage(*e.app->module<tpc::browsers::BrowsersModule>(), e.app->context());
    page->attach(window);
    e.driver().hooks = page->hooks();
    window.show();
    QPushButton* clean = window.cleanButton();

    window.buttonMainBrowsersClicked();
    QCOMPARE(window.currentPageId(), QString("3"));
    QVERIFY(e.app->flags().running(core::Category::Browsers, core::TaskKind::Scan));
    QVERIFY(!page->scanButton()->isEnabled());
    QVERIFY(!clean->isEnabled());
    // The scan runs on its worker and reaches the page through the event loop.
    QTRY_VERIFY(!e.app->flags().running(core::Category::Browsers, core::TaskKind::Scan));
    QTRY_VERIFY(e.app->tasks().idle());
    QVERIFY(page->scanButton()->isEnabled());
    QVERIFY(page->mainList()->table()->isEnabled());
    QVERIFY(clean->isEnabled());
    QVERIFY(e.frontend.resultText().has_value());
    QVERIFY(e.frontend.resultText()->find("Total Size To Clean:") == 0);

    // Unmarking every browser disables the Clean button.
    clickMaster(*page->mainList());
    QCOMPARE(page->mainList()->masterBox()->checkState(), Qt::Unchecked);
    QVERIFY(!clean->isEnabled());
    clickMaster(*page->mainList());
    QVERIFY(clean->isEnabled());

    // The Clean button runs the browser clean (which rescans at its end).
    e.frontend.clear();
    QTest::mouseClick(clean, Qt::LeftButton);
    QCOMPARE(e.frontend.abortButtonTitle(), std::string("Abort Clean"));
    QTRY_VERIFY(!e.app->flags().running(core::Category::Browsers, core::TaskKind::Clean));
    QTRY_VERIFY(!e.app->flags().running(core::Category::Browsers, core::TaskKind::Scan));
    QTRY_VERIFY(e.app->tasks().idle());
    QCOMPARE(tpc::test::selectInteger(e.cookiesStore(), "SELECT count(*) FROM moz_cookies;"), 0LL);
    QVERIFY(clean->isEnabled());

    // Another page takes the Clean button; the Browsers page no longer touches it.
    window.buttonMainPreferencesClicked();
    QVERIFY(!clean->isEnabled());
    page->reloadLists();
    QVERIFY(!clean->isEnabled());

    // The page's own Scan button starts a scan too.
    window.buttonMainBrowsersClicked();
    QTRY_VERIFY(e.app->tasks().idle());
    QTRY_VERIFY(!e.app->flags().running(core::Category::Browsers, core::TaskKind::Scan));
    e.frontend.clear();
    QTest::mouseClick(page->scanButton(), Qt::LeftButton);
    QTRY_VERIFY(!e.frontend.eventsOf(tpc::test::FrontendEvent::Type::Window).empty());
    QTRY_VERIFY(!e.app->flags().running(core::Category::Browsers, core::TaskKind::Scan));
    QTRY_VERIFY(e.app->tasks().idle());
}

QTEST_MAIN(BrowsersPageTest)
#include "BrowsersPageTest.moc"
