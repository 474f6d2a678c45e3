#include "ui/UpdateCommand.h"

#include "core/MainThread.h"
#include "core/TaskRunner.h"
#include "platform/Services.h"
#include "update/UpdateCheck.h"

namespace tpc::ui {

// Main thread only: the flags are read and written by the command and by the answer it posts.
struct UpdateCommand::State {
    bool alive = true;
    bool checking = false;
};

UpdateCommand::UpdateCommand(update::UpdateCheck& check, core::TaskRunner& tasks,
                             core::MainThread& mainThread, platform::RunningApps& running)
    : check_(check), tasks_(tasks), mainThread_(mainThread), state_(std::make_shared<State>()) {
    check_.terminateUpdaters = [&running] {
        running.terminate(kUpdaterBundleId);
    };
}

UpdateCommand::~UpdateCommand() {
    state_->alive = false;
}

bool UpdateCommand::checking() const {
    return state_->checking;
}

void UpdateCommand::checkForUpdateClicked() {
    if (state_->checking)
        return;
    state_->checking = true;
    if (onCheckingChanged)
        onCheckingChanged(true);
    if (check_.terminateUpdaters)
        check_.terminateUpdaters();
    // The task runner joins the thread before the engine (and the check) goes; the main thread
    // outlives both.
    tasks_.startThread([this, state = state_, &check = check_, &mainThread = mainThread_] {
        const bool newer = check.checkForUpdate();
        mainThread.post([this, state, newer] {
            if (state->alive)
                finish(newer);
        });
    });
}

void UpdateCommand::finish(bool newer) {
    check_.offerUpdate(newer);
    state_->checking = false;
    if (onCheckingChanged)
        onCheckingChanged(false);
}

} // namespace tpc::ui
