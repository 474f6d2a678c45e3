// `tpc scan CATEGORY` and `tpc clean CATEGORY [--item PATH]... [--all]`: a category page's Scan
// and Clean buttons, run to their end.

#include "cli/Commands.h"

#include "cli/TaskRun.h"
#include "core/CategoryEngine.h"

#include <memory>
#include <set>

namespace tpc::cli {

namespace {

struct ScanCleanArgs {
    std::string category;
    std::vector<std::string> items;
    bool all = false;
};

// The categories whose clean never runs on the marks the lists are built with unless asked.
const std::set<std::string> kExplicitClean = {"browsers", "extensions"};
// The categories whose list only a scan builds: their clean first scans, as opening their page
// does, so that there is something to name and clean.
const std::set<std::string> kListBuiltByScan = {"extensions"};

core::CategoryEngine& findCategory(Session& session, const std::string& name) {
    std::string known;
    for (auto* engine : session.app().categories()) {
        if (engine->name() == name)
            return *engine;
        known += (known.empty() ? "" : ", ") + engine->name();
    }
    throw UsageError("unknown category \"" + name + "\" (known: " + known + ")");
}

int scan(Session& session, const ScanCleanArgs& args) {
    auto& engine = findCategory(session, args.category);
    runCategoryTask(session, engine, core::TaskKind::Scan);
    return printTaskResult(session, engine);
}

int clean(Session& session, const ScanCleanArgs& args) {
    auto& engine = findCategory(session, args.category);
    if (args.items.empty() && !args.all && kExplicitClean.count(args.category))
        throw UsageError("clean " + args.category +
                         " cleans only what is named: give --item PATH or --all");
    if (kListBuiltByScan.count(args.category))
        runCategoryTask(session, engine, core::TaskKind::Scan);
    if (!args.items.empty()) {
        auto unknown = engine.markOnly(args.items);
        if (!unknown.empty()) {
            std::string names;
            for (const auto& u : unknown)
                names += (names.empty() ? "\"" : ", \"") + u + "\"";
            throw UsageError("unknown item" + std::string(unknown.size() > 1 ? "s " : " ") + names +
                             " of " + args.category);
        }
    }
    runCategoryTask(session, engine, core::TaskKind::Clean);
    return printTaskResult(session, engine);
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

    // `tpc extensions scan|clean ...`: the same as `tpc scan|clean extensions ...`.
    auto extArgs = std::make_shared<ScanCleanArgs>();
    extArgs->category = "extensions";
    auto* ext = app.add_subcommand("extensions", "The Extensions page: scan, or clean what is "
                                                 "named");
    ext->require_subcommand(1);
    ext->add_subcommand("scan", "Scan as the Extensions page's Scan button does")
        ->callback([&chosen, extArgs] {
            chosen = [extArgs](Session& s) {
                return scan(s, *extArgs);
            };
        });
    auto* extClean = ext->add_subcommand("clean", "Scan, then clean the named add-ons and rescan");
    auto* extItem = extClean->add_option(
        "--item", extArgs->items,
        "clean this row, named by its Description: \"Login Items/Foo\", \"Widgets\"");
    auto* extAll =
        extClean->add_flag("--all", extArgs->all, "clean with the marks the lists are built with");
    extItem->excludes(extAll);
    extClean->callback([&chosen, extArgs] {
        chosen = [extArgs](Session& s) {
            return clean(s, *extArgs);
        };
    });
}

} // namespace tpc::cli
