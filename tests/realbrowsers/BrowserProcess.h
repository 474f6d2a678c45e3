#pragma once
// Starting and stopping a real browser for a test: found on the search path, started in its own
// process group with a fake home, its output kept in a log file, and never left running.

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tpc::test::real {

// The executable `name` on the browser search path: TPC_REAL_BROWSER_PATH when it is set (so a run
// can hide the installed browsers, for example with an empty folder), PATH otherwise.
std::optional<std::filesystem::path> findBrowser(const std::string& name);

class BrowserProcess {
public:
    struct Options {
        std::filesystem::path executable;
        std::vector<std::string> arguments;
        // The browser's HOME; the XDG folder variables are removed so that everything it writes
        // lands under this folder, where `tpc --home` looks.
        std::filesystem::path home;
        std::filesystem::path log;
        // A DevTools pipe on file descriptors 3 (commands in) and 4 (replies out), as
        // Chromium's --remote-debugging-pipe expects.
        bool devToolsPipe = false;
    };

    explicit BrowserProcess(Options options);
    // Kills whatever is left of the browser (see killLeftovers).
    ~BrowserProcess();
    BrowserProcess(const BrowserProcess&) = delete;
    BrowserProcess& operator=(const BrowserProcess&) = delete;

    pid_t pid() const { return pid_; }
    // Sends one DevTools command ({"id":1,"method":"Browser.close"}); whether it was written.
    bool sendDevTools(const std::string& json);
    // Waits for the browser's main process to end, at most `limit`: its wait status, or nullopt
    // when it still runs.
    std::optional<int> waitExit(std::chrono::milliseconds limit);
    // Asks politely (SIGTERM), then kills the process group; the exit status.
    int stop(std::chrono::milliseconds grace);
    // SIGKILL to the browser's process group and to every process of ours whose environment has
    // the browser's HOME (helpers that left the group).
    void killLeftovers();
    // The last `lines` lines of the browser's log (D-Bus complaints left out), for failure
    // messages.
    std::string logTail(std::size_t lines = 40) const;

private:
    Options options_;
    pid_t pid_ = -1;
    std::optional<int> status_;
    int commandFd_ = -1;
    int replyFd_ = -1;
};

// What a wait status says, for messages: "exit 0", "signal 9".
std::string describeStatus(int status);

} // namespace tpc::test::real
