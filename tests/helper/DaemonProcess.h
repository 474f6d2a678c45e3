#pragma once
// A tpc-helper daemon run as a child process for one test, listening in the test's temporary
// folder; stopped (SIGTERM, then SIGKILL) when the object goes. Every wait is bounded.

#include "erase/HelperWire.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tpc::test {

// Polls `done` every 10 ms for at most `limit` (real time: only for tests with live processes).
bool waitUntil(const std::function<bool()>& done,
               std::chrono::milliseconds limit = std::chrono::seconds(5));

class DaemonProcess {
public:
    // Starts `program` with `args`; its standard error goes to `logFile`.
    DaemonProcess(const std::string& program, const std::vector<std::string>& args,
                  const std::filesystem::path& logFile);
    ~DaemonProcess();
    DaemonProcess(const DaemonProcess&) = delete;
    DaemonProcess& operator=(const DaemonProcess&) = delete;

    bool started() const { return pid_ > 0; }
    // Waits until `socketPath` accepts connections.
    bool waitForSocket(const std::string& socketPath);
    // Sends SIGTERM and waits; the exit status, or -1.
    int stop();
    // Waits for the program to end by itself; the exit status, or -1.
    int waitForExit();

private:
    pid_t pid_ = -1;
};

// One request on a fresh connection to `socketPath`; the reply's "reply", or none.
std::optional<std::string> askOnce(const std::string& socketPath, const erase::wire::Message& m);

// askOnce from a child process running as `uid` (root only); none when that is impossible.
std::optional<std::string> askOnceAs(uid_t uid, const std::string& socketPath,
                                     const erase::wire::Message& m);

} // namespace tpc::test
