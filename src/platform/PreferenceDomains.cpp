#include "platform/PreferenceDomains.h"

namespace tpc::platform {

PreferenceDomains::PreferenceDomains(std::filesystem::path folder) : folder_(std::move(folder)) {}

std::filesystem::path PreferenceDomains::fileFor(const std::string& domain) const {
    return folder_ / (domain + ".plist");
}

core::DictRef PreferenceDomains::read(const std::string&) const {
    return nullptr;
}

bool PreferenceDomains::deleteKey(const std::string&, const std::string&) {
    return false;
}

bool PreferenceDomains::write(const std::string&, const std::string&, const std::string&) {
    return false;
}

bool PreferenceDomains::dictAdd(const std::string&, const std::string&, const std::string&,
                                const std::string&) {
    return false;
}

} // namespace tpc::platform
