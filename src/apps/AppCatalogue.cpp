#include "apps/AppCatalogue.h"

namespace tpc::apps {

AppCatalogue::AppCatalogue(core::Context& ctx)
    : ctx_(ctx), dictRecents_(core::DictObj::make()), arrayRecents_(core::ArrayObj::make()) {}

bool AppCatalogue::loadRecents() {
    return false;
}
void AppCatalogue::recentsFirstRunForAddingApps() {}
core::DictRef AppCatalogue::makeRecord(const std::string&, const std::string&, const std::string&,
                                       std::int64_t) {
    return core::DictObj::make();
}
std::optional<std::string> AppCatalogue::bundleIdentifier(const std::string&) const {
    return std::nullopt;
}
AppCatalogue::AddResult AppCatalogue::addApplication(const std::string&) {
    return AddResult::NoIdentifier;
}
void AppCatalogue::removeRow(int) {}
void AppCatalogue::removeAll() {}
void AppCatalogue::sortRecentsArrayAfterDeletion() {}
void AppCatalogue::recentsCheckBoxButtonClicked(core::CheckState) {}
void AppCatalogue::markAllRecents(bool) {}
void AppCatalogue::setRowMark(int, bool) {}
core::CheckState AppCatalogue::reflectMarkStatusInRecents() const {
    return core::CheckState::Off;
}
bool AppCatalogue::enableOrDisableRecentsScanAndCleanButton() const {
    return false;
}
void AppCatalogue::recentsPopUpButtonClicked(core::SortChoice) {}
core::SortChoice AppCatalogue::reflectPopUpButtonTitleInRecents() const {
    return core::SortChoice::Default;
}
bool AppCatalogue::optionAvailable(const std::string&) const {
    return false;
}
void AppCatalogue::setOption(int, const std::string&, bool) {}
int AppCatalogue::findRow(const std::string&) const {
    return -1;
}
void AppCatalogue::save() {}

} // namespace tpc::apps
