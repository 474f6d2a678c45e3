#pragma once
// Typed accessors for the item records behind every check-box row.

#include "core/Keys.h"
#include "core/Value.h"

#include <cstdint>
#include <string>

namespace tpc::core {

inline std::int64_t mark(const DictRef& rec) {
    return rec ? rec->getInt(keys::Mark) : 0;
}
inline bool isMarked(const DictRef& rec) {
    return mark(rec) == 1;
}
inline void setMark(const DictRef& rec, bool on) {
    rec->set(keys::Mark, on ? 1 : 0);
}

inline std::uint64_t size(const DictRef& rec) {
    return rec ? rec->getUInt(keys::Size) : 0;
}

inline DictRef descriptionDictionary(const DictRef& rec) {
    return rec ? rec->getDict(keys::DescriptionDictionary) : nullptr;
}

// The row's name as shown ("Description" inside "Description Dictionary").
inline std::string description(const DictRef& rec) {
    auto dd = descriptionDictionary(rec);
    return dd ? dd->getString(keys::Description) : std::string();
}

inline std::string path(const DictRef& rec) {
    auto dd = descriptionDictionary(rec);
    return dd ? dd->getString(keys::Path) : std::string();
}

inline ArrayRef subList(const DictRef& rec) {
    return rec ? rec->getArray(keys::SubListArray) : nullptr;
}

inline DictRef parent(const DictRef& rec) {
    return rec ? rec->parent.lock() : nullptr;
}

// Points every child of every row of `rows` back at its row (done after loading).
void linkParents(const ArrayRef& rows);

} // namespace tpc::core
