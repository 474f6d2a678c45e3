#include "extensions/SafariRegistry.h"

#include "core/PropertyList.h"
#include "extensions/ExtensionKeys.h"
#include "extensions/FileRewrite.h"
#include "fs/Entries.h"
#include "platform/TextFile.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tpc::extensions {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kLargestRegistry = 16u << 20;

} // namespace

bool removeSafariExtensionFromPListAtPath(const fs::path& extension) {
    const fs::path registry = extension.parent_path() / "Extensions.plist";
    const std::string fileName = extension.filename().string();
    // A link in the registry's place is not followed: what it points at is not Safari's file.
    if (!tpc::fs::isRegularFileNoFollow(registry))
        return false;
    const auto text = platform::readTextFile(registry, kLargestRegistry + 1);
    if (!text || text->size() > kLargestRegistry)
        return false;
    const std::vector<std::uint8_t> bytes(text->begin(), text->end());
    const auto read = core::plist::parse(bytes);
    if (!read)
        return false;
    const core::Value copy = read->deepCopy();
    const auto top = copy.dict();
    const auto installed = top ? top->getArray(keys::InstalledExtensions) : nullptr;
    if (!installed || installed->empty())
        return false;

    auto& entries = installed->items;
    for (auto it = entries.begin(); it != entries.end(); ++it) {
        const auto entry = it->dict();
        const std::string* name = entry ? entry->get(keys::ArchiveFileName).string() : nullptr;
        if (!name || *name != fileName)
            continue;
        entries.erase(it);
        const bool binary = text->starts_with("bplist");
        std::string written;
        if (binary) {
            const auto out = core::plist::toBinary(copy);
            written.assign(out.begin(), out.end());
        } else {
            written = core::plist::toXml(copy);
        }
        // A list that cannot be written back unchanged is not written at all.
        return !written.empty() && replaceKeepingOwner(registry, written);
    }
    return false;
}

} // namespace tpc::extensions
