#include "helper/Install.h"

#include "helper/HelperUnits.h"
#include "support/TempDir.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>

namespace tpc::test {
namespace {

using helper::InstallEnv;

TEST(HelperInstall, ServiceRunsTheGivenProgram) {
    const std::string unit = helper::serviceUnitFor("/opt/tpc/libexec/tpc-helper");
    EXPECT_NE(unit.find("\nExecStart=/opt/tpc/libexec/tpc-helper\n"), std::string::npos);
    EXPECT_EQ(unit.find("ExecStart=/usr/libexec/tpc-helper"), std::string::npos);
    EXPECT_NE(unit.find("[Service]"), std::string::npos);
}

TEST(HelperInstall, PackagedUnitsAreCompiledIn) {
    const std::string socket = helper::kSocketUnitText;
    EXPECT_NE(socket.find("ListenStream=/run/tpc-helper.sock"), std::string::npos);
    EXPECT_NE(socket.find("SocketMode=0666"), std::string::npos);
}

TEST(HelperInstall, WithoutRootItOnlyTellsWhatItWouldDo) {
    TempDir tmp;
    std::ostringstream out;
    int runs = 0;
    InstallEnv env{.unitDir = tmp.path().string(),
                   .helperPath = "/usr/libexec/tpc-helper",
                   .asRoot = false,
                   .manageSystemd = true,
                   .out = out,
                   .run = [&](const std::vector<std::string>&) {
                       return ++runs, 0;
                   }};
    EXPECT_EQ(helper::installHelper(env), 0);
    EXPECT_TRUE(std::filesystem::is_empty(tmp.path()));
    EXPECT_EQ(runs, 0);
    EXPECT_NE(out.str().find("tpc-helper.socket"), std::string::npos);
    EXPECT_NE(out.str().find("enable --now tpc-helper.socket"), std::string::npos);
}

TEST(HelperInstall, AsRootItWritesTheUnitsAndRunsSystemctl) {
    TempDir tmp;
    std::ostringstream out;
    std::vector<std::vector<std::string>> runs;
    InstallEnv env{.unitDir = tmp.path().string(),
                   .helperPath = "/bin/sh",
                   .asRoot = true,
                   .manageSystemd = true,
                   .out = out,
                   .run = [&](const std::vector<std::string>& argv) {
                       runs.push_back(argv);
                       return 0;
                   }};
    if (helper::unsafeProgramProblem("/bin/sh"))
        GTEST_SKIP() << "/bin/sh is not kept safely on this machine";
    ASSERT_EQ(helper::installHelper(env), 0) << out.str();
    EXPECT_EQ(readFile(tmp / "tpc-helper.socket"), helper::kSocketUnitText);
    EXPECT_EQ(readFile(tmp / "tpc-helper.service"), helper::serviceUnitFor("/bin/sh"));
    ASSERT_EQ(runs.size(), 3u);
    EXPECT_EQ(runs[0].back(), "daemon-reload");
    EXPECT_EQ(runs[1],
              (std::vector<std::string>{runs[1][0], "enable", "--now", "tpc-helper.socket"}));
    EXPECT_EQ(runs[2].back(), "tpc-helper.service");
}

TEST(HelperInstall, FailingSystemctlFailsTheInstall) {
    TempDir tmp;
    std::ostringstream out;
    InstallEnv env{.unitDir = tmp.path().string(),
                   .helperPath = "/bin/sh",
                   .asRoot = true,
                   .manageSystemd = true,
                   .out = out,
                   .run = [](const std::vector<std::string>&) {
                       return 1;
                   }};
    if (helper::unsafeProgramProblem("/bin/sh"))
        GTEST_SKIP() << "/bin/sh is not kept safely on this machine";
    EXPECT_EQ(helper::installHelper(env), 1);
}

TEST(HelperInstall, ProgramOthersCanChangeIsNotInstalled) {
    TempDir tmp;
    writeFile(tmp / "tpc-helper", "#!/bin/sh\n");
    std::filesystem::permissions(tmp / "tpc-helper", std::filesystem::perms::all);
    EXPECT_TRUE(helper::unsafeProgramProblem((tmp / "tpc-helper").string()));
    EXPECT_TRUE(helper::unsafeProgramProblem((tmp / "missing").string()));

    std::ostringstream out;
    InstallEnv env{.unitDir = tmp.path().string(),
                   .helperPath = (tmp / "tpc-helper").string(),
                   .asRoot = true,
                   .manageSystemd = false,
                   .out = out,
                   .run = {}};
    EXPECT_EQ(helper::installHelper(env), 1);
    EXPECT_FALSE(std::filesystem::exists(tmp / "tpc-helper.service"));
}

} // namespace
} // namespace tpc::test
