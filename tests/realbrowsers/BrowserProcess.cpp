#include "realbrowsers/BrowserProcess.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace tpc::test::real {

namespace fs = std::filesystem;

namespace {

// Variables the browser does not get from the test's environment: its folders come from HOME
// alone, and it has no display or session bus to reach.
bool droppedVariable(const std::string& entry) {
    static const char* const names[] = {
        "HOME",           "XDG_CONFIG_HOME",          "XDG_DATA_HOME", "XDG_CACHE_HOME",
        "XDG_STATE_HOME", "DBUS_SESSION_BUS_ADDRESS", "DISPLAY",       "WAYLAND_DISPLAY"};
    for (const char* name : names) {
        const auto length = std::strlen(name);
        if (entry.size() > length && entry.compare(0, length, name) == 0 && entry[length] == '=')
            return true;
    }
    return false;
}

// A descriptor moved to 10 or above, so that placing pipes on 3 and 4 never overwrites another.
int highDescriptor(int fd) {
    const int moved = ::fcntl(fd, F_DUPFD_CLOEXEC, 10);
    ::close(fd);
    if (moved < 0)
        throw std::runtime_error("fcntl failed");
    return moved;
}

std::string readAll(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

} // namespace

std::optional<fs::path> findBrowser(const std::string& name) {
    const char* browserPath = std::getenv("TPC_REAL_BROWSER_PATH");
    const char* path = browserPath ? browserPath : std::getenv("PATH");
    if (!path)
        return std::nullopt;
    const std::string folders = path;
    std::size_t start = 0;
    while (start <= folders.size()) {
        const auto end = std::min(folders.find(':', start), folders.size());
        const auto folder = folders.substr(start, end - start);
        if (!folder.empty()) {
            const auto candidate = fs::path(folder) / name;
            if (::access(candidate.c_str(), X_OK) == 0 && !fs::is_directory(candidate))
                return candidate;
        }
        start = end + 1;
    }
    return std::nullopt;
}

std::string describeStatus(int status) {
    if (WIFEXITED(status))
        return "exit " + std::to_string(WEXITSTATUS(status));
    if (WIFSIGNALED(status))
        return "signal " + std::to_string(WTERMSIG(status));
    return "status " + std::to_string(status);
}

BrowserProcess::BrowserProcess(Options options) : options_(std::move(options)) {
    std::vector<std::string> args{options_.executable.string()};
    args.insert(args.end(), options_.arguments.begin(), options_.arguments.end());
    std::vector<std::string> env;
    for (char** entry = environ; *entry; ++entry)
        if (!droppedVariable(*entry))
            env.emplace_back(*entry);
    env.push_back("HOME=" + options_.home.string());
    env.push_back("MOZ_CRASHREPORTER_DISABLE=1");
    std::vector<char*> argv, envp;
    for (auto& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    for (auto& e : env)
        envp.push_back(e.data());
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, options_.log.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    int childIn = -1, childOut = -1;
    if (options_.devToolsPipe) {
        int in[2], out[2];
        if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0)
            throw std::runtime_error("pipe failed");
        childIn = highDescriptor(in[0]);
        commandFd_ = highDescriptor(in[1]);
        replyFd_ = highDescriptor(out[0]);
        childOut = highDescriptor(out[1]);
        // dup2 leaves the copies open across exec; the originals close with it.
        posix_spawn_file_actions_adddup2(&actions, childIn, 3);
        posix_spawn_file_actions_adddup2(&actions, childOut, 4);
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // Its own process group, to be stopped as a whole; default signal handling (the test ignores
    // SIGPIPE) and no blocked signals.
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF |
                                              POSIX_SPAWN_SETSIGMASK);
    posix_spawnattr_setpgroup(&attributes, 0);
    sigset_t defaults, none;
    sigfillset(&defaults);
    sigemptyset(&none);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setsigmask(&attributes, &none);
    const int failed =
        ::posix_spawn(&pid_, argv[0], &actions, &attributes, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (childIn >= 0) {
        ::close(childIn);
        ::close(childOut);
    }
    if (failed != 0) {
        pid_ = -1;
        throw std::runtime_error("cannot start " + options_.executable.string() + ": " +
                                 std::strerror(failed));
    }
}

BrowserProcess::~BrowserProcess() {
    killLeftovers();
    if (commandFd_ >= 0)
        ::close(commandFd_);
    if (replyFd_ >= 0)
        ::close(replyFd_);
}

bool BrowserProcess::sendDevTools(const std::string& json) {
    if (commandFd_ < 0)
        return false;
    // Messages on the pipe end with a NUL byte.
    const std::string message = json + '\0';
    for (std::size_t sent = 0; sent < message.size();) {
        const ssize_t n = ::write(commandFd_, message.data() + sent, message.size() - sent);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        sent += static_cast<std::size_t>(n);
    }
    return true;
}

std::optional<int> BrowserProcess::waitExit(std::chrono::milliseconds limit) {
    if (status_ || pid_ < 0)
        return status_;
    // A browser is a real process: its end is polled for, a few times a second.
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (true) {
        int status = 0;
        const pid_t done = ::waitpid(pid_, &status, WNOHANG);
        if (done == pid_) {
            status_ = status;
            return status_;
        }
        if (done < 0 && errno != EINTR)
            return std::nullopt;
        if (std::chrono::steady_clock::now() >= deadline)
            return std::nullopt;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

int BrowserProcess::stop(std::chrono::milliseconds grace) {
    if (auto status = waitExit(std::chrono::milliseconds(0)))
        return *status;
    ::kill(pid_, SIGTERM);
    if (auto status = waitExit(grace))
        return *status;
    killLeftovers();
    return waitExit(std::chrono::milliseconds(0)).value_or(-1);
}

void BrowserProcess::killLeftovers() {
    // The group is the browser's for sure only while its leader has not been reaped.
    if (pid_ > 0 && !waitExit(std::chrono::milliseconds(0))) {
        ::kill(-pid_, SIGKILL);
        waitExit(std::chrono::seconds(10));
    }
    // Helpers that started a group or a session of their own still carry the fake HOME.
    const std::string marker = "HOME=" + options_.home.string();
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator("/proc", ec)) {
        const auto name = entry.path().filename().string();
        if (name.empty() || name.find_first_not_of("0123456789") != std::string::npos)
            continue;
        const pid_t other = static_cast<pid_t>(std::stol(name));
        if (other == ::getpid())
            continue;
        const auto environment = readAll(entry.path() / "environ");
        std::size_t start = 0;
        while (start < environment.size()) {
            auto end = environment.find('\0', start);
            if (end == std::string::npos)
                end = environment.size();
            if (environment.compare(start, end - start, marker) == 0) {
                ::kill(other, SIGKILL);
                break;
            }
            start = end + 1;
        }
    }
}

std::string BrowserProcess::logTail(std::size_t lines) const {
    // The complaints about the missing session bus fill a browser's log and say nothing.
    std::vector<std::string> kept;
    std::istringstream in(readAll(options_.log));
    for (std::string line; std::getline(in, line);)
        if (line.find("dbus") == std::string::npos && line.find("D-Bus") == std::string::npos)
            kept.push_back(line);
    std::string text;
    for (auto i = kept.size() > lines ? kept.size() - lines : 0; i < kept.size(); ++i)
        text += kept[i] + "\n";
    return text;
}

} // namespace tpc::test::real
