// `tpc update check [--info PLIST]`: whether a newer version is published, from the program's
// information property list (or another one). It never starts the updater.

#include "cli/Commands.h"

#include "core/Utf8.h"
#include "update/UpdateCheck.h"
#include "update/UpdateModule.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>

namespace tpc::cli {

namespace {

struct UpdateArgs {
    std::string info;
};

int updateCheck(Session& session, const UpdateArgs& args) {
    std::optional<update::UpdateCheck> other;
    update::UpdateCheck* check = nullptr;
    if (!args.info.empty()) {
        std::error_code ec;
        const auto info = std::filesystem::absolute(args.info, ec);
        if (ec || !std::filesystem::is_regular_file(info, ec))
            throw UsageError("information property list \"" + core::displayText(args.info) +
                             "\" does not exist");
        other.emplace(session.frontend(), session.log(), info, std::nullopt);
        check = &*other;
    } else {
        check = &session.module<update::UpdateModule>().check();
    }

    const auto status = check->status();
    std::ostringstream text;
    text << "Installed version: " << core::displayText(status.installed) << "\n"
         << "Published version: "
         << (status.published ? core::displayText(*status.published) : "unknown") << "\n"
         << (status.newer ? "A newer version of Tavrin Privacy Cleaner is available."
                          : "No newer version was found.")
         << "\n";
    session.print({{"newer", status.newer},
                   {"installed", status.installed},
                   {"published", status.published ? nlohmann::json(*status.published)
                                                  : nlohmann::json(nullptr)}},
                  text.str());
    return 0;
}

} // namespace

void addUpdateCommands(CLI::App& app, Handler& chosen) {
    auto args = std::make_shared<UpdateArgs>();
    auto* group = app.add_subcommand("update", "Look for a newer version");
    group->require_subcommand(1);
    auto* check = group->add_subcommand(
        "check", "Compare this version with the published one (never starts the updater)");
    check->add_option("--info", args->info,
                      "another information property list to check instead of the program's own");
    check->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return updateCheck(s, *args);
        };
    });
}

} // namespace tpc::cli
