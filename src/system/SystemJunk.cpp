#include "system/SystemJunk.h"

namespace tpc::system {

SystemJunk::SystemJunk(platform::Platform& platform, erase::Deleter& deleter, core::SystemLog& log,
                       std::function<void()> bringWindowToFront)
    : platform_(platform), deleter_(deleter), log_(log),
      bringWindowToFront_(std::move(bringWindowToFront)) {}

core::ArrayRef SystemJunk::populateSystemData() const {
    return core::ArrayObj::make();
}

SystemCount SystemJunk::countSystemDetailsToClear(const core::DictRef&,
                                                  const std::function<bool()>&) {
    return {};
}

void SystemJunk::deleteSystemData(const core::DictRef&) {}

std::string SystemJunk::getRecentItemsCountScript() {
    return {};
}
std::string SystemJunk::getRecentsClearScript() {
    return {};
}
std::string SystemJunk::getFinderClearLocationsScript() {
    return {};
}
std::string SystemJunk::getFinderCountLocationsScript() {
    return {};
}

std::uint32_t SystemJunk::recentItemsCount(std::int32_t) {
    return 0;
}

std::int64_t SystemJunk::recentPlacesCount(std::int32_t) {
    return 0;
}

std::uint64_t SystemJunk::sizeofFXRecentFoldersArrayElements(const core::ArrayRef&) {
    return 0;
}

} // namespace tpc::system
