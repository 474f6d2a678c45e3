#include "platform/Platform.h"

namespace tpc::platform {

std::optional<Layout> parseLayout(const std::string& text) {
    if (text == "macos")
        return Layout::MacOS;
    if (text == "linux")
        return Layout::Linux;
    return std::nullopt;
}

const char* layoutName(Layout layout) {
    return layout == Layout::MacOS ? "macos" : "linux";
}

Layout hostLayout() {
#ifdef __APPLE__
    return Layout::MacOS;
#else
    return Layout::Linux;
#endif
}

} // namespace tpc::platform
