#pragma once
// The "Check for Updates..." command of the status menu and the Preferences page. The running
// updaters are ended first; the download of the published version runs on a helper thread of the
// task runner, so the window stays responsive for the few seconds it may take; its answer comes
// back to the main thread, which asks "Do you want to update" and starts the updater. One check
// at a time: a click while one runs does nothing.

#include <functional>
#include <memory>

namespace tpc::core {
class MainThread;
class TaskRunner;
} // namespace tpc::core

namespace tpc::platform {
class RunningApps;
}

namespace tpc::update {
class UpdateCheck;
}

namespace tpc::ui {

// The updater's bundle identifier: its running copies are ended before a check from the menu.
inline constexpr const char* kUpdaterBundleId = "com.tavrinsoftware.autoupdator";

class UpdateCommand {
public:
    // Sets the check's terminateUpdaters to end the updaters through `running`.
    UpdateCommand(update::UpdateCheck& check, core::TaskRunner& tasks, core::MainThread& mainThread,
                  platform::RunningApps& running);
    // A check still downloading finds nobody to answer: its result is dropped.
    ~UpdateCommand();
    UpdateCommand(const UpdateCommand&) = delete;
    UpdateCommand& operator=(const UpdateCommand&) = delete;

    // The menu command (main thread).
    void checkForUpdateClicked();
    bool checking() const;

    // Told when a check starts (true) and when its answer has been handled (false), so the
    // entries that start one can be disabled meanwhile.
    std::function<void(bool checking)> onCheckingChanged;

private:
    struct State;
    void finish(bool newer);

    update::UpdateCheck& check_;
    core::TaskRunner& tasks_;
    core::MainThread& mainThread_;
    // Shared with the answer posted to the main thread, which may arrive after this is gone.
    std::shared_ptr<State> state_;
};

} // namespace tpc::ui
