#include "extensions/AutostartEntries.h"

#include "extensions/BundleRules.h"
#include "extensions/FileRewrite.h"
#include "platform/KeyFile.h"
#include "platform/TextFile.h"

#include <optional>

namespace tpc::extensions {

namespace fs = std::filesystem;

namespace {

// Far above any real desktop entry.
constexpr std::size_t kLargestDesktopEntry = 1u << 20;

std::optional<platform::KeyFile> readDesktopEntry(const fs::path& entry) {
    const auto text = platform::readTextFile(entry, kLargestDesktopEntry);
    if (!text)
        return std::nullopt;
    return platform::KeyFile::parse(*text);
}

} // namespace

bool autostartEntryDisabled(const fs::path& entry) {
    const auto keys = readDesktopEntry(entry);
    const auto* group = keys ? keys->group("Desktop Entry") : nullptr;
    if (!group)
        return false;
    return group->value("Hidden") == "true" || group->value("X-GNOME-Autostart-enabled") == "false";
}

bool hideSystemAutostartEntry(const fs::path& systemEntry, const fs::path& userFolder,
                              std::string* error) {
    std::string name = nameWithoutExtension(systemEntry.filename().string());
    if (const auto keys = readDesktopEntry(systemEntry))
        if (const auto* group = keys->group("Desktop Entry"))
            if (auto shown = group->value("Name"); shown && !shown->empty())
                name = *shown;
    std::error_code ec;
    fs::create_directories(userFolder, ec);
    const std::string text = "[Desktop Entry]\nType=Application\nName=" + name + "\nHidden=true\n";
    return createNewFile(userFolder / systemEntry.filename(), text, 0644, error);
}

} // namespace tpc::extensions
