#include "platform/Services.h"

#include "core/PropertyList.h"
#include "core/Utf8.h"

#include "fs/Entries.h"
#include "platform/DesktopExec.h"
#include "platform/KeyFile.h"
#include "platform/TextFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tpc::platform {

namespace fs = std::filesystem;

namespace {

// Far above any real desktop entry; a larger file is not one this program understands.
constexpr std::size_t kEntryLimit = 1 << 20;

struct Entry {
    bool hidden = false;
    std::string program;
    // Every line understood (see wholeEntry): only such a file is ever replaced or removed.
    bool whole = false;
};

bool isKeyChar(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-';
}

// Whether every line of `text` is one a desktop entry may hold: blank, a comment, a "[Group]"
// header (each group once), or "Key=Value" inside a group with a key of letters, digits and '-'
// (and an optional "[locale]"), each key once per group; UTF-8 text without NUL or other control
// characters than tab and line ends.
bool wholeEntry(const std::string& text) {
    if (text.size() > kEntryLimit || !core::isValidUtf8(text))
        return false;
    std::vector<std::string> groups;
    std::vector<std::string> keys;
    std::size_t pos = 0;
    while (pos < text.size()) {
        std::size_t end = text.find('\n', pos);
        if (end == std::string::npos)
            end = text.size();
        std::string line = text.substr(pos, end - pos);
        pos = end + 1;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (std::any_of(line.begin(), line.end(),
                        [](char c) { return static_cast<unsigned char>(c) < 0x20 && c != '\t'; }))
            return false;
        const auto first = line.find_first_not_of(" \t");
        if (first == std::string::npos || line[first] == '#')
            continue;
        if (line[0] == '[') {
            const auto close = line.find(']');
            const std::string name = close == std::string::npos ? "" : line.substr(1, close - 1);
            if (name.empty() || close + 1 != line.size() || name.find('[') != std::string::npos ||
                std::find(groups.begin(), groups.end(), name) != groups.end())
                return false;
            groups.push_back(name);
            keys.clear();
            continue;
        }
        const auto eq = line.find('=');
        if (groups.empty() || eq == std::string::npos)
            return false;
        std::string key = line.substr(0, eq);
        while (!key.empty() && (key.back() == ' ' || key.back() == '\t'))
            key.pop_back();
        std::size_t k = 0;
        while (k < key.size() && isKeyChar(key[k]))
            ++k;
        const bool locale = k < key.size() && key[k] == '[' && key.back() == ']' &&
                            key.find_first_of("[]= \t", k + 1) == key.size() - 1 &&
                            k + 2 < key.size();
        if (k == 0 || (k != key.size() && !locale) ||
            std::find(keys.begin(), keys.end(), key) != keys.end())
            return false;
        keys.push_back(key);
    }
    return true;
}

// An autostart entry; nullopt when there is no readable file.
std::optional<Entry> readEntry(const fs::path& file) {
    auto text = readTextFile(file, kEntryLimit + 1);
    if (!text)
        return std::nullopt;
    Entry entry;
    entry.whole = wholeEntry(*text);
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

// What is at the user's entry, as far as replacing or removing it goes.
enum class Place { Free, Link, WholeFile, Untouchable };

Place placeOf(const fs::path& file, std::optional<Entry>& entry) {
    struct stat st {};
    if (::lstat(file.c_str(), &st) != 0)
        return errno == ENOENT ? Place::Free : Place::Untouchable;
    // A link is replaced or removed as a link; what it points at is never touched.
    if (S_ISLNK(st.st_mode)) {
        entry = readEntry(file);
        return Place::Link;
    }
    if (!S_ISREG(st.st_mode))
        return Place::Untouchable;
    entry = readEntry(file);
    return entry && entry->whole ? Place::WholeFile : Place::Untouchable;
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
    for (const auto& dir : configDirs_)
        if (tpc::fs::isRegularFileFollowingLinks(dir / "autostart" / fileName_))
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
    // A user entry that is not wholly understood (damaged, not text, too large) stays as it is.
    std::optional<Entry> current;
    if (placeOf(userEntry(), current) == Place::Untouchable)
        return false;
    return writeAtomically(userEntry(), entryText(appPath, false));
}

bool XdgAutostart::disable(const std::string& appPath) {
    if (appPath.empty())
        return false;
    std::optional<Entry> user;
    const Place place = placeOf(userEntry(), user);
    if (place == Place::Untouchable)
        return false;
    if (user) {
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
