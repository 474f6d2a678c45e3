#include "core/Settings.h"

#include "core/Clock.h"
#include "core/PropertyList.h"
#include "core/SystemLog.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <system_error>

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
    const auto bytes = plist::encodeKeyedArchive(Value(dict));
    ensureFolder();
    const auto file = fileFor(name);
    std::string error;
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
    const std::string base = file.string() + ".unreadable-" + utcStamp(clock_.wallNow());
    for (int n = 1; n <= 1000; ++n) {
        const std::filesystem::path aside = n == 1 ? base : base + "-" + std::to_string(n);
        const bool moved = renameNoReplace(file, aside);
        const int err = errno;
        if (moved) {
            result.keptAsidePath = aside;
            log_.log("Settings file " + file.string() + " is unreadable (" + error +
                     "); kept aside as " + aside.string());
            return result;
        }
        if (err != EEXIST) {
            log_.log("Settings file " + file.string() + " is unreadable (" + error +
                     ") and could not be moved aside: " + std::strerror(err));
            return result;
        }
    }
    log_.log("Settings file " + file.string() + " is unreadable (" + error +
             ") and could not be moved aside: too many kept-aside copies");
    return result;
}

} // namespace tpc::core
