#include "platform/Services.h"

#include "core/PropertyList.h"

#include "platform/DesktopExec.h"
#include "platform/KeyFile.h"
#include "platform/TextFile.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tpc::platform {

namespace fs = std::filesystem;

namespace {

struct Entry {
    bool hidden = false;
    std::string program;
};

// An autostart entry; nullopt when there is no readable file.
std::optional<Entry> readEntry(const fs::path& file) {
    auto text = readTextFile(file);
    if (!text)
        return std::nullopt;
    Entry entry;
    auto keys = KeyFile::parse(*text);
    const auto* group = keys.group("Desktop Entry");
    if (!group)
        return entry; // present but not an entry: it still shadows a system file
    entry.hidden =
        group->value("Hidden") == "true" || group->value("X-GNOME-Autostart-enabled") == "false";
    if (auto exec = group->value("Exec"))
        entry.program = execProgram(*exec);
    return entry;
}

bool runs(const std::optional<Entry>& entry, const std::string& appPath) {
    return entry && !entry->hidden && !appPath.empty() && entry->program.starts_with(appPath);
}

// Replaces `file` atomically: readers see the old entry or the new one, and a link at `file` is
// replaced, never written through.
bool writeAtomically(const fs::path& file, const std::string& content) {
    std::error_code ec;
    fs::create_directories(file.parent_path(), ec);
    return core::plist::writeFileAtomically(
        file, std::vector<std::uint8_t>(content.begin(), content.end()), 0644);
}

} // namespace

XdgAutostart::XdgAutostart(fs::path configHome, std::vector<fs::path> configDirs,
                           std::string fileName, std::string appName)
    : configHome_(std::move(configHome)), configDirs_(std::move(configDirs)),
      fileName_(std::move(fileName)), appName_(std::move(appName)) {}

fs::path XdgAutostart::userEntry() const {
    return configHome_ / "autostart" / fileName_;
}

std::optional<fs::path> XdgAutostart::systemEntry() const {
    // The first folder of the list is the most important one.
    std::error_code ec;
    for (const auto& dir : configDirs_)
        if (fs::is_regular_file(dir / "autostart" / fileName_, ec))
            return dir / "autostart" / fileName_;
    return std::nullopt;
}

std::string XdgAutostart::entryText(const std::string& appPath, bool hidden) const {
    std::string text = "[Desktop Entry]\nType=Application\nName=" + appName_ +
                       "\nExec=" + execValue(appPath) + "\n";
    text += hidden ? "Hidden=true\n" : "X-GNOME-Autostart-enabled=true\n";
    return text;
}

bool XdgAutostart::exists(const std::string& appPath) {
    if (auto user = readEntry(userEntry()))
        return runs(user, appPath);
    auto system = systemEntry();
    return system && runs(readEntry(*system), appPath);
}

bool XdgAutostart::enable(const std::string& appPath) {
    if (appPath.empty() || !fs::path(appPath).is_absolute())
        return false;
    return writeAtomically(userEntry(), entryText(appPath, false));
}

bool XdgAutostart::disable(const std::string& appPath) {
    if (appPath.empty())
        return false;
    if (auto user = readEntry(userEntry())) {
        // A hidden entry already switches everything of that name off; another program's entry
        // is not ours to remove, and it already shadows the system one.
        if (!runs(user, appPath))
            return true;
        std::error_code ec;
        if (!fs::remove(userEntry(), ec) || ec)
            return false;
    }
    auto system = systemEntry();
    if (system && runs(readEntry(*system), appPath))
        return writeAtomically(userEntry(), entryText(appPath, true));
    return true;
}

} // namespace tpc::platform
