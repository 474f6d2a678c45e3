#include "system/SystemDriver.h"

#include "system/SystemJunk.h"

namespace tpc::system {

SystemDriver::SystemDriver(core::Context& ctx, core::TaskRunner& runner, SystemJunk& junk)
    : ctx_(ctx), runner_(runner), junk_(junk), arraySystem_(core::ArrayObj::make()) {}

void SystemDriver::populateSystemData() {}
void SystemDriver::buttonScanClicked(core::Sender) {}
void SystemDriver::buttonCleanClicked(core::Sender) {}
std::vector<std::string> SystemDriver::markOnly(const std::vector<std::string>& items) {
    return items;
}
void SystemDriver::scanSystem() {}
void SystemDriver::cleanSystem() {}
void SystemDriver::systemCheckBoxButtonClicked(core::CheckState) {}
void SystemDriver::markAllSystem(bool) {}
void SystemDriver::setRowMark(int, bool) {}
core::CheckState SystemDriver::reflectMarkStatusInSystem() const {
    return core::CheckState::Off;
}
bool SystemDriver::enableOrDisableSystemScanAndCleanButton() const {
    return false;
}
void SystemDriver::systemPopUpButtonClicked(core::SortChoice) {}
core::SortChoice SystemDriver::reflectPopUpButtonTitleInSystem() const {
    return core::SortChoice::Default;
}
core::AlertRequest SystemDriver::downloadsNotice() const {
    return {};
}

} // namespace tpc::system
