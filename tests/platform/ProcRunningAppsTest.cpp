#include "platform/Services.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tpc::platform {
namespace {

namespace fs = std::filesystem;
using test::TempDir;
using test::writeFile;

// Pids far above any real pid (pid_max is at most 2^22), so nothing real is ever addressed.
constexpr int fakePid = 9000001;

void fakeProcess(const TempDir& proc, int pid, const std::string& comm, const std::string& exe = "",
                 const std::string& cmdline = "") {
    auto folder = proc / std::to_string(pid);
    writeFile(folder / "comm", comm + "\n");
    writeFile(folder / "cmdline", cmdline);
    if (!exe.empty())
        fs::create_symlink(exe, folder / "exe");
}

TEST(ProcRunningAppsTest, ProcessNamesTable) {
    using V = std::vector<std::string>;
    EXPECT_EQ(ProcRunningApps::processNames("org.mozilla.firefox"),
              (V{"firefox", "firefox-esr", "firefox-bin"}));
    EXPECT_EQ(ProcRunningApps::processNames("com.google.Chrome"),
              (V{"chrome", "google-chrome", "google-chrome-stable"}));
    EXPECT_EQ(ProcRunningApps::processNames("org.chromium.Chromium"),
              (V{"chromium", "chromium-browser"}));
    EXPECT_EQ(ProcRunningApps::processNames("com.operasoftware.Opera"), V{"opera"});
    EXPECT_EQ(ProcRunningApps::processNames("com.apple.Safari"), V{});
    EXPECT_EQ(ProcRunningApps::processNames("com.example.TextEdit"), V{"textedit"});
    EXPECT_EQ(ProcRunningApps::processNames("Thunderbird"), V{"thunderbird"});
    EXPECT_EQ(ProcRunningApps::processNames("trailing."), V{});
}

TEST(ProcRunningAppsTest, MatchesCommExecutableOrFirstArgument) {
    TempDir proc;
    fakeProcess(proc, fakePid + 1, "firefox-esr");
    fakeProcess(proc, fakePid + 2, "Web Content", "/usr/lib/firefox/firefox");
    fakeProcess(proc, fakePid + 3, "Isolated Web Co", "",
                std::string("/usr/lib/firefox/firefox\0-contentproc\0", 38));
    fakeProcess(proc, fakePid + 4, "bash", "/usr/bin/bash", std::string("bash\0", 5));
    fakeProcess(proc, fakePid + 5, "firefoxish");
    // An executable replaced by an update while it runs.
    fakeProcess(proc, fakePid + 6, "MainThread", "/usr/lib/firefox/firefox-bin (deleted)");
    writeFile(proc / "self/comm", "firefox\n");
    writeFile(proc / "meminfo", "firefox");
    writeFile(proc / "12ab/comm", "firefox\n");

    ProcRunningApps apps(proc.path());
    EXPECT_EQ(apps.findProcesses("org.mozilla.firefox"),
              (std::vector<int>{fakePid + 1, fakePid + 2, fakePid + 3, fakePid + 6}));
    EXPECT_TRUE(apps.isRunning("org.mozilla.firefox"));
    EXPECT_FALSE(apps.isRunning("com.google.Chrome"));
    EXPECT_TRUE(apps.isRunning("org.gnu.Bash"));
    EXPECT_FALSE(apps.isRunning("com.apple.Safari"));
}

TEST(ProcRunningAppsTest, TruncatedCommMatchesLongNamesOnly) {
    TempDir proc;
    fakeProcess(proc, fakePid + 1, "google-chrome-s"); // google-chrome-stable, cut to 15
    fakeProcess(proc, fakePid + 2, "chromium-browse"); // chromium-browser, cut to 15
    fakeProcess(proc, fakePid + 3, "operaX");
    fakeProcess(proc, fakePid + 4, "oper");
    ProcRunningApps apps(proc.path());
    EXPECT_EQ(apps.findProcesses("com.google.Chrome"), std::vector<int>{fakePid + 1});
    EXPECT_EQ(apps.findProcesses("org.chromium.Chromium"), std::vector<int>{fakePid + 2});
    EXPECT_TRUE(apps.findProcesses("com.operasoftware.Opera").empty());
}

TEST(ProcRunningAppsTest, NeverListsItsOwnProcessAndSurvivesAMissingProc) {
    TempDir proc;
    fakeProcess(proc, static_cast<int>(getpid()), "firefox");
    ProcRunningApps apps(proc.path());
    EXPECT_TRUE(apps.findProcesses("org.mozilla.firefox").empty());
    EXPECT_EQ(apps.terminate("org.mozilla.firefox"), 0);

    ProcRunningApps missing(proc / "absent");
    EXPECT_FALSE(missing.isRunning("org.mozilla.firefox"));
}

TEST(ProcRunningAppsTest, FindsAChildByNameInTheRealProc) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        prctl(PR_SET_NAME, "tpc-test-child");
        (void)!write(ready[1], "x", 1);
        pause();
        _exit(0);
    }
    char byte = 0;
    bool started = read(ready[0], &byte, 1) == 1;
    ProcRunningApps apps("/proc");
    auto found = apps.findProcesses("com.example.tpc-test-child");
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(ready[0]);
    close(ready[1]);
    ASSERT_TRUE(started);
    EXPECT_EQ(found, std::vector<int>{static_cast<int>(child)});
}

TEST(ProcRunningAppsTest, TerminateSendsSigtermToEveryMatch) {
    TempDir proc;
    pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        pause();
        _exit(0);
    }
    fakeProcess(proc, static_cast<int>(child), "opera");
    fakeProcess(proc, fakePid, "opera"); // no such process: not counted

    ProcRunningApps apps(proc.path());
    int asked = apps.terminate("com.operasoftware.Opera");
    if (asked != 1)
        kill(child, SIGKILL); // do not leave the child behind
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(asked, 1);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

} // namespace
} // namespace tpc::platform
