// The "Check for Updates..." command against a published property list served on 127.0.0.1: the
// running updaters are ended first, the download leaves the main thread free, the question and
// the updater's start come back on the main thread, one check runs at a time, and an answer that
// arrives after the command is gone is dropped.

#include "ui/UpdateCommand.h"
#include "support/LocalHttpServer.h"
#include "ui/support/PageEngine.h"
#include "update/UpdateCheck.h"

#include <QCoreApplication>
#include <QTest>
#include <QThread>

#include <cstdlib>
#include <optional>

namespace fs = std::filesystem;
using tpc::test::FrontendEvent;
using tpc::ui::UpdateCommand;

namespace {

std::string plist(const std::string& entries) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + entries +
           "</dict></plist>\n";
}

std::string versionEntry(const std::string& version) {
    return "<key>CFBundleShortVersionString</key><string>" + version + "</string>";
}

// Version 2.0 of the program beside its updater; the server publishes 1.9 (any other version is
// an update).
struct Setup {
    Setup() {
        setenv("no_proxy", "127.0.0.1", 1);
        e.start();
        server.respond(200, plist(versionEntry("1.9")));
        tpc::test::writeFile(folder / "Info.plist",
                             plist(versionEntry("2.0") + "<key>cloudPlistUrl</key><string>" +
                                   server.url("/latest.plist") + "</string>"));
        tpc::test::writeFile(updater, "#!/bin/sh\n");
        check.emplace(e.frontend, e.log, folder / "Info.plist", folder);
        check->launch = [this](const fs::path& program) {
            launched.push_back(program);
            launchedOnMain = QThread::currentThread() == QCoreApplication::instance()->thread();
            return true;
        };
    }
    std::size_t alerts() { return e.frontend.eventsOf(FrontendEvent::Type::Alert).size(); }

    tpc::test::PageEngine e;
    tpc::test::LocalHttpServer server;
    fs::path folder = e.dir.path() / "bin";
    fs::path updater = folder / ".autoUpd.app/Contents/MacOS/Auto Updator.app";
    std::optional<tpc::update::UpdateCheck> check;
    std::vector<fs::path> launched;
    bool launchedOnMain = false;
};

} // namespace

class UpdateCommandTest : public QObject {
    Q_OBJECT
private slots:
    void checksOffTheMainThreadAndAnswersOnIt();
    void anAnswerForACommandThatWentIsDropped();
};

void UpdateCommandTest::checksOffTheMainThreadAndAnswersOnIt() {
    Setup s;
    UpdateCommand command(*s.check, s.e.app->tasks(), s.e.mainThread, *s.e.running);
    std::vector<bool> changes;
    command.onCheckingChanged = [&changes](bool checking) {
        changes.push_back(checking);
    };

    command.checkForUpdateClicked();
    QVERIFY(command.checking());
    // A second click while the first check runs does nothing.
    command.checkForUpdateClicked();
    QCOMPARE(s.e.running->terminated, std::vector<std::string>{tpc::ui::kUpdaterBundleId});
    // Nothing is asked before the main thread runs the answer.
    QCOMPARE(s.alerts(), std::size_t(0));

    QTRY_VERIFY(!command.checking());
    QCOMPARE(s.server.requests().size(), std::size_t(1));
    QCOMPARE(s.alerts(), std::size_t(1));
    QCOMPARE(s.e.frontend.eventsOf(FrontendEvent::Type::Alert)[0].alert.title,
             std::string("A newer version of Tavrin Privacy Cleaner is available"));
    QCOMPARE(s.launched, std::vector<fs::path>{s.updater});
    QVERIFY(s.launchedOnMain);
    QCOMPARE(changes, (std::vector<bool>{true, false}));
}

void UpdateCommandTest::anAnswerForACommandThatWentIsDropped() {
    Setup s;
    {
        UpdateCommand command(*s.check, s.e.app->tasks(), s.e.mainThread, *s.e.running);
        command.checkForUpdateClicked();
    }
    s.e.app->tasks().joinAll();
    QCoreApplication::processEvents();
    QCOMPARE(s.server.requests().size(), std::size_t(1));
    QCOMPARE(s.alerts(), std::size_t(0));
    QVERIFY(s.launched.empty());
}

QTEST_MAIN(UpdateCommandTest)
#include "UpdateCommandTest.moc"
