#pragma once
// `tpc-helper --install`: puts the helper's systemd units in place so that systemd starts the
// helper (this very program) when the application connects. Run by the application through
// pkexec; without root it only says what it would do.

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace tpc::helper {

inline constexpr const char* kSystemUnitDir = "/etc/systemd/system";

struct InstallEnv {
    // Where the units go.
    std::string unitDir = kSystemUnitDir;
    // The program the service runs.
    std::string helperPath;
    bool asRoot = false;
    // After writing: reload systemd, enable and start the socket, and stop a running helper so
    // that the next connection starts the new one.
    bool manageSystemd = false;
    std::ostream& out;
    // Runs systemctl (argv[0] an absolute path); the exit status.
    std::function<int(const std::vector<std::string>&)> run;
};

// Exit status of the install action.
int installHelper(const InstallEnv& env);

// The packaged service unit with its ExecStart= line running `helperPath`.
std::string serviceUnitFor(const std::string& helperPath);

// Why a service running as root must not run `path`, or none: the program and every folder
// above it must belong to root and be writable by nobody else.
std::optional<std::string> unsafeProgramProblem(const std::string& path);

} // namespace tpc::helper
