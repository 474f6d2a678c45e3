// The main window's buttons, pages and hover preview, with the hover delays on a manual fake clock.

#include "ui/MainWindow.h"
#include "ui/support/HoverHarness.h"

#include <QCloseEvent>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using tpc::core::MainButton;
using tpc::ui::HoverButton;
using tpc::ui::MainWindow;
using tpc::ui::test::HoverHarness;

Q_DECLARE_METATYPE(tpc::core::MainButton)

class MainWindowTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<HoverHarness> harness_;
    std::unique_ptr<MainWindow> window_;
    std::vector<int> previews_; // buttonIDs the window was asked to preview

    HoverButton* button(MainButton which) { return window_->mainButton(which); }
    int pressedCount() {
        int pressed = 0;
        for (HoverButton* b : window_->mainButtons())
            pressed += b->buttonPressed() ? 1 : 0;
        return pressed;
    }
    void click(MainButton which) { QTest::mouseClick(button(which), Qt::LeftButton); }
    // Rests on `which` long enough for its preview to arrive.
    void hoverUntilPreview(MainButton which) {
        button(which)->mouseEntered();
        QVERIFY(harness_->waitAsleep(2));
        const int before = harness_->ran();
        harness_->advance(0.5);
        QVERIFY(harness_->waitRan(before, 2)); // the redraw and the preview
        QVERIFY(harness_->waitAsleep(0));
    }
    void checkStartPage(const char* picture, int pageNumber) {
        QCOMPARE(window_->currentPageId(), QString("1"));
        QCOMPARE(window_->startPage()->pictureName(), QString(picture));
        QCOMPARE(window_->startPage()->pageNumber(), pageNumber);
    }

    static void addButtonTable() {
        QTest::addColumn<MainButton>("which");
        QTest::addColumn<int>("buttonID");
        QTest::addColumn<QString>("pageId");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("picture");
        QTest::addColumn<int>("pageNumber");
        QTest::newRow("Auto clean") << MainButton::AutoClean << 1 << "2"
                                    << "One Click Clean"
                                    << "bg-autoclean.png" << 2;
        QTest::newRow("Browsers") << MainButton::Browsers << 2 << "3"
                                  << "Browsers"
                                  << "bg-browsers.png" << 3;
        QTest::newRow("Recents") << MainButton::Recents << 3 << "4"
                                 << "Recents and caches"
                                 << "bg-recents.png" << 5;
        QTest::newRow("System") << MainButton::System << 4 << "5"
                                << "System"
                                << "bg-system.png" << 4;
        QTest::newRow("iPhoto") << MainButton::IPhoto << 6 << "15"
                                << "iPhoto cleanup"
                                << "bg-iphoto.png" << 11;
        QTest::newRow("File eraser") << MainButton::FileEraser << 7 << "8"
                                     << "File Eraser"
                                     << "bg-shredder.png" << 7;
        QTest::newRow("Extensions") << MainButton::Extensions << 12 << "13"
                                    << "Extensions Manager"
                                    << "bg-extensions.png" << 10;
        QTest::newRow("Preferences") << MainButton::Preferences << 13 << "14"
                                     << "Preferences"
                                     << "bg-preferences.png" << 6;
    }

private slots:
    void init() {
        harness_ = std::make_unique<HoverHarness>();
        window_ = std::make_unique<MainWindow>(harness_->env());
        previews_.clear();
        for (HoverButton* b : window_->mainButtons()) {
            b->onHoverPreview = [this, forward = b->onHoverPreview](int id) {
                previews_.push_back(id);
                forward(id);
            };
        }
    }

    void cleanup() {
        harness_->drain();
        window_.reset();
        harness_.reset();
    }

    // --- Layout ---

    void buttonsAndPagesFollowTheTable_data() { addButtonTable(); }
    void buttonsAndPagesFollowTheTable() {
        QFETCH(MainButton, which);
        QFETCH(int, buttonID);
        QFETCH(QString, pageId);
        QFETCH(QString, title);
        QCOMPARE(button(which)->buttonID(), buttonID);
        QCOMPARE(button(which)->title(), title);
        QWidget* page = window_->page(pageId);
        QVERIFY(page);
        bool titled = false;
        for (QLabel* label : page->findChildren<QLabel*>())
            titled = titled || label->text() == title;
        QVERIFY2(titled, "the page shows its title");
    }

    void startsOnTheStartPageWithTheDefaultPicture() {
        QCOMPARE(window_->mainButtons().size(), size_t(8));
        QCOMPARE(window_->lastTabID(), QString("1"));
        checkStartPage("bg-default.png", 1);
        QCOMPARE(pressedCount(), 0);
        QCOMPARE(window_->cleanButton()->text(), QString("Clean"));
        // A button ID without a page shows no picture.
        window_->selectTabViewItemOnHoveringButtonID(5);
        checkStartPage("", 0);
        window_->resetTabViewItem();
        checkStartPage("bg-default.png", 1);
    }

    void pageContentIsReplaced() {
        QPointer<QWidget> first = new QLabel("first");
        window_->setPageContent("8", first);
        QVERIFY(window_->page("8")->isAncestorOf(first));
        auto* second = new QLabel("second");
        window_->setPageContent("8", second);
        QVERIFY(window_->page("8")->isAncestorOf(second));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(first.isNull());
        // Putting the same content again keeps it.
        window_->setPageContent("8", second);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(window_->page("8")->isAncestorOf(second));
    }

    // --- Clicking ---

    void clickOpensThePageAndPressesOnlyItsButton_data() { addButtonTable(); }
    void clickOpensThePageAndPressesOnlyItsButton() {
        QFETCH(MainButton, which);
        QFETCH(QString, pageId);
        // Another page was open, with a result shown and the Clean button working.
        window_->buttonMainPreferencesClicked();
        if (which == MainButton::Preferences)
            window_->buttonMainBrowsersClicked();
        window_->setResultText(QString("12 items found"));
        window_->cleanButton()->setEnabled(true);
        int oldCleans = 0;
        connect(window_->cleanButton(), &QPushButton::clicked, this, [&] { ++oldCleans; });
        std::vector<QString> opened;
        for (const char* id : {"2", "3", "4", "5", "8", "13", "14", "15"})
            window_->onPageOpened[id] = [&opened, id = QString(id)] {
                opened.push_back(id);
            };

        click(which);

        QCOMPARE(window_->currentPageId(), pageId);
        QCOMPARE(window_->lastTabID(), pageId);
        QCOMPARE(pressedCount(), 1);
        QVERIFY(button(which)->buttonPressed());
        for (HoverButton* b : window_->mainButtons())
            QCOMPARE(b->drawn(),
                     b == button(which) ? HoverButton::Drawn::Active : HoverButton::Drawn::Normal);
        QCOMPARE(opened, std::vector<QString>{pageId});
        QVERIFY(!window_->cleanButton()->isEnabled());
        QCOMPARE(window_->resultText(), QString(" "));
        QVERIFY(!window_->resultImageShown());
        // The previous page's clean no longer runs from the shared button.
        window_->cleanButton()->setEnabled(true);
        window_->cleanButton()->click();
        QCOMPARE(oldCleans, 0);
    }

    void pagePreparationRunsAfterTheReset() {
        int cleans = 0;
        window_->onPageOpened["3"] = [&] {
            connect(window_->cleanButton(), &QPushButton::clicked, this, [&] { ++cleans; });
            window_->cleanButton()->setEnabled(true);
            window_->setResultText(QString("Scanning..."));
        };
        click(MainButton::Browsers);
        QVERIFY(window_->cleanButton()->isEnabled());
        QCOMPARE(window_->resultText(), QString("Scanning..."));
        QVERIFY(window_->resultImageShown());
        window_->cleanButton()->click();
        QCOMPARE(cleans, 1);
    }

    void releasingOutsideTheButtonIsNoClick() {
        HoverButton* b = button(MainButton::System);
        b->resize(b->sizeHint());
        QTest::mousePress(b, Qt::LeftButton, {}, QPoint(5, 5));
        QTest::mouseRelease(b, Qt::LeftButton, {}, QPoint(-20, 5));
        QCOMPARE(window_->lastTabID(), QString("1"));
        QCOMPARE(pressedCount(), 0);
        b->setFocus();
        QTest::keyClick(b, Qt::Key_Space);
        QCOMPARE(window_->lastTabID(), QString("5"));
    }

    // --- Hover preview ---

    void restingPreviewsAndLeavingRestoresTheStartPage_data() { addButtonTable(); }
    void restingPreviewsAndLeavingRestoresTheStartPage() {
        QFETCH(MainButton, which);
        QFETCH(int, buttonID);
        QFETCH(QString, picture);
        QFETCH(int, pageNumber);

        hoverUntilPreview(which);
        QCOMPARE(previews_, std::vector<int>{buttonID});
        QCOMPARE(button(which)->drawn(), HoverButton::Drawn::Hover);
        checkStartPage(qPrintable(picture), pageNumber);

        button(which)->mouseExited();
        QCOMPARE(button(which)->drawn(), HoverButton::Drawn::Normal);
        QVERIFY(harness_->waitAsleep(2)); // the redraw and the return to the last page
        harness_->advance(0.2);
        harness_->deliver();
        checkStartPage(qPrintable(picture), pageNumber); // not yet
        const int before = harness_->ran();
        harness_->advance(0.05);
        QVERIFY(harness_->waitRan(before, 1));
        checkStartPage("bg-default.png", 1);
    }

    void previewOverAnOpenPageReturnsToIt() {
        click(MainButton::Extensions);
        button(MainButton::Browsers)->mouseEntered();
        QVERIFY(harness_->waitAsleep(2));
        int before = harness_->ran();
        harness_->advance(1.0);
        QVERIFY(harness_->waitRan(before, 2));
        QVERIFY(harness_->waitAsleep(0));
        checkStartPage("bg-browsers.png", 3);
        QCOMPARE(window_->lastTabID(), QString("13"));

        button(MainButton::Browsers)->mouseExited();
        QVERIFY(harness_->waitAsleep(2));
        before = harness_->ran();
        harness_->advance(0.25);
        QVERIFY(harness_->waitRan(before, 1));
        QCOMPARE(window_->currentPageId(), QString("13"));
        QVERIFY(button(MainButton::Extensions)->buttonPressed());
        QCOMPARE(pressedCount(), 1);
    }

    void hoveringThePressedButtonNeverPreviews() {
        click(MainButton::Browsers);
        HoverButton* b = button(MainButton::Browsers);
        b->mouseEntered();
        QCOMPARE(b->drawn(), HoverButton::Drawn::Active);
        harness_->drain();
        b->mouseExited();
        QCOMPARE(b->drawn(), HoverButton::Drawn::Active);
        harness_->drain();
        QVERIFY(previews_.empty());
        QCOMPARE(window_->currentPageId(), QString("3"));
        QVERIFY(b->buttonPressed());
        QCOMPARE(window_->startPage()->pictureName(), QString("bg-default.png"));
    }

    void leavingWithinHalfASecondPreviewsNothing() {
        click(MainButton::Extensions);
        HoverButton* b = button(MainButton::Browsers);
        b->mouseEntered();
        QVERIFY(harness_->waitAsleep(2));
        harness_->advance(0.3);
        b->mouseExited();
        QVERIFY(harness_->waitAsleep(4));
        harness_->advance(0.2); // the hover delay ends after the pointer has gone
        harness_->drain();
        QVERIFY(previews_.empty());
        QCOMPARE(window_->currentPageId(), QString("13"));
        QCOMPARE(window_->startPage()->pictureName(), QString("bg-default.png"));
        QCOMPARE(window_->startPage()->pageNumber(), 1);
    }

    void movingOnToAnotherButtonKeepsThePreview() {
        hoverUntilPreview(MainButton::Recents);
        checkStartPage("bg-recents.png", 5);

        button(MainButton::Recents)->mouseExited();
        button(MainButton::System)->mouseEntered();
        QVERIFY(harness_->waitAsleep(4));
        int before = harness_->ran();
        harness_->advance(0.25);
        QVERIFY(harness_->waitRan(before, 1)); // the return to the start page
        checkStartPage("bg-recents.png", 5);   // System is pointed at: no default yet

        before = harness_->ran();
        harness_->advance(0.25);
        QVERIFY(harness_->waitRan(before, 3));
        checkStartPage("bg-system.png", 4);

        button(MainButton::System)->mouseExited();
        harness_->drain();
        checkStartPage("bg-default.png", 1);
    }

    void clickingDuringAHoverKeepsTheClickedPage() {
        hoverUntilPreview(MainButton::System);
        click(MainButton::System);
        QCOMPARE(window_->currentPageId(), QString("5"));
        button(MainButton::System)->mouseExited();
        harness_->drain();
        QCOMPARE(window_->currentPageId(), QString("5"));
        QCOMPARE(button(MainButton::System)->drawn(), HoverButton::Drawn::Active);
    }

    // --- Life cycle ---

    void destroyingTheWindowDropsWhatItsThreadsPosted() {
        button(MainButton::Browsers)->mouseEntered();
        QVERIFY(harness_->waitAsleep(2));
        const int before = harness_->ran();
        harness_->advance(0.5);
        window_.reset(); // waits for the woken threads; their posts are still queued
        QVERIFY(harness_->waitRan(before, 2));
    }

    void closingHidesTheWindowAndTellsTheFrontEnd() {
        int closed = 0;
        window_->onClose = [&] {
            ++closed;
        };
        window_->show();
        QCloseEvent event;
        event.ignore();
        QCoreApplication::sendEvent(window_.get(), &event);
        QVERIFY(event.isAccepted());
        QCOMPARE(closed, 1);
        QVERIFY(window_->isHidden());
    }
};

QTEST_MAIN(MainWindowTest)
#include "MainWindowTest.moc"
