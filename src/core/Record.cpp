#include "core/Record.h"

#include <unordered_set>

namespace tpc::core {

namespace {

void linkChildren(const DictRef& row, std::unordered_set<const DictObj*>& visited) {
    // A record met twice (shared, or a cycle) was linked the first time.
    if (!visited.insert(row.get()).second)
        return;
    auto children = subList(row);
    if (!children)
        return;
    for (const auto& child : children->dicts()) {
        child->parent = row;
        linkChildren(child, visited);
    }
}

} // namespace

void linkParents(const ArrayRef& rows) {
    if (!rows)
        return;
    std::unordered_set<const DictObj*> visited;
    for (const auto& row : rows->dicts())
        linkChildren(row, visited);
}

} // namespace tpc::core
