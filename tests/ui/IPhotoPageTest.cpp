// The iPhoto page over a real engine on a fake home whose Pictures folder holds a small library
// of generated pictures: opening the page finds the library, the scan fills the result box and
// the tree, the boxes mark photos and categories, and the clean leaves what was not marked.
//
// With TPC_IPHOTO_SCREENSHOT set to a file name, the window showing the detailed results is
// written there (docs/iphoto.png is made so).

#include "ui/IPhotoPage.h"
#include "core/SizeText.h"
#include "photos/PhotosModule.h"
#include "support/FakePhotoLibrary.h"
#include "ui/IPhotoResultsTree.h"
#include "ui/MainWindow.h"
#include "ui/MasterCheckBox.h"
#include "ui/Resources.h"
#include "ui/support/HoverHarness.h"
#include "ui/support/PageEngine.h"

#include <QBuffer>
#include <QFileDialog>
#include <QLabel>
#include <QLinearGradient>
#include <QPainter>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include <filesystem>

namespace core = tpc::core;
namespace fs = std::filesystem;
using tpc::ui::IPhotoPage;
using tpc::ui::IPhotoResultsTree;

namespace {

// A picture of `size` in two colours, as the bytes of a PNG file.
std::string pictureBytes(QSize size, QColor from, QColor to) {
    QImage picture(size, QImage::Format_RGB32);
    QPainter painter(&picture);
    QLinearGradient gradient(0, 0, size.width(), size.height());
    gradient.setColorAt(0, from);
    gradient.setColorAt(1, to);
    painter.fillRect(picture.rect(), gradient);
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "PNG");
    return bytes.toStdString();
}

tpc::test::FakePhoto photo(int key, const char* caption, std::vector<double> adjustments,
                           std::int64_t rotation, QColor colour) {
    tpc::test::FakePhoto p;
    p.key = key;
    p.caption = caption;
    p.event = key < 3 ? "Summer at the Lake" : "Winter Walks";
    p.adjustments = std::move(adjustments);
    p.rotation = rotation;
    p.originalBytes = pictureBytes(QSize(240, 160), colour, colour.darker(260));
    p.imageBytes = pictureBytes(QSize(200, 160), colour.lighter(130), colour.darker(160));
    return p;
}

// The engine on a fake home whose Pictures folder holds a library of four edited photos.
struct Engine : tpc::test::PageEngine {
    Engine() {
        start(tpc::platform::Layout::MacOS, [this](tpc::platform::Platform& platform) {
            library = std::make_unique<tpc::test::FakePhotoLibrary>(platform.pictures() /
                                                                    "iPhoto Library");
            library->add(photo(1, "Pier at dawn", {6000000}, 0, QColor(70, 130, 200)));
            library->add(photo(2, "Sailing", {1000, 6000000}, 90, QColor(240, 170, 60)));
            library->add(photo(3, "Snowy path", {6000000}, 0, QColor(120, 160, 120)));
            library->add(photo(4, "Frozen lake", {2100000}, 0, QColor(170, 90, 160)));
            library->write();
        });
    }
    tpc::photos::PhotosDriver& driver() {
        return app->module<tpc::photos::PhotosModule>()->driver();
    }
    bool idle() { return app->tasks().idle() && PageEngine::idle(core::Category::IPhoto); }
    std::unique_ptr<tpc::test::FakePhotoLibrary> library;
};

QTreeWidget* tree(IPhotoPage& page) {
    return page.resultsTree()->tree();
}

QStringList rootNames(IPhotoPage& page) {
    QStringList names;
    for (int i = 0; i < tree(page)->topLevelItemCount(); ++i)
        names << tree(page)->topLevelItem(i)->text(IPhotoResultsTree::NameColumn);
    return names;
}

// A click on a row's check box, as the view hands it on.
void toggle(QTreeWidgetItem* item) {
    const auto column = IPhotoResultsTree::NameColumn;
    item->setCheckState(column,
                        item->checkState(column) == Qt::Checked ? Qt::Unchecked : Qt::Checked);
}

} // namespace

class IPhotoPageTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { tpc::ui::initResources(); }
    void openingFindsTheLibraryAndTheScanFillsTheTree();
    void changeLibraryAsksForAFolder();
};

void IPhotoPageTest::openingFindsTheLibraryAndTheScanFillsTheTree() {
    Engine e;
    tpc::ui::test::HoverHarness hover;
    tpc::ui::MainWindow window(hover.env());
    auto* page = new IPhotoPage(*e.app->module<tpc::photos::PhotosModule>());
    page->attach(window);
    e.driver().hooks = page->hooks();
    window.resize(1000, 720);
    window.show();
    QPushButton* clean = window.cleanButton();

    window.buttonMainIPhotoClicked();
    QCOMPARE(window.currentPageId(), QString("15"));
    QCOMPARE(page->libraryName()->text(), QString("iPhoto Library"));
    QCOMPARE(page->libraryLocation()->text(),
             QString::fromStdString(e.platform->pictures().string() + "/"));
    QVERIFY(!page->libraryPicture()->pixmap().isNull());
    QVERIFY(page->scanButton()->isEnabled());
    QVERIFY(!page->detailedResultsButton()->isEnabled());
    QVERIFY(page->detailedResultsBox()->isHidden());
    QCOMPARE(page->detailedResultsTitle()->text(), QString("iPhoto Scan Deatiled Results"));
    QVERIFY(!clean->isEnabled());

    QTest::mouseClick(page->scanButton(), Qt::LeftButton);
    QTRY_VERIFY(e.idle());
    QCOMPARE(page->statusLine()->text(), QString("Scan Complete"));
    QVERIFY(page->resultLine()->text().startsWith("There is "));
    QVERIFY(page->detailedResultsButton()->isEnabled());
    QTest::mouseClick(page->detailedResultsButton(), Qt::LeftButton);
    QVERIFY(page->detailedResultsBox()->isVisible());
    QCOMPARE(rootNames(*page),
             QStringList({"Cropped", "Cropped, Enhanced, Rotated", "Fixed Red Eye"}));
    QTreeWidgetItem* cropped = tree(*page)->topLevelItem(0);
    QCOMPARE(cropped->childCount(), 2);
    QTreeWidgetItem* pier = cropped->child(0);
    QCOMPARE(pier->text(IPhotoResultsTree::NameColumn), QString("Pier at dawn"));
    QVERIFY(!pier->icon(IPhotoResultsTree::OriginalColumn).isNull());
    QVERIFY(!pier->icon(IPhotoResultsTree::EditedColumn).isNull());

    // One photo of a category marks it in part; the Clean button waits for a whole category.
    toggle(pier);
    QCOMPARE(cropped->checkState(0), Qt::PartiallyChecked);
    const auto pierSize =
        core::getFormattedStringForSize(e.library->photos[0].originalBytes.size());
    QCOMPARE(page->resultsTree()->selectionLine()->text(),
             QString::fromStdString("Selected: 1 item, " + pierSize));
    QVERIFY(!clean->isEnabled());
    toggle(cropped);
    QCOMPARE(cropped->checkState(0), Qt::Checked);
    QCOMPARE(cropped->child(1)->checkState(0), Qt::Checked);
    QCOMPARE(page->resultsTree()->masterBox()->checkState(), Qt::PartiallyChecked);
    QVERIFY(clean->isEnabled());
    toggle(tree(*page)->topLevelItem(1)->child(0));

    if (qEnvironmentVariableIsSet("TPC_IPHOTO_SCREENSHOT")) {
        // What the application's own front end would show beside the page.
        const auto subtitle = e.frontend.subtitle(core::MainButton::IPhoto);
        window.mainButton(core::MainButton::IPhoto)
            ->setSubTitle(QString::fromStdString(subtitle.value_or("")));
        const auto result = e.frontend.resultText();
        window.setResultText(QString::fromStdString(result.value_or("")));
        QTest::qWait(200);
        QVERIFY(window.grab().save(qEnvironmentVariable("TPC_IPHOTO_SCREENSHOT")));
    }

    QTest::mouseClick(clean, Qt::LeftButton);
    QTRY_VERIFY(e.idle());
    QCOMPARE(page->statusLine()->text(), QString("Clean Complete"));
    QCOMPARE(rootNames(*page), QStringList({"Fixed Red Eye"}));
    QVERIFY(tree(*page)->isVisible());
}

void IPhotoPageTest::changeLibraryAsksForAFolder() {
    Engine e;
    IPhotoPage page(*e.app->module<tpc::photos::PhotosModule>());
    e.driver().hooks = page.hooks();
    e.driver().openPage();

    std::unique_ptr<QFileDialog> panel(IPhotoPage::makeLibraryPanel(nullptr, "/tmp"));
    QCOMPARE(panel->windowTitle(), QString("Locate iPhoto Library to scan"));
    QCOMPARE(panel->fileMode(), QFileDialog::Directory);
    QVERIFY(panel->testOption(QFileDialog::ShowDirsOnly));
    QCOMPARE(panel->labelText(QFileDialog::Accept), QString("Open"));

    QString askedIn;
    std::optional<QString> answer;
    page.chooseLibrary = [&](const QString& folder) {
        askedIn = folder;
        return answer;
    };
    QTest::mouseClick(page.changeLibraryButton(), Qt::LeftButton);
    QCOMPARE(askedIn, QString::fromStdString(e.platform->pictures().string()));
    QCOMPARE(page.libraryName()->text(), QString("iPhoto Library"));

    const fs::path other = e.dir.path() / "Backup Disk/Family.photolibrary";
    fs::create_directories(other);
    answer = QString::fromStdString(other.string());
    QTest::mouseClick(page.changeLibraryButton(), Qt::LeftButton);
    QCOMPARE(page.libraryName()->text(), QString("Family.photolibrary"));
    QCOMPARE(page.libraryLocation()->text(),
             QString::fromStdString((e.dir.path() / "Backup Disk").string() + "/"));
    QVERIFY(page.scanButton()->isEnabled());
}

QTEST_MAIN(IPhotoPageTest)
#include "IPhotoPageTest.moc"
