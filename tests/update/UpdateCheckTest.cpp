// The update check against a published property list served on 127.0.0.1: plain inequality of
// the version strings, every failure answering "not newer" without hanging, the hand-over to the
// updater, and the MD5 helpers.

#include "update/UpdateCheck.h"
#include "core/SystemLog.h"
#include "support/LocalHttpServer.h"
#include "support/RecordingFrontend.h"
#include "support/TempDir.h"
#include "update/Hashing.h"
#include "update/UpdaterLaunch.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

namespace tpc::test::update {
namespace {

namespace fs = std::filesystem;
using tpc::update::UpdateCheck;

std::string versionList(const std::string& version) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
           "<key>CFBundleShortVersionString</key><string>" +
           version + "</string></dict></plist>\n";
}

class UpdateCheckTest : public ::testing::Test {
protected:
    void SetUp() override {
        // The test server is local: a proxy of the machine running the tests is not asked.
        setenv("no_proxy", "127.0.0.1", 1);
        fs::create_directories(programFolder);
    }

    // The program's information property list: `version`, and `address` when given.
    UpdateCheck& check(const std::string& version, const std::optional<std::string>& address) {
        std::string list = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">"
                           "<dict><key>CFBundleShortVersionString</key><string>" +
                           version + "</string>";
        if (address)
            list += "<key>cloudPlistUrl</key><string>" + *address + "</string>";
        writeFile(programFolder / "Info.plist", list + "</dict></plist>\n");
        checker.emplace(frontend, log, programFolder / "Info.plist", programFolder);
        checker->launch = [this](const fs::path& program) {
            launched.push_back(program);
            return true;
        };
        return *checker;
    }
    std::string published() { return server.url("/updates/Tavrin Privacy Cleaner.plist"); }

    TempDir dir;
    fs::path programFolder = dir / "bin";
    LocalHttpServer server;
    RecordingFrontend frontend;
    core::SystemLog log{false};
    std::optional<UpdateCheck> checker;
    std::vector<fs::path> launched;
};

TEST_F(UpdateCheckTest, AnyDifferentPublishedVersionIsNewer) {
    server.respond(200, versionList("1.9"));
    const auto status = check("2.0", published()).status();
    EXPECT_TRUE(status.newer);
    EXPECT_EQ(status.installed, "2.0");
    EXPECT_EQ(status.published, "1.9");
    ASSERT_EQ(server.requests().size(), 1u);
    EXPECT_EQ(server.requests()[0], "GET /updates/Tavrin%20Privacy%20Cleaner.plist HTTP/1.1");

    server.respond(200, versionList("2.0"));
    EXPECT_FALSE(check("2.0", published()).checkForUpdate());
}

TEST_F(UpdateCheckTest, NoAddressNoAnswerOrNoVersionIsNotNewer) {
    EXPECT_FALSE(check("2.0", std::nullopt).checkForUpdate());
    EXPECT_TRUE(server.requests().empty());

    const auto refused =
        check("2.0", "http://127.0.0.1:" + std::to_string(LocalHttpServer::closedPort()) + "/v")
            .status();
    EXPECT_FALSE(refused.newer);
    EXPECT_EQ(refused.published, std::nullopt);

    for (const auto& [status, body] : std::vector<std::pair<int, std::string>>{
             {200, "not a property list"},
             {200, "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict/></plist>"},
             {404, versionList("1.9")}}) {
        server.respond(status, body);
        EXPECT_FALSE(check("2.0", published()).checkForUpdate()) << body;
    }
    EXPECT_FALSE(log.lines().empty());

    // Without its information property list the program knows only its own version.
    const auto none = UpdateCheck(frontend, log, std::nullopt, std::nullopt).status();
    EXPECT_FALSE(none.newer);
    EXPECT_EQ(none.installed, TPC_VERSION);
}

TEST_F(UpdateCheckTest, TheMenuCommandAsksThenStartsTheUpdaterWhenItIsThere) {
    const auto bundle = programFolder / ".autoUpd.app";
    const auto updater = bundle / "Contents/MacOS/Auto Updator.app";
    server.respond(200, versionList("1.9"));

    // No updater beside the program: asked, but nothing is started.
    auto& c = check("2.0", published());
    c.checkForUpdateClicked(true);
    ASSERT_EQ(frontend.eventsOf(FrontendEvent::Type::Alert).size(), 1u);
    const auto alert = frontend.eventsOf(FrontendEvent::Type::Alert)[0].alert;
    EXPECT_EQ(alert.title, "A newer version of Tavrin Privacy Cleaner is available");
    EXPECT_EQ(alert.message, "Do you want to update");
    EXPECT_EQ(alert.buttons(), (std::vector<std::string>{"YES", "NO"}));
    EXPECT_TRUE(launched.empty());

    writeFile(updater, "#!/bin/sh\n");
    int terminated = 0;
    c.terminateUpdaters = [&terminated] {
        ++terminated;
    };
    frontend.scriptAlertAnswers({0}); // "NO"
    c.checkForUpdateClicked(true);
    EXPECT_TRUE(launched.empty());
    c.checkForUpdateClicked(false); // "YES"
    EXPECT_EQ(launched, std::vector<fs::path>{updater});
    EXPECT_EQ(terminated, 1);

    // Nothing newer: the updater bundle itself is started, without asking.
    server.respond(200, versionList("2.0"));
    check("2.0", published()).checkForUpdateClicked(false);
    EXPECT_EQ(launched, (std::vector<fs::path>{updater, bundle}));
    EXPECT_EQ(frontend.eventsOf(FrontendEvent::Type::Alert).size(), 3u);
    // A folder or a file that is not executable is never run.
    EXPECT_FALSE(tpc::update::launchDetached(bundle));
    EXPECT_FALSE(tpc::update::launchDetached(updater));
}

TEST_F(UpdateCheckTest, Md5OfDataFilesAndAddresses) {
    using tpc::update::hashString;
    using tpc::update::md5;
    EXPECT_EQ(md5(core::Data{'a', 'b', 'c'}), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(md5(core::Data{}), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(md5(std::optional<core::Data>{}), std::nullopt);

    writeFile(dir / "a file.txt", "abc");
    EXPECT_EQ(hashString((dir / "a file.txt").string()), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(hashString((dir / "missing").string()), std::nullopt);
    EXPECT_EQ(hashString(dir.path().string()), std::nullopt);
    server.respond(200, "abc");
    EXPECT_EQ(hashString(server.url("/a b")), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(server.requests().back(), "GET /a%20b HTTP/1.1");
}

} // namespace
} // namespace tpc::test::update
