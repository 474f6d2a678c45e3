#include "erase/PkexecInstaller.h"

#include "erase/RunProgram.h"
#include "fs/Entries.h"

#include <sys/stat.h>
#include <unistd.h>

namespace tpc::erase {

PkexecInstaller::PkexecInstaller(PkexecInstallerPaths paths) : paths_(std::move(paths)) {}

bool PkexecInstaller::jobExists() {
    struct stat st {};
    if (::lstat(paths_.socketPath.c_str(), &st) == 0 && S_ISSOCK(st.st_mode))
        return true;
    for (const auto& unit : paths_.unitFiles)
        if (fs::entryExists(unit))
            return true;
    return false;
}

bool PkexecInstaller::bless(std::string& error) {
    if (::access(paths_.pkexecPath.c_str(), X_OK) != 0) {
        error = paths_.pkexecPath + " is not available";
        return false;
    }
    if (::access(paths_.helperPath.c_str(), X_OK) != 0) {
        error = paths_.helperPath + " is not available";
        return false;
    }
    const int status = runProgram({paths_.pkexecPath, paths_.helperPath, "--install"}, {}, &error);
    if (status == 0)
        return true;
    if (status > 0)
        error = paths_.pkexecPath + " " + paths_.helperPath + " --install exited with status " +
                std::to_string(status);
    return false;
}

} // namespace tpc::erase
