// `tpc scan CATEGORY` and `tpc clean CATEGORY [--item PATH]... [--all]`: a category page's Scan
// and Clean buttons, run to their end.

#include "cli/Commands.h"

#include "cli/Json.h"
#include "core/CategoryEngine.h"
#include "core/Keys.h"
#include "core/Record.h"
#include "core/Utf8.h"

#include <atomic>
#include <csignal>
#include <memory>
#include <set>
#include <sstream>

namespace tpc::cli {

namespace {

struct ScanCleanArgs {
    std::string category;
    std::vector<std::string> items;
    bool all = false;
};

// The categories whose clean never runs on the marks the lists are built with unless asked.
const std::set<std::string> kExplicitClean = {"browsers", "extensions"};

std::atomic<bool> interrupted{false};

extern "C" void onInterrupt(int) {
    interrupted.store(true);
}

// Ctrl-C presses the progress sheet's abort button while the task runs.
class InterruptGuard {
public:
    InterruptGuard() {
        interrupted.store(false);
        struct sigaction action {};
        action.sa_handler = onInterrupt;
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &previous_);
    }
    ~InterruptGuard() { sigaction(SIGINT, &previous_, nullptr); }
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

private:
    struct sigaction previous_ {};
};

core::CategoryEngine& findCategory(Session& session, const std::string& name) {
    std::string known;
    for (auto* engine : session.app().categories()) {
        if (engine->name() == name)
            return *engine;
        known += (known.empty() ? "" : ", ") + engine->name();
    }
    throw UsageError("unknown category \"" + name + "\" (known: " + known + ")");
}

// Presses the button on the main thread (this thread) and serves the worker's main-thread
// requests until the task and every thread it started have ended.
void runTask(Session& session, core::CategoryEngine& engine, core::TaskKind kind) {
    InterruptGuard guard;
    if (kind == core::TaskKind::Scan)
        engine.buttonScanClicked(core::Sender::Button);
    else
        engine.buttonCleanClicked(core::Sender::Button);
    auto& app = session.app();
    bool abortPressed = false;
    session.mainThread().runUntil([&] {
        if (interrupted.load() && !abortPressed) {
            abortPressed = true;
            if (auto abort = session.frontend().abortAction())
                abort();
        }
        return !app.flags().running(engine.category(), kind) && app.tasks().idle();
    });
}

std::string readable(const core::CategoryEngine& engine, const std::optional<std::string>& result,
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

int printResult(Session& session, const core::CategoryEngine& engine) {
    const auto result = session.frontend().resultText();
    const auto subtitle = session.frontend().subtitle(engine.button());
    nlohmann::json json = {
        {"category", engine.name()},
        {"list", toJson(core::Value(engine.list()))},
        {"result", result ? nlohmann::json(*result) : nlohmann::json(nullptr)},
        {"subtitle", subtitle ? nlohmann::json(*subtitle) : nlohmann::json(nullptr)},
    };
    session.print(json, readable(engine, result, subtitle));
    return 0;
}

int scan(Session& session, const ScanCleanArgs& args) {
    auto& engine = findCategory(session, args.category);
    runTask(session, engine, core::TaskKind::Scan);
    return printResult(session, engine);
}

int clean(Session& session, const ScanCleanArgs& args) {
    auto& engine = findCategory(session, args.category);
    if (!args.items.empty()) {
        auto unknown = engine.markOnly(args.items);
        if (!unknown.empty()) {
            std::string names;
            for (const auto& u : unknown)
                names += (names.empty() ? "\"" : ", \"") + u + "\"";
            throw UsageError("unknown item" + std::string(unknown.size() > 1 ? "s " : " ") + names +
                             " of " + args.category);
        }
    } else if (!args.all && kExplicitClean.count(args.category)) {
        throw UsageError("clean " + args.category +
                         " cleans only what is named: give --item PATH or --all");
    }
    runTask(session, engine, core::TaskKind::Clean);
    return printResult(session, engine);
}

} // namespace

void addScanCleanCommands(CLI::App& app, Handler& chosen) {
    auto args = std::make_shared<ScanCleanArgs>();

    auto* scanCmd = app.add_subcommand("scan", "Scan a category as its page's Scan button does");
    scanCmd->add_option("CATEGORY", args->category, "e.g. browsers")->required();
    scanCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return scan(s, *args);
        };
    });

    auto* cleanCmd =
        app.add_subcommand("clean", "Clean a category as its page's Clean button does, then "
                                    "rescan it");
    cleanCmd->add_option("CATEGORY", args->category, "e.g. browsers")->required();
    auto* item = cleanCmd->add_option(
        "--item", args->items,
        "clean only this row, named by its Description: \"Firefox/Cookies\", \"Firefox\"");
    auto* all =
        cleanCmd->add_flag("--all", args->all, "clean with the marks the list is built with");
    item->excludes(all);
    cleanCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return clean(s, *args);
        };
    });
}

} // namespace tpc::cli
