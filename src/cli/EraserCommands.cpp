// `tpc eraser list|add|remove|clear|mark|option`: the File Eraser page's list, edited as its
// open panel, Remove buttons, check boxes and "Delete Option" pop-up do.

#include "cli/Commands.h"

#include "cli/Json.h"
#include "core/Keys.h"
#include "core/Record.h"
#include "core/Utf8.h"
#include "eraser/EraserModule.h"
#include "eraser/EraserPaths.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <sys/stat.h>

namespace tpc::cli {

namespace {

struct EraserArgs {
    std::vector<std::string> paths;
    std::string path;
    std::string value;
};

// The form rows are listed in: absolute, lexically normal, without a trailing "/".
std::string listedForm(const std::string& given) {
    std::error_code ec;
    auto text = std::filesystem::absolute(given, ec).lexically_normal().string();
    if (ec)
        throw UsageError("cannot make \"" + core::displayText(given) + "\" an absolute path");
    while (text.size() > 1 && text.back() == '/')
        text.pop_back();
    return text;
}

bool parseMark(const std::string& value) {
    if (value != "0" && value != "1")
        throw UsageError("a mark is 0 or 1, not \"" + value + "\"");
    return value == "1";
}

int rowOf(Session& session, const std::string& given) {
    auto path = listedForm(given);
    int row = session.module<eraser::EraserModule>().list().findRow(path);
    if (row < 0)
        throw UsageError("\"" + core::displayText(path) + "\" is not in the file eraser list");
    return row;
}

std::string readable(const core::ArrayRef& rows, const std::optional<core::AlertRequest>& alert) {
    std::ostringstream text;
    if (rows)
        for (const auto& row : rows->dicts()) {
            text << (core::isMarked(row) ? "[x] " : "[ ] ")
                 << core::displayText(core::description(row)) << "  "
                 << row->getString(core::keys::SizeFormattedString) << "  "
                 << core::displayText(core::path(row));
            if (row->getBool(eraser::keys::IsAFolder))
                text << (row->getBool(eraser::keys::DeleteOption) ? "  (contents)" : "  (folder)");
            text << "\n";
        }
    if (!rows || rows->empty())
        text << "(the file eraser list is empty)\n";
    if (alert)
        text << alert->title << "\n" << core::displayText(alert->message) << "\n";
    return text.str();
}

int printList(Session& session, const std::optional<core::AlertRequest>& alert = std::nullopt) {
    auto rows = session.module<eraser::EraserModule>().list().arrayFolders();
    nlohmann::json result = {{"list", toJson(core::Value(rows))}};
    if (alert)
        result["alert"] = {{"title", alert->title}, {"message", alert->message}};
    session.print(result, readable(rows, alert));
    return 0;
}

int add(Session& session, const EraserArgs& args) {
    // Every path is checked before any is added, as the open panel only returns existing ones.
    std::vector<std::string> paths;
    for (const auto& given : args.paths) {
        auto path = listedForm(given);
        struct stat st {};
        if (lstat(path.c_str(), &st) != 0)
            throw UsageError("no such file or folder: \"" + core::displayText(given) + "\"");
        if (path == "/")
            throw UsageError("refusing to list the root folder");
        if (!eraser::storablePath(path))
            throw UsageError("cannot list \"" + core::displayText(path) +
                             "\": its name is not valid UTF-8 text, which the list cannot keep "
                             "(use tpc erase to remove it now)");
        paths.push_back(path);
    }
    auto& app = session.app();
    const auto shownBefore = session.frontend().alerts().size();
    session.module<eraser::EraserModule>().driver().addPaths(paths);
    // The silent sizes update runs on a worker: let it size the new rows before printing.
    session.mainThread().runUntil([&] { return app.tasks().idle(); });

    std::optional<core::AlertRequest> alert;
    if (session.frontend().alerts().size() > shownBefore)
        alert = session.frontend().alerts().back();
    return printList(session, alert);
}

int remove(Session& session, const EraserArgs& args) {
    std::vector<int> rows;
    for (const auto& given : args.paths)
        rows.push_back(rowOf(session, given));
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    session.module<eraser::EraserModule>().list().removeRows(rows);
    return printList(session);
}

int clear(Session& session) {
    session.module<eraser::EraserModule>().list().removeAll();
    return printList(session);
}

int mark(Session& session, const EraserArgs& args) {
    bool on = parseMark(args.value);
    session.module<eraser::EraserModule>().list().setRowMark(rowOf(session, args.path), on);
    return printList(session);
}

int option(Session& session, const EraserArgs& args) {
    if (args.value != "contents" && args.value != "folder")
        throw UsageError("the delete option is contents or folder, not \"" + args.value + "\"");
    int row = rowOf(session, args.path);
    if (!session.module<eraser::EraserModule>().list().setDeleteOption(row,
                                                                       args.value == "contents"))
        throw UsageError("\"" + core::displayText(listedForm(args.path)) + "\" is not a folder");
    return printList(session);
}

} // namespace

void addEraserCommands(CLI::App& app, Handler& chosen) {
    auto args = std::make_shared<EraserArgs>();
    auto* eraser = app.add_subcommand("eraser", "The file eraser list");
    eraser->require_subcommand(1);

    eraser->add_subcommand("list", "Show the list")->callback([&chosen] {
        chosen = [](Session& s) {
            return printList(s);
        };
    });

    auto* addCmd = eraser->add_subcommand("add", "Add files and folders to the list");
    addCmd->add_option("PATH", args->paths, "existing files or folders")->required();
    addCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return add(s, *args);
        };
    });

    auto* removeCmd = eraser->add_subcommand("remove", "Remove rows from the list");
    removeCmd->add_option("PATH", args->paths, "listed paths")->required();
    removeCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return remove(s, *args);
        };
    });

    eraser->add_subcommand("clear", "Empty the list")->callback([&chosen] { chosen = clear; });

    auto* markCmd = eraser->add_subcommand("mark", "Mark (1) or unmark (0) a row for shredding");
    markCmd->add_option("PATH", args->path, "a listed path")->required();
    markCmd->add_option("VALUE", args->value, "0 or 1")->required();
    markCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return mark(s, *args);
        };
    });

    auto* optionCmd = eraser->add_subcommand(
        "option", "A folder row's Delete Option: erase its contents only, or the whole folder");
    optionCmd->add_option("PATH", args->path, "a listed folder")->required();
    optionCmd->add_option("VALUE", args->value, "contents or folder")->required();
    optionCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return option(s, *args);
        };
    });
}

} // namespace tpc::cli
