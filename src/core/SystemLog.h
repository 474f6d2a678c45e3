#pragma once
// The system log: every failure the program only reports, and the lines the trace records.

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace tpc::core {

class SystemLog {
public:
    using Sink = std::function<void(const std::string&)>;

    // `toSyslog` false keeps lines out of the machine's log (tests).
    explicit SystemLog(bool toSyslog = true);
    ~SystemLog();

    void log(const std::string& line);
    void addSink(Sink sink);
    // Every line logged so far in this process by this log (newest last).
    std::vector<std::string> lines() const;

private:
    bool toSyslog_;
    mutable std::mutex mutex_;
    std::vector<Sink> sinks_;
    std::vector<std::string> lines_;
};

} // namespace tpc::core
