#include "cli/Commands.h"

#include "core/Clock.h"
#include "erase/EraseModule.h"

#include <filesystem>
#include <memory>
#include <sys/stat.h>

namespace tpc::cli {

namespace {

struct EraseArgs {
    std::vector<std::string> paths;
    int method = -2; // none given: the "File Deletion Option" setting
};

// Absolute, normalised paths of existing items (a symbolic link counts as the link itself).
std::vector<std::string> checkedPaths(const std::vector<std::string>& given) {
    std::vector<std::string> out;
    for (const auto& p : given) {
        std::error_code ec;
        auto abs = std::filesystem::absolute(p, ec).lexically_normal();
        auto text = abs.string();
        while (text.size() > 1 && text.back() == '/')
            text.pop_back();
        struct stat st {};
        if (ec || lstat(text.c_str(), &st) != 0)
            throw UsageError("no such file or folder: \"" + p + "\"");
        if (text == "/")
            throw UsageError("refusing to erase the root folder");
        out.push_back(text);
    }
    return out;
}

int erase(Session& session, const EraseArgs& args) {
    auto paths = checkedPaths(args.paths);
    auto& app = session.app();
    if (args.method == -2) {
        app.erase().deleter().deleteFiles(paths);
    } else {
        // The same engine and helper, with the method of this call only.
        erase::DeleterEnv env = app.erase().deleterEnv();
        std::int64_t method = args.method;
        env.deletionOption = [method] {
            return method;
        };
        erase::Deleter(env).deleteFiles(paths);
    }
    session.print(nlohmann::json::object(), "");
    return 0;
}

} // namespace

void addEraseCommand(CLI::App& app, Handler& chosen) {
    auto args = std::make_shared<EraseArgs>();
    auto* cmd =
        app.add_subcommand("erase", "Remove files and folders now, plainly or by overwriting");
    cmd->add_option("--method", args->method,
                    "-1 plain deletion, 0..8 an erase method (default: the setting)")
        ->check(CLI::Range(-1, 8));
    cmd->add_option("PATH", args->paths, "the files and folders to remove")->required();
    cmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return erase(s, *args);
        };
    });
}

} // namespace tpc::cli
