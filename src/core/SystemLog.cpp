#include "core/SystemLog.h"

#include <syslog.h>

namespace tpc::core {

namespace {
constexpr std::size_t kKeptLines = 1000;
}

SystemLog::SystemLog(bool toSyslog) : toSyslog_(toSyslog) {
    if (toSyslog_)
        openlog("Tavrin Privacy Cleaner", LOG_PID, LOG_USER);
}

SystemLog::~SystemLog() {
    if (toSyslog_)
        closelog();
}

void SystemLog::log(const std::string& line) {
    std::vector<Sink> sinks;
    {
        std::lock_guard lock(mutex_);
        if (lines_.size() >= kKeptLines)
            lines_.erase(lines_.begin());
        lines_.push_back(line);
        sinks = sinks_;
    }
    if (toSyslog_)
        syslog(LOG_NOTICE, "%s", line.c_str());
    for (const auto& sink : sinks)
        sink(line);
}

void SystemLog::addSink(Sink sink) {
    std::lock_guard lock(mutex_);
    sinks_.push_back(std::move(sink));
}

std::vector<std::string> SystemLog::lines() const {
    std::lock_guard lock(mutex_);
    return lines_;
}

} // namespace tpc::core
