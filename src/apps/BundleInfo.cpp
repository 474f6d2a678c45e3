#include "apps/BundleInfo.h"

#include "core/PropertyList.h"

#include <filesystem>

namespace tpc::apps {

core::DictRef readInfoPlist(const std::string& bundlePath) {
    auto value = core::plist::readFile(std::filesystem::path(bundlePath) / "Contents/Info.plist");
    return value ? value->dict() : nullptr;
}

bool usableAsPathComponent(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

} // namespace tpc::apps
