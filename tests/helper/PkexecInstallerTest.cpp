#include "erase/PkexecInstaller.h"
#include "support/FakeClock.h"

#include "erase/RunProgram.h"
#include "support/TempDir.h"

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace tpc::test {
namespace {

namespace fs = std::filesystem;

// An executable shell script.
fs::path script(const TempDir& tmp, const std::string& name, const std::string& body) {
    writeFile(tmp / name, "#!/bin/sh\n" + body + "\n");
    fs::permissions(tmp / name, fs::perms::owner_all);
    return tmp / name;
}

erase::PkexecInstallerPaths pathsIn(const TempDir& tmp) {
    erase::PkexecInstallerPaths paths;
    paths.helperPath = (tmp / "tpc-helper").string();
    paths.pkexecPath = (tmp / "pkexec").string();
    paths.socketPath = (tmp / "sock").string();
    paths.unitFiles = {(tmp / "tpc-helper.socket").string()};
    return paths;
}

TEST(PkexecInstaller, JobExistsWhenItsUnitOrSocketExists) {
    TempDir tmp;
    erase::PkexecInstaller installer(pathsIn(tmp));
    EXPECT_FALSE(installer.jobExists());

    // A plain file where the socket should be does not count.
    writeFile(tmp / "sock", "");
    EXPECT_FALSE(installer.jobExists());
    fs::remove(tmp / "sock");

    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = (tmp / "sock").string();
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    ASSERT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_TRUE(installer.jobExists());
    ::close(fd);
    fs::remove(tmp / "sock");

    writeFile(tmp / "tpc-helper.socket", "[Socket]\n");
    EXPECT_TRUE(installer.jobExists());
}

TEST(PkexecInstaller, BlessRunsPkexecWithTheHelperAndInstall) {
    TempDir tmp;
    script(tmp, "tpc-helper", "exit 0");
    script(tmp, "pkexec", "echo \"$@\" > \"" + (tmp / "args").string() + "\"; exit 0");
    erase::PkexecInstaller installer(pathsIn(tmp));
    std::string error;
    EXPECT_TRUE(installer.bless(error)) << error;
    EXPECT_EQ(readFile(tmp / "args"), (tmp / "tpc-helper").string() + " --install\n");
}

TEST(PkexecInstaller, DismissedOrMissingPkexecFails) {
    TempDir tmp;
    script(tmp, "tpc-helper", "exit 0");
    erase::PkexecInstaller installer(pathsIn(tmp));
    std::string error;
    EXPECT_FALSE(installer.bless(error));
    EXPECT_NE(error.find("pkexec is not available"), std::string::npos) << error;

    script(tmp, "pkexec", "exit 126");
    error.clear();
    EXPECT_FALSE(installer.bless(error));
    EXPECT_NE(error.find("exited with status 126"), std::string::npos) << error;

    fs::remove(tmp / "tpc-helper");
    error.clear();
    EXPECT_FALSE(installer.bless(error));
    EXPECT_NE(error.find("tpc-helper is not available"), std::string::npos) << error;
}

TEST(RunProgram, ReturnsTheExitStatus) {
    TempDir tmp;
    auto program = script(tmp, "seven", "exit 7");
    EXPECT_EQ(erase::runProgram({program.string()}), 7);
    std::string error;
    EXPECT_EQ(erase::runProgram({"relative/program"}, {}, &error), -1);
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(erase::runProgram({(tmp / "missing").string()}, {}, &error), -1);
    EXPECT_EQ(erase::runProgram({}, {}, &error), -1);
}

TEST(RunProgram, KillsAProgramPastItsTimeLimitOrOnCancel) {
    TempDir tmp;
    auto program = script(tmp, "forever", "exec sleep 30");
    test::FakeClock clock;
    std::atomic<bool> cancel{false};
    erase::RunOptions options;
    options.clock = &clock;
    options.timeLimit = core::Clock::seconds(1);
    options.cancel = &cancel;
    options.quiet = true;
    std::string error;
    EXPECT_EQ(erase::runProgram({program.string()}, options, &error), -1);
    EXPECT_NE(error.find("took too long"), std::string::npos) << error;

    cancel.store(true);
    options.timeLimit = core::Clock::seconds(3600);
    EXPECT_EQ(erase::runProgram({program.string()}, options, &error), -1);
    EXPECT_NE(error.find("cancelled"), std::string::npos) << error;

    cancel.store(false);
    auto quick = script(tmp, "quick", "exit 3");
    EXPECT_EQ(erase::runProgram({quick.string()}, options, &error), 3);
}

} // namespace
} // namespace tpc::test
