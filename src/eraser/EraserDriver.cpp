#include "eraser/EraserDriver.h"

namespace tpc::eraser {

EraserDriver::EraserDriver(core::Context& ctx, core::TaskRunner& runner, EraserList& list,
                           erase::Deleter& deleter)
    : ctx_(ctx), runner_(runner), list_(list), deleter_(deleter) {}

core::ArrayRef EraserDriver::list() const {
    return list_.arrayFolders();
}
void EraserDriver::buttonScanClicked(core::Sender) {}
void EraserDriver::buttonCleanClicked(core::Sender) {}
std::vector<std::string> EraserDriver::markOnly(const std::vector<std::string>& items) {
    return items;
}
EraserList::AddOutcome EraserDriver::addPaths(const std::vector<std::string>&) {
    return {};
}
void EraserDriver::scanShredder() {}
void EraserDriver::cleanShredder() {}
void EraserDriver::shredderSizesUpdateThread() {}

} // namespace tpc::eraser
