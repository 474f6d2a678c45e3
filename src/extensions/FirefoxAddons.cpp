#include "extensions/FirefoxAddons.h"

#include "extensions/FileRewrite.h"
#include "fs/Entries.h"
#include "platform/TextFile.h"

#include <nlohmann/json.hpp>

#include <optional>

namespace tpc::extensions {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

namespace {

constexpr std::size_t kLargestAddonRegistry = 64u << 20;

std::optional<Json> readAddonRegistry(const fs::path& registry) {
    const auto text = platform::readTextFile(registry, kLargestAddonRegistry + 1);
    if (!text || text->size() > kLargestAddonRegistry)
        return std::nullopt;
    Json json = Json::parse(*text, nullptr, false);
    if (json.is_discarded() || !json.is_object())
        return std::nullopt;
    const auto addons = json.find("addons");
    if (addons == json.end() || !addons->is_array())
        return std::nullopt;
    return json;
}

// The file name an add-on of the profile has in its extensions folder; nullopt for an entry
// that is not one of the profile's add-ons.
std::optional<std::string> profileFileName(const Json& addon) {
    if (!addon.is_object())
        return std::nullopt;
    const auto id = addon.find("id");
    if (id == addon.end() || !id->is_string() || id->get_ref<const std::string&>().empty())
        return std::nullopt;
    const auto location = addon.find("location");
    if (location != addon.end() && *location != "app-profile")
        return std::nullopt;
    return id->get<std::string>() + ".xpi";
}

std::optional<std::string> shownName(const Json& addon) {
    const auto locale = addon.find("defaultLocale");
    if (locale == addon.end() || !locale->is_object())
        return std::nullopt;
    const auto name = locale->find("name");
    if (name == locale->end() || !name->is_string())
        return std::nullopt;
    return name->get<std::string>();
}

} // namespace

std::map<std::string, std::string> firefoxAddonNames(const fs::path& registry) {
    std::map<std::string, std::string> names;
    const auto json = readAddonRegistry(registry);
    if (!json)
        return names;
    for (const auto& addon : json->at("addons")) {
        const auto file = profileFileName(addon);
        const auto name = file ? shownName(addon) : std::nullopt;
        if (name)
            names.emplace(*file, *name);
    }
    return names;
}

bool removeFirefoxAddonFromRegistry(const fs::path& xpi) {
    const fs::path registry = xpi.parent_path().parent_path() / "extensions.json";
    const std::string fileName = xpi.filename().string();
    if (!tpc::fs::isRegularFileNoFollow(registry))
        return false;
    auto json = readAddonRegistry(registry);
    if (!json)
        return false;
    Json& addons = (*json)["addons"];
    for (auto it = addons.begin(); it != addons.end(); ++it) {
        if (profileFileName(*it) != fileName)
            continue;
        addons.erase(it);
        std::string text;
        try {
            text = json->dump();
        } catch (const Json::exception&) {
            return false;
        }
        return replaceKeepingOwner(registry, text);
    }
    return false;
}

} // namespace tpc::extensions
