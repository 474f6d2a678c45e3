#include "erase/RunProgram.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace tpc::erase {

namespace {

constexpr double kWaitPollSeconds = 0.02;

void setError(std::string* error, std::string text) {
    if (error)
        *error = std::move(text);
}

int statusOf(int status, const std::string& program, std::string* error) {
    if (WIFEXITED(status))
        return WEXITSTATUS(status);
    setError(error, program + " ended by signal " + std::to_string(WTERMSIG(status)));
    return -1;
}

// Waits for `pid` without limit.
int waitBlocking(pid_t pid, const std::string& program, std::string* error) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            setError(error, program + ": waitpid failed: " + std::strerror(errno));
            return -1;
        }
    }
    return statusOf(status, program, error);
}

} // namespace

int runProgram(const std::vector<std::string>& argv, const RunOptions& options,
               std::string* error) {
    if (argv.empty() || argv.front().empty() || argv.front().front() != '/') {
        setError(error, "not an absolute program path");
        return -1;
    }
    const std::string& program = argv.front();
    std::vector<char*> args;
    for (const auto& arg : argv)
        args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (options.quiet) {
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    }
    pid_t pid = -1;
    const int rc = ::posix_spawn(&pid, program.c_str(), &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) {
        setError(error, program + ": " + std::strerror(rc));
        return -1;
    }

    if (!options.clock || options.timeLimit.count() <= 0)
        return waitBlocking(pid, program, error);

    const auto deadline = options.clock->now() + options.timeLimit;
    for (;;) {
        int status = 0;
        const pid_t done = ::waitpid(pid, &status, WNOHANG);
        if (done == pid)
            return statusOf(status, program, error);
        if (done < 0 && errno != EINTR) {
            setError(error, program + ": waitpid failed: " + std::strerror(errno));
            return -1;
        }
        const bool cancelled = options.cancel && options.cancel->load();
        if (cancelled || options.clock->now() >= deadline) {
            ::kill(pid, SIGKILL);
            waitBlocking(pid, program, nullptr);
            setError(error, program + (cancelled ? " cancelled" : " took too long"));
            return -1;
        }
        options.clock->sleepFor(core::Clock::seconds(kWaitPollSeconds));
    }
}

} // namespace tpc::erase
