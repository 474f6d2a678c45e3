// `tpc update check`: the build's own information property list, and another one naming a
// published list served on 127.0.0.1.

#include "TpcFixture.h"

#include "support/LocalHttpServer.h"
#include "update/InfoPlist.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tpc::test {
namespace {

using nlohmann::json;

TEST_F(Tpc, UpdateCheckComparesWithThePublishedVersionAndStartsNothing) {
    // The build puts the program's information property list beside it.
    const auto own = update::readProgramInfo(fs::path(TPC_CLI_PATH).parent_path() / "Info.plist");
    EXPECT_EQ(own.version, TPC_VERSION);
    if (!own.cloudPlistUrl) {
        auto plain = jsonOf(macos({"update", "check", "--json"}));
        EXPECT_EQ(plain,
                  json({{"newer", false}, {"installed", TPC_VERSION}, {"published", nullptr}}));
    }

    LocalHttpServer server;
    server.respond(200, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                        "<key>CFBundleShortVersionString</key><string>1.9</string></dict>"
                        "</plist>\n");
    const auto info = dir / "Info.plist";
    writeFile(info, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                    "<key>CFBundleShortVersionString</key><string>2.0</string>"
                    "<key>cloudPlistUrl</key><string>" +
                        server.url("/latest version.plist") + "</string></dict></plist>\n");
    auto newer =
        jsonOf(tpc({"--home", home.string(), "update", "check", "--info", info.string(), "--json"},
                   {"no_proxy=127.0.0.1"}));
    EXPECT_EQ(newer, json({{"newer", true}, {"installed", "2.0"}, {"published", "1.9"}}));
    EXPECT_EQ(server.requests(), std::vector<std::string>{"GET /latest%20version.plist HTTP/1.1"});

    auto missing = macos({"update", "check", "--info", (dir / "nothing.plist").string()});
    EXPECT_EQ(missing.code, 2);
    EXPECT_NE(missing.err.find("nothing.plist"), std::string::npos);
}

} // namespace
} // namespace tpc::test
