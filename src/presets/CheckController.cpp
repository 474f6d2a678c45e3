#include "presets/PresetModel.h"

#include "core/Record.h"

#include <unordered_set>

namespace tpc::presets {

using namespace core;

namespace {

// Calls `visit` on each holder up the "Parent" chain of `record`, nearest first. A chain that
// comes back on itself (badly linked records) is walked once.
template <typename Visit> void walkHoldersOfCheckedRecord(const DictRef& record, Visit visit) {
    std::unordered_set<const DictObj*> seen{record.get()};
    for (DictRef up = parent(record); up && seen.insert(up.get()).second; up = parent(up))
        visit(up);
}

} // namespace

void CheckController::setSelected() {
    if (!dict_)
        return;
    setMark(dict_, flag_);
    if (flag_) {
        // Every holder up the chain is marked: a marked item is cleaned only through them.
        walkHoldersOfCheckedRecord(dict_, [](const DictRef& up) { setMark(up, true); });
        markAllChildrenDictArray(subList(dict_), true);
        return;
    }
    markAllChildrenDictArray(subList(dict_), false);
    // A holder with nothing marked under it has nothing left to clean.
    walkHoldersOfCheckedRecord(dict_, [](const DictRef& up) {
        if (itemsChildrenSelected(up) == 0)
            setMark(up, false);
    });
}

void CheckController::markAllChildrenDictArray(const ArrayRef& children, bool value) {
    if (!children)
        return;
    for (const auto& child : children->dicts()) {
        setMark(child, value);
        const auto grandchildren = subList(child);
        if (grandchildren && !grandchildren->empty())
            markAllChildrenDictArray(grandchildren, value);
    }
}

std::size_t CheckController::itemsChildrenSelected(const DictRef& record) {
    const auto children = subList(record);
    if (!children)
        return 0;
    std::size_t selected = 0;
    for (const auto& child : children->dicts())
        if (mark(child) != 0)
            ++selected;
    return selected;
}

} // namespace tpc::presets
