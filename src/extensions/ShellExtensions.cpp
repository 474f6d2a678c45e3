#include "extensions/ShellExtensions.h"

#include "fs/Entries.h"
#include "platform/TextFile.h"

#include <nlohmann/json.hpp>

namespace tpc::extensions {

namespace {

constexpr std::size_t kLargestMetadata = 1u << 20;

} // namespace

std::optional<std::string> shellExtensionNameAtPath(const std::filesystem::path& path) {
    if (!tpc::fs::isFolderFollowingLinks(path))
        return std::nullopt;
    const auto text = platform::readTextFile(path / "metadata.json", kLargestMetadata + 1);
    if (!text || text->size() > kLargestMetadata)
        return std::nullopt;
    const auto json = nlohmann::json::parse(*text, nullptr, false);
    if (json.is_discarded() || !json.is_object())
        return std::nullopt;
    const auto name = json.find("name");
    if (name == json.end() || !name->is_string() || name->get_ref<const std::string&>().empty())
        return std::nullopt;
    return name->get<std::string>();
}

} // namespace tpc::extensions
