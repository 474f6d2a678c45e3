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

// A connection to `socketPath` with a 5 s receive timeout; -1 when there is none.
int connectTo(const std::string& socketPath);

// Sends the first part of a request frame (the length of a 100-byte body and 10 bytes of it),
// and no more.
bool sendHalfAFrame(int fd);

// Connections to a helper held open, `idle` of them silent and `halfFrames` stalled inside a
// request: by this process for its own uid, otherwise by a child process running as `uid` (root
// only). They close when the object goes.
class HeldConnections {
public:
    HeldConnections(uid_t uid, const std::string& socketPath, int idle, int halfFrames);
    ~HeldConnections();
    HeldConnections(const HeldConnections&) = delete;
    HeldConnections& operator=(const HeldConnections&) = delete;

    // How many were made (and, for the stalled ones, sent their part).
    int connected() const { return connected_; }
    // Closes one that this process holds.
    void closeOne();

private:
    std::vector<int> fds_;
    pid_t child_ = -1;
    int release_ = -1;
    int connected_ = 0;
};

} // namespace tpc::test
