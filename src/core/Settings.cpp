#include "core/Settings.h"

#include "core/Clock.h"
#include "core/PropertyList.h"
#include "core/SystemLog.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <optional>
#include <signal.h>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace tpc::core {

namespace {

// Settings files hold the user's cookie, recents and eraser lists: readable by the user only.
constexpr unsigned kFileMode = 0600;

bool validName(const std::string& name) {
    return !name.empty() && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

std::string utcStamp(Clock::WallTime t) {
    const auto secs = std::chrono::floor<std::chrono::seconds>(t.time_since_epoch()).count();
    const auto tt = static_cast<std::time_t>(secs);
    std::tm tm{};
    if (!gmtime_r(&tt, &tm))
        return "unknown-time";
    char buf[32];
    if (std::strftime(buf, sizeof buf, "%Y%m%dT%H%M%SZ", &tm) == 0)
        return "unknown-time";
    return buf;
}

// Renames `from` to `to` unless `to` exists. False with errno EEXIST when it does.
bool renameNoReplace(const std::filesystem::path& from, const std::filesystem::path& to) {
#ifdef RENAME_NOREPLACE
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
#endif
    // The file system cannot refuse to replace: check first (a small race, but no settings file
    // is ever deleted by it, only possibly an older kept-aside copy of the same second).
    std::error_code ec;
    if (std::filesystem::symlink_status(to, ec).type() != std::filesystem::file_type::not_found) {
        errno = EEXIST;
        return false;
    }
    return ::rename(from.c_str(), to.c_str()) == 0;
}

// The process id in the name of a temporary file that writeFileAtomically made for a settings
// file: ".<name>.plist.tmp-<pid>-<counter>-<hex>". nullopt for any other name.
std::optional<pid_t> temporaryOwner(const std::string& name) {
    static constexpr std::string_view kMarker = ".plist.tmp-";
    if (name.size() < 2 || name[0] != '.')
        return std::nullopt;
    const auto at = name.find(kMarker);
    if (at == std::string::npos || at < 2)
        return std::nullopt;
    // pid, counter and stamp: decimal, decimal, hexadecimal, separated by '-'.
    const std::string rest = name.substr(at + kMarker.size());
    const auto dash1 = rest.find('-');
    const auto dash2 = dash1 == std::string::npos ? dash1 : rest.find('-', dash1 + 1);
    if (dash2 == std::string::npos)
        return std::nullopt;
    const std::string pid = rest.substr(0, dash1);
    const std::string counter = rest.substr(dash1 + 1, dash2 - dash1 - 1);
    const std::string stamp = rest.substr(dash2 + 1);
    auto all = [](const std::string& s, const char* chars) {
        return !s.empty() && s.size() <= 20 && s.find_first_not_of(chars) == std::string::npos;
    };
    if (!all(pid, "0123456789") || !all(counter, "0123456789") || !all(stamp, "0123456789abcdef") ||
        pid.size() > 9)
        return std::nullopt;
    const long value = std::stol(pid);
    if (value <= 0)
        return std::nullopt;
    return static_cast<pid_t>(value);
}

// A process that still exists may still be writing its temporary file (EPERM: it exists but
// belongs to someone else).
bool processAlive(pid_t pid) {
    return pid == ::getpid() || ::kill(pid, 0) == 0 || errno == EPERM;
}

} // namespace

Settings::Settings(std::filesystem::path folder, SystemLog& log, Clock& clock)
    : folder_(std::move(folder)), log_(log), clock_(clock) {}

bool Settings::folderExists() const {
    std::error_code ec;
    return std::filesystem::is_directory(folder_, ec);
}

bool Settings::ensureFolder() {
    if (folderExists())
        return true;
    std::error_code ec;
    std::filesystem::create_directories(folder_, ec);
    if (ec || !folderExists()) {
        log_.log("Error creating settings folder:" + folder_.string() +
                 ", reason:" + (ec ? ec.message() : std::string("not a folder")));
        return false;
    }
    return true;
}

std::filesystem::path Settings::fileFor(const std::string& presetName) const {
    return folder_ / (presetName + ".plist");
}

bool Settings::fileExists(const std::string& presetName) const {
    std::error_code ec;
    return validName(presetName) && std::filesystem::exists(fileFor(presetName), ec);
}

bool Settings::flushPresetData(const DictRef& dict) {
    if (!dict)
        return false;
    const std::string name = dict->getString("presetName");
    if (!validName(name)) {
        log_.log("Settings not saved: the dictionary has no usable presetName (\"" + name + "\")");
        return false;
    }
    const auto file = fileFor(name);
    std::string error;
    const auto bytes = plist::encodeKeyedArchive(Value(dict), &error);
    if (bytes.empty()) {
        // Storing it would change some text into another; the file on disk stays as it was.
        log_.log("Error saving settings file:" + file.string() + ", reason:" + error);
        return false;
    }
    ensureFolder();
    if (!plist::writeFileAtomically(file, bytes, kFileMode, &error)) {
        log_.log("Error saving settings file:" + file.string() + ", reason:" + error);
        return false;
    }
    return true;
}

Settings::LoadResult Settings::load(const std::string& presetName) {
    LoadResult result;
    if (!validName(presetName)) {
        log_.log("Settings not loaded: unusable name \"" + presetName + "\"");
        return result;
    }
    ensureFolder();
    const auto file = fileFor(presetName);
    std::error_code ec;
    if (std::filesystem::symlink_status(file, ec).type() == std::filesystem::file_type::not_found)
        return result;

    std::string error;
    auto value = plist::readSettingsFile(file, &error);
    if (value && value->isDict()) {
        result.status = LoadStatus::Loaded;
        result.dict = value->dict();
        return result;
    }
    if (value)
        error = file.string() + " does not hold a dictionary";

    result.status = LoadStatus::Unreadable;
    result.keptAsidePath = moveAside(presetName, error);
    return result;
}

std::filesystem::path Settings::keepAside(const std::string& presetName,
                                          const std::string& reason) {
    if (!validName(presetName))
        return {};
    return moveAside(presetName, reason);
}

std::filesystem::path Settings::moveAside(const std::string& presetName, const std::string& error) {
    const auto file = fileFor(presetName);
    const std::string base = file.string() + ".unreadable-" + utcStamp(clock_.wallNow());
    for (int n = 1; n <= 1000; ++n) {
        const std::filesystem::path aside = n == 1 ? base : base + "-" + std::to_string(n);
        const bool moved = renameNoReplace(file, aside);
        const int err = errno;
        if (moved) {
            log_.log("Settings file " + file.string() + " is unreadable (" + error +
                     "); kept aside as " + aside.string());
            return aside;
        }
        if (err != EEXIST) {
            log_.log("Settings file " + file.string() + " is unreadable (" + error +
                     ") and could not be moved aside: " + std::strerror(err));
            return {};
        }
    }
    log_.log("Settings file " + file.string() + " is unreadable (" + error +
             ") and could not be moved aside: too many kept-aside copies");
    return {};
}

std::size_t Settings::removeStaleTemporaries() {
    const int dirFd = ::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (dirFd < 0)
        return 0;
    DIR* dir = ::fdopendir(dirFd);
    if (!dir) {
        ::close(dirFd);
        return 0;
    }
    std::vector<std::string> stale;
    while (const dirent* entry = ::readdir(dir)) {
        const std::string name = entry->d_name;
        const auto pid = temporaryOwner(name);
        if (!pid || processAlive(*pid))
            continue;
        // Only a regular file: a link or a folder of that name is not one of our temporaries.
        struct stat st {};
        if (::fstatat(dirFd, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(st.st_mode))
            continue;
        stale.push_back(name);
    }
    std::size_t removed = 0;
    for (const auto& name : stale) {
        if (::unlinkat(dirFd, name.c_str(), 0) == 0) {
            ++removed;
            log_.log("Removed a temporary settings file left by an interrupted save: " +
                     (folder_ / name).string());
        }
    }
    ::closedir(dir);
    return removed;
}

} // namespace tpc::core
