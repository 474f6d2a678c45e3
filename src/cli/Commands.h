#pragma once
// Each command group adds its subcommands to the parser and, when chosen, sets the handler that
// runs once the engine has started.

#include "cli/Session.h"

#include <CLI/CLI.hpp>
#include <functional>

namespace tpc::cli {

using Handler = std::function<int(Session&)>;

// `settings list|get|set`.
void addSettingsCommands(CLI::App& app, Handler& chosen);
// `erase [--method N] PATH...`.
void addEraseCommand(CLI::App& app, Handler& chosen);
// `count BROWSER ITEM`, `delete BROWSER ITEM`, `cookies BROWSER list|keep|unkeep`.
void addBrowserCommands(CLI::App& app, Handler& chosen);
// `scan CATEGORY`, `clean CATEGORY [--item PATH]... [--all]`.
void addScanCleanCommands(CLI::App& app, Handler& chosen);
// `recents list|add|remove|clear|set|mark`.
void addRecentsCommands(CLI::App& app, Handler& chosen);
// `eraser list|add|remove|clear|mark|option`.
void addEraserCommands(CLI::App& app, Handler& chosen);
// `presets list|add|remove|add-item|remove-item|mark|mark-item|sort|scan|clean`, `one-click`.
void addPresetCommands(CLI::App& app, Handler& chosen);
// `schedule list|set|unset|enable|disable|run`.
void addScheduleCommands(CLI::App& app, Handler& chosen);
// `update check [--info PLIST]`.
void addUpdateCommands(CLI::App& app, Handler& chosen);
// `iphoto scan|clean`.
void addIPhotoCommands(CLI::App& app, Handler& chosen);

} // namespace tpc::cli
