#pragma once
// Running applications that never run: records which ones were asked to quit.

#include "platform/Services.h"

#include <string>
#include <vector>

namespace tpc::test {

class RecordingRunningApps final : public platform::RunningApps {
public:
    bool isRunning(const std::string&) override { return false; }
    int terminate(const std::string& bundleId) override {
        terminated.push_back(bundleId);
        return 1;
    }
    std::vector<std::string> terminated;
};

} // namespace tpc::test
