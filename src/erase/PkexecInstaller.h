#pragma once
// Installs the helper on Linux: it counts as installed when its systemd socket unit (or its
// listening socket) exists, and is installed by running `pkexec tpc-helper --install`, for which
// the system asks the user for an administrator password.

#include "erase/HelperConnection.h"
#include "erase/UnixHelperConnection.h"

#include <string>
#include <vector>

namespace tpc::erase {

inline constexpr const char* kDefaultHelperToolPath = "/usr/libexec/tpc-helper";

struct PkexecInstallerPaths {
    std::string helperPath = kDefaultHelperToolPath;
    std::string pkexecPath = "/usr/bin/pkexec";
    std::string socketPath = kDefaultHelperSocketPath;
    std::vector<std::string> unitFiles = {"/etc/systemd/system/tpc-helper.socket",
                                          "/usr/lib/systemd/system/tpc-helper.socket",
                                          "/lib/systemd/system/tpc-helper.socket"};
};

class PkexecInstaller final : public HelperInstaller {
public:
    explicit PkexecInstaller(PkexecInstallerPaths paths = {});

    bool jobExists() override;
    bool bless(std::string& error) override;

private:
    PkexecInstallerPaths paths_;
};

} // namespace tpc::erase
