// The "Add to Preset" pop-up of the pages whose rows are not categories of their own: the System
// page's junk locations, the Recents page's applications and the File Eraser's paths go under one
// category record per page in the preset ("Clean System Junk", "Clean App Junk", "File Eraser"),
// which is the record the preset scan and clean hand to that page's category.

#include "core/Keys.h"
#include "core/Record.h"
#include "core/SizeText.h"
#include "presets/PresetModel.h"
#include "presets/PresetRecords.h"

namespace tpc::presets {

using core::ArrayObj;
using core::DictObj;
using core::DictRef;
using core::Value;
namespace keys = core::keys;

namespace {

// The page row images of the group records; the system's is the built-in preset's.
const char* groupIcon(const std::string& group) {
    if (group == kCleanSystemJunk)
        return records::kSystemJunkIcon;
    if (group == kCleanAppJunk)
        return "recent docs.png";
    return "icon-shredder.png";
}

DictRef newGroupRecord(const std::string& group, std::size_t position) {
    auto record = DictObj::make(
        {{keys::DescriptionDictionary,
          Value(DictObj::make({{keys::Description, group}, {keys::Icon, groupIcon(group)}}))},
         {keys::Mark, 1},
         {keys::IsRootItem, true},
         {keys::SortedByItem, keys::DefaultSort},
         {keys::ValueForDefaultSort, Value(position)},
         {keys::SubListArray, Value(ArrayObj::make())}});
    core::setSize(record, 0);
    return record;
}

bool sameRow(const DictRef& a, const DictRef& b) {
    return core::description(a) == core::description(b) && core::path(a) == core::path(b);
}

} // namespace

bool PresetModel::addRowToPresetGroup(int position, const std::string& title,
                                      const std::string& group, const DictRef& pageRow) {
    const DictRef preset = popUpTarget(position, title, pageRow);
    if (!preset)
        return false;

    const auto categories = records::ensureSubList(preset);
    DictRef holder;
    for (const auto& record : categories->dicts())
        if (core::description(record) == group) {
            holder = record;
            break;
        }
    if (!holder) {
        holder = newGroupRecord(group, categories->size());
        categories->append(Value(holder));
    }
    const auto children = records::ensureSubList(holder);
    for (const auto& child : children->dicts())
        if (sameRow(child, pageRow))
            return false;

    auto copy = records::copyCategoryRecord(pageRow, false);
    copy->parent = holder;
    children->append(Value(copy));
    tell(kReloadPresetsSubList);
    tell(kReloadPresetsMainList);
    save();
    return true;
}

} // namespace tpc::presets
