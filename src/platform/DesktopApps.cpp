#include "platform/DesktopApps.h"

#include "platform/Platform.h"

namespace tpc::platform {

std::vector<std::filesystem::path> applicationFolders(const Platform&) {
    return {};
}

std::optional<DesktopApp> readDesktopApp(const Platform&, const std::filesystem::path&,
                                         const std::string&) {
    return std::nullopt;
}

bool desktopAppVisible(const std::filesystem::path&) {
    return false;
}

std::vector<DesktopApp> listDesktopApps(const Platform&) {
    return {};
}

} // namespace tpc::platform
