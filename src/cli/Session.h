#pragma once
// One run of `tpc`: the global options, the engine started head-less, and the output helpers the
// commands share.

#include "cli/CliFrontend.h"
#include "cli/Trace.h"
#include "controller/AppDelegate.h"
#include "core/Clock.h"
#include "core/MainThread.h"
#include "core/SystemLog.h"
#include "platform/Platform.h"

#include <memory>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

namespace tpc::cli {

struct GlobalOptions {
    std::string layout;
    std::string home;
    std::string root = "/";
    bool json = false;
    bool yes = false;
    std::string trace;
};

// Bad input: the command exits 2 with this message.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The work could not be done at all: exit 1.
class FatalError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Session {
public:
    // Builds the platform and the engine and runs the head-less start-up. Throws UsageError for
    // bad global options and FatalError when the settings folder cannot be made.
    explicit Session(const GlobalOptions& options);
    ~Session();

    const GlobalOptions& options() const { return options_; }
    controller::AppDelegate& app() { return *app_; }
    // The module of the subsystem a command works with; FatalError when this program was built
    // without it.
    template <class M> M& module() {
        if (auto* m = app_->module<M>())
            return *m;
        throw FatalError("this program was built without that part");
    }
    platform::Platform& platform() { return *platform_; }
    CliFrontend& frontend() { return *frontend_; }
    core::QueueMainThread& mainThread() { return mainThread_; }
    core::SystemLog& log() { return log_; }

    // Prints the result: the JSON document with --json, else `text` (a line break is added).
    void print(const nlohmann::json& result, const std::string& text);

private:
    GlobalOptions options_;
    core::SystemLog log_;
    core::RealClock clock_;
    core::QueueMainThread mainThread_;
    Trace trace_;
    std::unique_ptr<platform::Platform> platform_;
    std::unique_ptr<CliFrontend> frontend_;
    std::unique_ptr<controller::AppDelegate> app_;
};

} // namespace tpc::cli
