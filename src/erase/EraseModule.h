#pragma once
// The deletion subsystem: the privileged helper's installer and client, and the deletion engine
// every cleaner removes files through.

#include "core/Context.h"
#include "core/Module.h"
#include "erase/Deleter.h"
#include "erase/HelperClient.h"
#include "erase/PkexecInstaller.h"

namespace tpc::core {
class GeneralPrefs;
class TaskRunner;
} // namespace tpc::core

namespace tpc::erase {

class EraseModule final : public core::Module {
public:
    EraseModule(core::Context& ctx, core::TaskRunner& tasks, core::GeneralPrefs& general);

    std::string name() const override { return "erase"; }
    // Before the window the helper is installed, or re-installed when it is older than the one
    // this build carries (never from the command line); the erase pattern blocks are made once.
    void start(core::StartupStep step, const core::StartupOptions& options) override;

    Deleter& deleter() { return deleter_; }
    HelperClient& helper() { return helper_; }
    // How the deletion engine is set up (for a deleter of one's own with other options).
    DeleterEnv deleterEnv();

private:
    core::Context& ctx_;
    core::TaskRunner& tasks_;
    core::GeneralPrefs& general_;
    PkexecInstaller installer_;
    HelperClient helper_;
    Deleter deleter_;
};

} // namespace tpc::erase
