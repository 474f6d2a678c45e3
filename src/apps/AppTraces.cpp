#include "apps/AppTraces.h"

namespace tpc::apps {

bool isOfficeBundle(const std::string&) {
    return false;
}

AppTraces::AppTraces(platform::Platform& platform, erase::Deleter& deleter, core::SystemLog& log)
    : platform_(platform), deleter_(deleter), log_(log) {}

AppCount AppTraces::countAppDetailsToClear(const core::DictRef&, const std::function<bool()>&) {
    return {};
}
void AppTraces::deleteAppData(const core::DictRef&) {}
void AppTraces::quitAppWithBundleID(const std::string&) {}
std::optional<std::filesystem::path> AppTraces::cachePath(const core::DictRef&) const {
    return std::nullopt;
}
std::optional<std::string> AppTraces::officeMruKey(const std::string&) const {
    return std::nullopt;
}

} // namespace tpc::apps
