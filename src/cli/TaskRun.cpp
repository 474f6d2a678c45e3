#include "cli/TaskRun.h"

#include "cli/Json.h"
#include "core/Keys.h"
#include "core/Record.h"
#include "core/Utf8.h"

#include <atomic>
#include <csignal>
#include <sstream>

namespace tpc::cli {

namespace {

std::atomic<bool> taskInterrupted{false};

extern "C" void onTaskInterrupt(int) {
    taskInterrupted.store(true);
}

// Ctrl-C is heard while the task runs, instead of ending the program in the middle of a delete.
class TaskInterruptGuard {
public:
    TaskInterruptGuard() {
        taskInterrupted.store(false);
        struct sigaction action {};
        action.sa_handler = onTaskInterrupt;
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &previous_);
    }
    ~TaskInterruptGuard() { sigaction(SIGINT, &previous_, nullptr); }
    TaskInterruptGuard(const TaskInterruptGuard&) = delete;
    TaskInterruptGuard& operator=(const TaskInterruptGuard&) = delete;

private:
    struct sigaction previous_ {};
};

std::string readableTaskResult(const core::CategoryEngine& engine,
                               const std::optional<std::string>& result,
                               const std::optional<std::string>& subtitle) {
    std::ostringstream text;
    auto list = engine.list();
    if (list)
        for (const auto& root : list->dicts()) {
            text << (core::isMarked(root) ? "[x] " : "[ ] ")
                 << core::displayText(core::description(root)) << "  "
                 << root->getString(core::keys::SizeFormattedString);
            std::string marked;
            if (auto subs = core::subList(root))
                for (const auto& sub : subs->dicts())
                    if (core::isMarked(sub))
                        marked += (marked.empty() ? "" : ", ") +
                                  core::displayText(core::description(sub));
            if (!marked.empty())
                text << "  (marked: " << marked << ")";
            text << "\n";
        }
    if (result)
        text << *result << "\n";
    if (subtitle)
        text << core::mainButtonName(engine.button()) << ": " << *subtitle << "\n";
    return text.str();
}

} // namespace

void runTaskToEnd(Session& session, const std::function<void()>& start,
                  const std::function<bool()>& ended) {
    TaskInterruptGuard guard;
    start();
    auto& app = session.app();
    bool abortPressed = false;
    session.mainThread().runUntil([&] {
        if (taskInterrupted.load() && !abortPressed)
            if (auto abort = session.frontend().abortAction()) {
                abortPressed = true;
                abort();
            }
        return ended() && app.tasks().idle();
    });
    // A thread's last post may have come after the queue was last found empty.
    session.mainThread().drain();
}

void runCategoryTask(Session& session, core::CategoryEngine& engine, core::TaskKind kind) {
    auto& flags = session.app().flags();
    runTaskToEnd(
        session,
        [&engine, kind] {
            if (kind == core::TaskKind::Scan)
                engine.buttonScanClicked(core::Sender::Button);
            else
                engine.buttonCleanClicked(core::Sender::Button);
        },
        [&flags, &engine, kind] { return !flags.running(engine.category(), kind); });
}

int printTaskResult(Session& session, const core::CategoryEngine& engine) {
    const auto result = session.frontend().resultText();
    const auto subtitle = session.frontend().subtitle(engine.button());
    nlohmann::json json = {
        {"category", engine.name()},
        {"list", toJson(core::Value(engine.list()))},
        {"result", result ? nlohmann::json(*result) : nlohmann::json(nullptr)},
        {"subtitle", subtitle ? nlohmann::json(*subtitle) : nlohmann::json(nullptr)},
    };
    session.print(json, readableTaskResult(engine, result, subtitle));
    return 0;
}

} // namespace tpc::cli
