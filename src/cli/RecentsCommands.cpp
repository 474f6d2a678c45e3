// `tpc recents list|add|remove|clear|set|mark`: the Recents page's application list, edited as
// its open panels, Remove buttons, check boxes and options pop-up do.

#include "cli/Commands.h"

#include "apps/AppKeys.h"
#include "apps/AppsModule.h"
#include "cli/Json.h"
#include "core/Keys.h"
#include "core/Record.h"
#include "core/Utf8.h"
#include "platform/Platform.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <sys/stat.h>

namespace tpc::cli {

namespace {

namespace fs = std::filesystem;
using apps::AppCatalogue;

struct RecentsArgs {
    std::string app;
    std::string flag;
    std::string value;
    bool embedded = false;
};

std::string absoluteForm(const std::string& given) {
    std::error_code ec;
    auto text = fs::absolute(given, ec).lexically_normal().string();
    if (ec)
        throw UsageError("cannot make \"" + given + "\" an absolute path");
    while (text.size() > 1 && text.back() == '/')
        text.pop_back();
    return text;
}

bool parseOnOff(const std::string& value) {
    if (value != "0" && value != "1")
        throw UsageError("the value is 0 or 1, not \"" + value + "\"");
    return value == "1";
}

// APP as the list names it: a "Path" or a "Description" as given, else the path made absolute.
int appRowOf(Session& session, const std::string& app) {
    auto& catalogue = session.module<apps::AppsModule>().catalogue();
    int row = catalogue.findRow(app);
    if (row < 0 && !app.empty())
        row = catalogue.findRow(absoluteForm(app));
    if (row < 0)
        throw UsageError("no application \"" + app + "\" in the application list");
    return row;
}

std::string flagNames() {
    std::string names;
    for (const char* f : apps::keys::kOptionFlags)
        names += (names.empty() ? "\"" : ", \"") + std::string(f) + "\"";
    return names;
}

void checkFlag(Session& session, const std::string& flag) {
    bool known = false;
    for (const char* f : apps::keys::kOptionFlags)
        known = known || flag == f;
    if (!known)
        throw UsageError("unknown option \"" + flag + "\" (known: " + flagNames() + ")");
    if (!session.module<apps::AppsModule>().catalogue().optionAvailable(flag))
        throw UsageError("the option \"" + flag + "\" is not available in the " +
                         platform::layoutName(session.platform().layout()) + " layout");
}

std::string readableApps(Session& session, const core::ArrayRef& rows,
                         const std::optional<core::AlertRequest>& alert) {
    auto& catalogue = session.module<apps::AppsModule>().catalogue();
    std::ostringstream text;
    if (rows)
        for (const auto& row : rows->dicts()) {
            text << (core::isMarked(row) ? "[x] " : "[ ] ")
                 << core::displayText(core::description(row)) << "  "
                 << row->getString(core::keys::SizeFormattedString) << "  "
                 << core::displayText(core::path(row));
            std::string on;
            for (const char* f : apps::keys::kOptionFlags)
                if (catalogue.optionAvailable(f) && row->getInt(f) == 1)
                    on += (on.empty() ? "" : ", ") + std::string(f);
            text << "  (" << (on.empty() ? "no options" : on) << ")\n";
        }
    if (!rows || rows->empty())
        text << "(the application list is empty)\n";
    if (alert)
        text << alert->title << "\n" << core::displayText(alert->message) << "\n";
    return text.str();
}

int printApps(Session& session, const std::optional<core::AlertRequest>& alert = std::nullopt) {
    auto rows = session.module<apps::AppsModule>().catalogue().arrayRecents();
    nlohmann::json result = {{"list", toJson(core::Value(rows))}};
    if (alert)
        result["alert"] = {{"title", alert->title}, {"message", alert->message}};
    session.print(result, readableApps(session, rows, alert));
    return 0;
}

// `embedded` only lets the open panel browse into bundles; what is added is the same.
int add(Session& session, const RecentsArgs& args) {
    auto path = absoluteForm(args.app);
    struct stat st {};
    if (lstat(path.c_str(), &st) != 0)
        throw UsageError("no such application: \"" + core::displayText(args.app) + "\"");
    // The list is kept in a property list, whose strings are UTF-8: any other name could only be
    // stored as some other path.
    if (!core::isValidUtf8(path) || path.find('\0') != std::string::npos)
        throw UsageError("cannot list \"" + core::displayText(path) +
                         "\": its name is not valid UTF-8 text, which the list cannot keep");
    bool macos = session.platform().layout() == platform::Layout::MacOS;
    const char* wanted = macos ? ".app" : ".desktop";
    if (fs::path(path).extension() != wanted)
        throw UsageError("\"" + args.app + "\" is not " +
                         (macos ? "an application bundle (.app)" : "a desktop entry (.desktop)"));
    const auto shownBefore = session.frontend().alerts().size();
    auto result = session.module<apps::AppsModule>().catalogue().addApplication(path);
    if (result == AppCatalogue::AddResult::NoIdentifier)
        std::cerr << "tpc: no " << (macos ? "bundle identifier" : "desktop file id") << " for \""
                  << core::displayText(path) << "\": nothing added\n";
    std::optional<core::AlertRequest> alert;
    if (session.frontend().alerts().size() > shownBefore)
        alert = session.frontend().alerts().back();
    return printApps(session, alert);
}

int remove(Session& session, const RecentsArgs& args) {
    session.module<apps::AppsModule>().catalogue().removeRow(appRowOf(session, args.app));
    return printApps(session);
}

int clearApps(Session& session) {
    session.module<apps::AppsModule>().catalogue().removeAll();
    return printApps(session);
}

int set(Session& session, const RecentsArgs& args) {
    checkFlag(session, args.flag);
    bool on = parseOnOff(args.value);
    session.module<apps::AppsModule>().catalogue().setOption(appRowOf(session, args.app), args.flag,
                                                             on);
    return printApps(session);
}

int mark(Session& session, const RecentsArgs& args) {
    bool on = parseOnOff(args.value);
    session.module<apps::AppsModule>().catalogue().setRowMark(appRowOf(session, args.app), on);
    return printApps(session);
}

} // namespace

void addRecentsCommands(CLI::App& app, Handler& chosen) {
    auto args = std::make_shared<RecentsArgs>();
    auto* recents = app.add_subcommand("recents", "The application list of the Recents page");
    recents->require_subcommand(1);

    recents->add_subcommand("list", "Show the list")->callback([&chosen] {
        chosen = [](Session& s) {
            return printApps(s);
        };
    });

    auto* addCmd = recents->add_subcommand("add", "Add an application");
    addCmd->add_option("APP", args->app, "an application bundle (.app) or desktop entry (.desktop)")
        ->required();
    addCmd->add_flag("--embedded", args->embedded,
                     "the application lies inside another application's bundle");
    addCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return add(s, *args);
        };
    });

    auto* removeCmd = recents->add_subcommand("remove", "Remove an application");
    removeCmd->add_option("APP", args->app, "a listed path or Description")->required();
    removeCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return remove(s, *args);
        };
    });

    recents->add_subcommand("clear", "Empty the list")->callback([&chosen] { chosen = clearApps; });

    auto* setCmd = recents->add_subcommand("set", "Switch one of an application's options");
    setCmd->add_option("APP", args->app, "a listed path or Description")->required();
    setCmd->add_option("FLAG", args->flag, flagNames())->required();
    setCmd->add_option("VALUE", args->value, "0 or 1")->required();
    setCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return set(s, *args);
        };
    });

    auto* markCmd = recents->add_subcommand("mark", "Mark (1) or unmark (0) an application");
    markCmd->add_option("APP", args->app, "a listed path or Description")->required();
    markCmd->add_option("VALUE", args->value, "0 or 1")->required();
    markCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return mark(s, *args);
        };
    });
}

} // namespace tpc::cli
