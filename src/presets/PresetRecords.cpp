#include "presets/PresetRecords.h"

#include "core/Keys.h"
#include "core/Record.h"
#include "core/SizeText.h"

namespace tpc::presets::records {

using namespace core;

DictRef newPreset(const ArrayRef& presets, const std::string& name, const char* icon) {
    const std::size_t count = presets ? presets->size() : 0;
    auto preset =
        DictObj::make({{keys::PresetName, name},
                       {keys::DescriptionDictionary,
                        Value(DictObj::make({{keys::Description, name}, {keys::Icon, icon}}))},
                       {keys::Mark, 1},
                       {keys::ValueForDefaultSort, Value(static_cast<std::int64_t>(count))},
                       {keys::SubListArray, Value::newArray()}});
    setSize(preset, 0);
    // The list's sort state lives in every row: a new row takes the first row's.
    const DictRef first = presets && !presets->empty() ? presets->at(0).dict() : nullptr;
    if (first && first->has(keys::SortedByItem)) {
        preset->set(keys::SortedByItem, first->get(keys::SortedByItem));
        if (first->has(keys::SortedInDirection))
            preset->set(keys::SortedInDirection, first->get(keys::SortedInDirection));
    } else {
        preset->set(keys::SortedByItem, keys::DefaultSort);
    }
    return preset;
}

DictRef copyCategoryRecord(const DictRef& row, bool markAll) {
    DictRef copy = Value(row).deepCopy().dict();
    // The in-memory link is never a stored key.
    copy->remove(keys::Parent);
    setSize(copy, 0);
    if (markAll)
        setMark(copy, true);
    if (auto children = subList(copy)) {
        for (const auto& child : children->dicts()) {
            child->remove(keys::Parent);
            setSize(child, 0);
            if (markAll)
                setMark(child, true);
        }
    }
    linkCategoryRecord(copy);
    return copy;
}

void linkCategoryRecord(const DictRef& record) {
    if (!record)
        return;
    record->parent.reset();
    auto children = subList(record);
    if (!children)
        return;
    for (const auto& child : children->dicts())
        child->parent = record;
    // Deeper levels, if a page has them, point at their own holders.
    linkParents(children);
}

bool holdsCategory(const DictRef& preset, const std::string& name) {
    auto records = subList(preset);
    if (!records)
        return false;
    for (const auto& record : records->dicts())
        if (description(record) == name)
            return true;
    return false;
}

ArrayRef ensureSubList(const DictRef& preset) {
    ArrayRef records = subList(preset);
    if (!records) {
        records = ArrayObj::make();
        preset->set(keys::SubListArray, Value(records));
    }
    return records;
}

int rowWithDefaultPosition(const ArrayRef& rows, std::int64_t position) {
    if (!rows)
        return -1;
    for (std::size_t i = 0; i < rows->size(); ++i) {
        const DictRef row = rows->at(i).dict();
        if (row && row->getInt(keys::ValueForDefaultSort) == position)
            return static_cast<int>(i);
    }
    return -1;
}

int indexOf(const ArrayRef& rows, const DictRef& record) {
    if (!rows || !record)
        return -1;
    for (std::size_t i = 0; i < rows->size(); ++i)
        if (rows->at(i).dict() == record)
            return static_cast<int>(i);
    return -1;
}

} // namespace tpc::presets::records
