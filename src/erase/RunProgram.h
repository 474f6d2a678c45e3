#pragma once
// Runs another program and waits for it: the installer's pkexec, the helper's pkcheck and
// systemctl.

#include "core/Clock.h"

#include <atomic>
#include <string>
#include <vector>

namespace tpc::erase {

struct RunOptions {
    // With a clock and a time limit the wait polls through the clock and the program is killed
    // once the limit has passed or `cancel` is set; without, the wait has no limit.
    core::Clock* clock = nullptr;
    core::Clock::Duration timeLimit{0};
    const std::atomic<bool>* cancel = nullptr;
    // Standard input, output and error go to /dev/null.
    bool quiet = false;
};

// Runs `argv` (argv[0] an absolute path; no search) with this process's environment. Returns
// the exit status 0..255, or -1 (with `error` set) when it could not start, died of a signal or
// was killed for the time limit or the cancel flag.
int runProgram(const std::vector<std::string>& argv, const RunOptions& options = {},
               std::string* error = nullptr);

} // namespace tpc::erase
