#include "apps/RecentsDriver.h"

#include "apps/AppCatalogue.h"
#include "apps/AppTraces.h"

namespace tpc::apps {

RecentsDriver::RecentsDriver(core::Context& ctx, core::TaskRunner& runner, AppCatalogue& catalogue,
                             AppTraces& traces)
    : ctx_(ctx), runner_(runner), catalogue_(catalogue), traces_(traces) {}

core::ArrayRef RecentsDriver::list() const {
    return catalogue_.arrayRecents();
}
void RecentsDriver::buttonScanClicked(core::Sender) {}
void RecentsDriver::buttonCleanClicked(core::Sender) {}
std::vector<std::string> RecentsDriver::markOnly(const std::vector<std::string>& items) {
    return items;
}
void RecentsDriver::scanRecents() {}
void RecentsDriver::cleanRecents() {}

} // namespace tpc::apps
