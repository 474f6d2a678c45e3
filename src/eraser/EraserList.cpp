#include "eraser/EraserList.h"

namespace tpc::eraser {

EraserList::EraserList(core::Context& ctx)
    : ctx_(ctx), dictFolders_(core::DictObj::make()), arrayFolders_(core::ArrayObj::make()) {}

void EraserList::loadShredder() {}
EraserList::AddOutcome EraserList::addPaths(const std::vector<std::string>&) {
    return {};
}
std::string EraserList::inconsistencyMessage(const AddOutcome&) {
    return {};
}
void EraserList::removeRows(std::vector<int>) {}
void EraserList::removeAll() {}
void EraserList::sortFoldersArrayAfterDeletion() {}
void EraserList::foldersCheckBoxButtonClicked(core::CheckState) {}
void EraserList::markAllFolders(bool) {}
void EraserList::setRowMark(int, bool) {}
core::CheckState EraserList::reflectMarkStatusInFolders() const {
    return core::CheckState::Off;
}
bool EraserList::enableOrDisableFoldersCleanButton() const {
    return false;
}
bool EraserList::setDeleteOption(int, bool) {
    return false;
}
void EraserList::foldersPopUpButtonClicked(core::SortChoice) {}
core::SortChoice EraserList::reflectPopUpButtonTitleInFolders() const {
    return core::SortChoice::Default;
}
int EraserList::findRow(const std::string&) const {
    return -1;
}
void EraserList::save() {}

} // namespace tpc::eraser
