#include "platform/Services.h"

#include "platform/TextFile.h"

#include <algorithm>
#include <cctype>
#include <csignal>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

namespace tpc::platform {

namespace fs = std::filesystem;

namespace {

// The kernel keeps at most 15 characters of a process name in "comm".
constexpr std::size_t commLength = 15;

std::optional<int> pidOf(const std::string& name) {
    if (name.empty() || name.size() > 9 ||
        !std::all_of(name.begin(), name.end(), [](unsigned char c) { return std::isdigit(c); }))
        return std::nullopt;
    return std::stoi(name);
}

std::string lastPathPart(std::string path) {
    // A replaced executable (an update while the browser runs) reads "<path> (deleted)".
    const std::string deleted = " (deleted)";
    if (path.size() > deleted.size() && path.ends_with(deleted))
        path.erase(path.size() - deleted.size());
    return fs::path(path).filename().string();
}

// The names a process is known by: its comm, its executable's and its first argument's base name.
std::vector<std::string> namesOf(const fs::path& processFolder) {
    std::vector<std::string> names;
    if (auto comm = readTextFile(processFolder / "comm", 256)) {
        while (!comm->empty() && (comm->back() == '\n' || comm->back() == '\r'))
            comm->pop_back();
        names.push_back(*comm);
    }
    std::error_code ec;
    auto exe = fs::read_symlink(processFolder / "exe", ec);
    if (!ec)
        names.push_back(lastPathPart(exe.string()));
    if (auto cmdline = readTextFile(processFolder / "cmdline", 4096)) {
        auto first = cmdline->substr(0, cmdline->find('\0'));
        names.push_back(lastPathPart(first));
    }
    return names;
}

bool matches(const std::string& seen, const std::string& wanted) {
    if (seen.empty())
        return false;
    if (seen == wanted)
        return true;
    // comm is cut to 15 characters: "google-chrome-s" is "google-chrome-stable".
    return seen.size() == commLength && wanted.size() > commLength && wanted.starts_with(seen);
}

} // namespace

ProcRunningApps::ProcRunningApps(fs::path procRoot) : procRoot_(std::move(procRoot)) {}

std::vector<std::string> ProcRunningApps::processNames(const std::string& bundleId) {
    static const std::map<std::string, std::vector<std::string>> table = {
        {"org.mozilla.firefox", {"firefox", "firefox-esr", "firefox-bin"}},
        {"com.google.Chrome", {"chrome", "google-chrome", "google-chrome-stable"}},
        {"org.chromium.Chromium", {"chromium", "chromium-browser"}},
        {"com.brave.Browser", {"brave", "brave-browser", "brave-browser-stable"}},
        {"com.vivaldi.Vivaldi", {"vivaldi-bin", "vivaldi", "vivaldi-stable"}},
        {"com.microsoft.edgemac", {"msedge", "microsoft-edge", "microsoft-edge-stable"}},
        {"com.operasoftware.Opera", {"opera"}},
        {"com.apple.Safari", {}},
        // The photo library's own application has no Linux build: nothing runs under it.
        {"com.apple.iPhoto", {}},
    };
    if (auto it = table.find(bundleId); it != table.end())
        return it->second;
    auto last = bundleId.substr(bundleId.rfind('.') + 1);
    std::transform(last.begin(), last.end(), last.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (last.empty())
        return {};
    return {last};
}

std::vector<int> ProcRunningApps::findProcesses(const std::string& bundleId) const {
    auto wanted = processNames(bundleId);
    std::vector<int> pids;
    if (wanted.empty())
        return pids;
    const int self = static_cast<int>(getpid());
    const uid_t user = getuid();
    std::error_code ec;
    for (fs::directory_iterator it(procRoot_, ec), end; !ec && it != end; it.increment(ec)) {
        auto pid = pidOf(it->path().filename().string());
        if (!pid || *pid == self)
            continue;
        // Only this user's applications (as the system's list of running applications shows).
        struct stat info {};
        if (stat(it->path().c_str(), &info) != 0 || info.st_uid != user)
            continue;
        auto names = namesOf(it->path());
        bool found = std::any_of(names.begin(), names.end(), [&](const std::string& seen) {
            return std::any_of(wanted.begin(), wanted.end(),
                               [&](const std::string& name) { return matches(seen, name); });
        });
        if (found)
            pids.push_back(*pid);
    }
    std::sort(pids.begin(), pids.end());
    return pids;
}

bool ProcRunningApps::isRunning(const std::string& bundleId) {
    return !findProcesses(bundleId).empty();
}

int ProcRunningApps::terminate(const std::string& bundleId) {
    int asked = 0;
    for (int pid : findProcesses(bundleId))
        if (pid > 1 && kill(static_cast<pid_t>(pid), SIGTERM) == 0)
            ++asked;
    return asked;
}

} // namespace tpc::platform
