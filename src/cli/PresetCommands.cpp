// `tpc presets ...` and `tpc one-click`: the Auto clean page's two lists (the presets and the
// selected preset's items) edited as its buttons, check boxes, sort pop-ups and the category
// pages' "Add Item to Preset" pop-ups do, and the presets run as the page's Scan and Clean, a
// status-menu entry and the one-click button run them.

#include "cli/Commands.h"

#include "cli/Json.h"
#include "cli/TaskRun.h"
#include "core/Keys.h"
#include "core/Record.h"
#include "core/TaskFlags.h"
#include "core/Utf8.h"
#include "presets/PresetsModule.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <sstream>

namespace tpc::cli {

namespace {

using presets::PresetModel;

struct PresetArgs {
    std::string name;
    std::string category;
    std::string row;
    std::string value;
    std::string sub;
    std::string order;
};

PresetModel& presetModel(Session& session) {
    return session.module<presets::PresetsModule>().model();
}

presets::PresetRunner& presetRunner(Session& session) {
    return session.module<presets::PresetsModule>().runner();
}

bool presetMarkValue(const std::string& value) {
    if (value != "0" && value != "1")
        throw UsageError("a mark is 0 or 1, not \"" + value + "\"");
    return value == "1";
}

// The row of the first preset whose "Description" is `name`, as the page finds presets.
int presetRowNamed(PresetModel& model, const std::string& name) {
    std::string known;
    if (const auto rows = model.presets()) {
        int row = 0;
        for (const auto& preset : rows->dicts()) {
            if (core::description(preset) == name)
                return row;
            known += (known.empty() ? "\"" : ", \"") + core::description(preset) + "\"";
            ++row;
        }
    }
    throw UsageError("no preset \"" + name + "\" (presets: " + (known.empty() ? "none" : known) +
                     ")");
}

// A row of the preset's sub list: "Category" (a category record) or "Category/Item" (an item of
// one), both by "Description". A category name may itself hold a "/", so each category is
// tried as a prefix.
core::DictRef presetSubRowNamed(const core::DictRef& preset, const std::string& given) {
    if (const auto categories = core::subList(preset))
        for (const auto& category : categories->dicts()) {
            const std::string name = core::description(category);
            if (given == name)
                return category;
            if (given.size() <= name.size() + 1 || given.compare(0, name.size(), name) != 0 ||
                given[name.size()] != '/')
                continue;
            const std::string item = given.substr(name.size() + 1);
            if (const auto items = core::subList(category))
                for (const auto& record : items->dicts())
                    if (core::description(record) == item)
                        return record;
        }
    throw UsageError("no row \"" + core::displayText(given) + "\" in preset \"" +
                     core::description(preset) + "\"");
}

core::SortChoice presetSortChoice(const std::string& order) {
    if (order == "default")
        return core::SortChoice::Default;
    if (order == "name")
        return core::SortChoice::Name;
    if (order == "size")
        return core::SortChoice::Size;
    throw UsageError("the sort is default, name or size, not \"" + order + "\"");
}

void writePresetRecord(std::ostringstream& text, const core::DictRef& record, int depth) {
    text << std::string(static_cast<std::size_t>(depth) * 4, ' ')
         << (core::isMarked(record) ? "[x] " : "[ ] ")
         << core::displayText(core::description(record)) << "  "
         << record->getString(core::keys::SizeFormattedString) << "\n";
}

std::string readablePreset(const core::DictRef& preset) {
    std::ostringstream text;
    writePresetRecord(text, preset, 0);
    if (const auto categories = core::subList(preset))
        for (const auto& category : categories->dicts()) {
            writePresetRecord(text, category, 1);
            if (const auto items = core::subList(category))
                for (const auto& item : items->dicts())
                    writePresetRecord(text, item, 2);
        }
    return text.str();
}

int printPresets(Session& session) {
    const auto rows = presetModel(session).presets();
    std::ostringstream text;
    if (rows)
        for (const auto& preset : rows->dicts()) {
            const auto categories = core::subList(preset);
            text << (core::isMarked(preset) ? "[x] " : "[ ] ")
                 << core::displayText(core::description(preset)) << "  "
                 << preset->getString(core::keys::SizeFormattedString) << "  ("
                 << (categories ? categories->size() : 0) << " categories)\n";
        }
    if (!rows || rows->empty())
        text << "(there are no presets)\n";
    session.print({{"presets", toJson(core::Value(rows))}}, text.str());
    return 0;
}

int printPreset(Session& session, const core::DictRef& preset) {
    session.print(toJson(core::Value(preset)), readablePreset(preset));
    return 0;
}

int printPresetNamed(Session& session, const std::string& name) {
    auto& model = presetModel(session);
    const auto rows = model.presets();
    return printPreset(session,
                       rows->at(static_cast<std::size_t>(presetRowNamed(model, name))).dict());
}

int presetsAdd(Session& session) {
    presetModel(session).addPreset();
    return printPresets(session);
}

int presetsRemove(Session& session, const PresetArgs& args) {
    auto& model = presetModel(session);
    model.selectRow(presetRowNamed(model, args.name));
    // The page's remove button is disabled for the built-in preset.
    if (!model.removePresetEnabled())
        throw UsageError("the preset \"" + args.name + "\" cannot be removed");
    model.removeSelectedPreset();
    return printPresets(session);
}

// The group record a page's rows go under in a preset; empty for the browsers, whose rows are
// category records of their own.
std::string presetGroupOf(const std::string& category) {
    if (category == "browsers")
        return {};
    if (category == "system")
        return presets::kCleanSystemJunk;
    if (category == "recents")
        return presets::kCleanAppJunk;
    if (category == "eraser")
        return presets::kFileEraser;
    throw UsageError("unknown category \"" + category +
                     "\" (items come from browsers, system, recents or eraser)");
}

// The page's row: by "Description", or for the file eraser by its path.
core::DictRef presetSourceRow(Session& session, const std::string& category,
                              const std::string& given) {
    core::CategoryEngine* engine = nullptr;
    for (auto* candidate : session.app().categories())
        if (candidate->name() == category)
            engine = candidate;
    if (!engine)
        throw FatalError("this program was built without the " + category + " page");
    std::string wanted = given;
    if (category == "eraser") {
        std::error_code ec;
        auto absolute = std::filesystem::absolute(given, ec).lexically_normal().string();
        while (absolute.size() > 1 && absolute.back() == '/')
            absolute.pop_back();
        if (!ec)
            wanted = absolute;
    }
    if (const auto rows = engine->list())
        for (const auto& row : rows->dicts()) {
            if (category == "eraser" ? core::path(row) == wanted || core::path(row) == given
                                     : core::description(row) == given)
                return row;
        }
    throw UsageError("no row \"" + core::displayText(given) + "\" on the " + category + " page");
}

int presetsAddItem(Session& session, const PresetArgs& args) {
    auto& model = presetModel(session);
    const std::string group = presetGroupOf(args.category);
    presetRowNamed(model, args.name);
    // The pop-up's entries: its title, a separator, then every preset but the built-in one.
    const auto entries = model.addToPresetEntries();
    int position = -1;
    for (std::size_t i = 2; i < entries.size() && position < 0; ++i)
        if (entries[i] == args.name)
            position = static_cast<int>(i);
    if (position < 0)
        throw UsageError("the preset \"" + args.name +
                         "\" is not offered by \"Add Item to Preset\"");
    const auto row = presetSourceRow(session, args.category, args.row);
    const bool added = group.empty() ? model.addRowToPreset(position, args.name, row)
                                     : model.addRowToPresetGroup(position, args.name, group, row);
    if (!added)
        std::cerr << "tpc: \"" << core::displayText(args.row) << "\" is already in the preset \""
                  << core::displayText(args.name) << "\": nothing added\n";
    return printPresetNamed(session, args.name);
}

int presetsRemoveItem(Session& session, const PresetArgs& args) {
    auto& model = presetModel(session);
    model.selectRow(presetRowNamed(model, args.name));
    model.removeSubListItem(presetSubRowNamed(model.selectedPreset(), args.row));
    return printPresetNamed(session, args.name);
}

int presetsMark(Session& session, const PresetArgs& args) {
    auto& model = presetModel(session);
    const bool on = presetMarkValue(args.value);
    model.setPresetMark(presetRowNamed(model, args.name), on);
    return printPresetNamed(session, args.name);
}

int presetsMarkItem(Session& session, const PresetArgs& args) {
    auto& model = presetModel(session);
    const bool on = presetMarkValue(args.value);
    model.selectRow(presetRowNamed(model, args.name));
    model.clickSubListRow(presetSubRowNamed(model.selectedPreset(), args.row), on);
    return printPresetNamed(session, args.name);
}

int presetsSort(Session& session, const PresetArgs& args) {
    auto& model = presetModel(session);
    const auto choice = presetSortChoice(args.order);
    if (args.sub.empty()) {
        model.sortMainList(choice);
        return printPresets(session);
    }
    model.selectRow(presetRowNamed(model, args.sub));
    model.sortSubList(choice);
    return printPresetNamed(session, args.sub);
}

// Until no preset scan or clean runs (the runner's threads are waited for as well).
std::function<bool()> presetTasksEnded(Session& session) {
    auto& flags = session.app().flags();
    return [&flags] {
        return !flags.running(core::Category::Presets, core::TaskKind::Scan) &&
               !flags.running(core::Category::Presets, core::TaskKind::Clean);
    };
}

int presetsClean(Session& session, const PresetArgs& args) {
    auto& runner = presetRunner(session);
    if (args.name.empty()) {
        runCategoryTask(session, runner, core::TaskKind::Clean);
        return printTaskResult(session, runner);
    }
    presetRowNamed(presetModel(session), args.name);
    // The status menu's entry starts the clean from a thread of its own, after any running task
    // has been aborted.
    runTaskToEnd(
        session, [&runner, &args] { runner.cleanFromMenu(args.name); }, presetTasksEnded(session));
    return printTaskResult(session, runner);
}

int oneClick(Session& session) {
    auto& runner = presetRunner(session);
    presetModel(session).markOnlyPreset(presets::kOneClickClean);
    runTaskToEnd(
        session, [&runner] { runner.startOneClickClean(); }, presetTasksEnded(session));
    return printTaskResult(session, runner);
}

} // namespace

void addPresetCommands(CLI::App& app, Handler& chosen) {
    auto args = std::make_shared<PresetArgs>();
    auto* group = app.add_subcommand("presets", "The presets of the Auto clean page");
    group->require_subcommand(1);

    auto* list = group->add_subcommand("list", "Show every preset");
    list->callback([&chosen] { chosen = printPresets; });

    auto* add = group->add_subcommand("add", "Add a preset named \"Preset #N\"");
    add->callback([&chosen] { chosen = presetsAdd; });

    // Each subcommand sets the handler that runs with the parsed arguments.
    auto bind = [&chosen, args](CLI::App* command, int (*handler)(Session&, const PresetArgs&)) {
        command->callback([&chosen, args, handler] {
            chosen = [args, handler](Session& s) {
                return handler(s, *args);
            };
        });
    };

    auto* remove = group->add_subcommand("remove", "Remove a preset");
    remove->add_option("NAME", args->name, "the preset's name")->required();
    bind(remove, presetsRemove);

    auto* addItem = group->add_subcommand(
        "add-item", "Add a page's row to a preset, as the page's \"Add Item to Preset\" does");
    addItem->add_option("NAME", args->name, "the preset's name")->required();
    addItem->add_option("CATEGORY", args->category, "browsers, system, recents or eraser")
        ->required();
    addItem->add_option("ROW", args->row, "the row's Description (for eraser, its path)")
        ->required();
    bind(addItem, presetsAddItem);

    auto* removeItem = group->add_subcommand("remove-item", "Remove a row from a preset");
    removeItem->add_option("NAME", args->name, "the preset's name")->required();
    removeItem->add_option("ROW", args->row, "\"Category\" or \"Category/Item\"")->required();
    bind(removeItem, presetsRemoveItem);

    auto* mark = group->add_subcommand("mark", "Mark (1) or unmark (0) a preset");
    mark->add_option("NAME", args->name, "the preset's name")->required();
    mark->add_option("VALUE", args->value, "0 or 1")->required();
    bind(mark, presetsMark);

    auto* markItem =
        group->add_subcommand("mark-item", "Click a row's check box in a preset's sub list");
    markItem->add_option("NAME", args->name, "the preset's name")->required();
    markItem->add_option("ROW", args->row, "\"Category\" or \"Category/Item\"")->required();
    markItem->add_option("VALUE", args->value, "0 or 1")->required();
    bind(markItem, presetsMarkItem);

    auto* sort = group->add_subcommand("sort", "Choose the presets' (or a preset's) sort order");
    sort->add_option("--sub", args->sub, "sort this preset's items instead");
    sort->add_option("ORDER", args->order, "default, name or size")->required();
    bind(sort, presetsSort);

    auto* scan = group->add_subcommand("scan", "Scan every preset, as the page's Scan does");
    scan->callback([&chosen] {
        chosen = [](Session& s) {
            auto& runner = presetRunner(s);
            runCategoryTask(s, runner, core::TaskKind::Scan);
            return printTaskResult(s, runner);
        };
    });

    auto* clean = group->add_subcommand(
        "clean", "Clean the marked presets, or only NAME as its status-menu entry does");
    clean->add_option("NAME", args->name, "a preset's name");
    bind(clean, presetsClean);

    app.add_subcommand("one-click", "The one-click clean of the built-in preset")
        ->callback([&chosen] { chosen = oneClick; });
}

} // namespace tpc::cli
