#include "cli/Commands.h"
#include "cli/Json.h"

#include <memory>
#include <sstream>

namespace tpc::cli {

namespace {

struct SettingsArgs {
    std::string key;
    std::string value;
};

int list(Session& session) {
    auto dict = session.app().general().dict();
    std::ostringstream text;
    for (const auto& [key, value] : dict->items)
        text << key << ": " << toText(value) << "\n";
    session.print(toJson(core::Value(dict)), text.str());
    return 0;
}

int get(Session& session, const std::string& key) {
    auto dict = session.app().general().dict();
    if (!dict->has(key))
        throw UsageError("unknown settings key \"" + key + "\"");
    const auto& value = dict->get(key);
    session.print(toJson(value), toText(value));
    return 0;
}

int set(Session& session, const std::string& key, const std::string& value) {
    if (auto error = session.app().general().setFromText(key, value))
        throw UsageError(*error);
    return get(session, key);
}

} // namespace

void addSettingsCommands(CLI::App& app, Handler& chosen) {
    auto args = std::make_shared<SettingsArgs>();
    auto* settings = app.add_subcommand("settings", "Read or change the General settings");
    settings->require_subcommand(1);

    settings->add_subcommand("list", "Show every General setting")->callback([&chosen] {
        chosen = list;
    });

    auto* getCmd = settings->add_subcommand("get", "Show one General setting");
    getCmd->add_option("KEY", args->key, "the setting's name")->required();
    getCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return get(s, args->key);
        };
    });

    auto* setCmd = settings->add_subcommand("set", "Change one General setting");
    setCmd->add_option("KEY", args->key, "the setting's name")->required();
    setCmd->add_option("VALUE", args->value, "the new value")->required();
    setCmd->callback([&chosen, args] {
        chosen = [args](Session& s) {
            return set(s, args->key, args->value);
        };
    });
}

} // namespace tpc::cli
