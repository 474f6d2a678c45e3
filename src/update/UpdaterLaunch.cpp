#include "update/UpdaterLaunch.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tpc::update {

bool launchDetached(const std::filesystem::path& program) {
    const std::string path = program.string();
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode) ||
        ::access(path.c_str(), X_OK) != 0)
        return false;

    // Everything the children need is made before forking: between fork and exec only
    // async-signal-safe calls are made.
    char* const argv[] = {const_cast<char*>(path.c_str()), nullptr};
    int ready[2];
    if (::pipe2(ready, O_CLOEXEC) != 0)
        return false;

    const pid_t child = ::fork();
    if (child < 0) {
        ::close(ready[0]);
        ::close(ready[1]);
        return false;
    }
    if (child == 0) {
        // The intermediate child starts the updater in a session of its own and leaves at once,
        // so the updater is nobody's child to wait for.
        ::setsid();
        const pid_t updater = ::fork();
        if (updater == 0) {
            const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
            if (null >= 0) {
                ::dup2(null, STDIN_FILENO);
                ::dup2(null, STDOUT_FILENO);
                ::dup2(null, STDERR_FILENO);
            }
            ::execv(path.c_str(), argv);
            const char failed = 1;
            (void)!::write(ready[1], &failed, 1);
            ::_exit(127);
        }
        ::_exit(updater < 0 ? 1 : 0);
    }
    ::close(ready[1]);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    // The pipe closes without a byte when exec succeeded.
    char failed = 0;
    ssize_t got = 0;
    do {
        got = ::read(ready[0], &failed, 1);
    } while (got < 0 && errno == EINTR);
    ::close(ready[0]);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 && got == 0;
}

} // namespace tpc::update
