#include "extensions/ExtensionRecords.h"

#include "core/Keys.h"
#include "core/SizeText.h"
#include "extensions/ExtensionCatalogue.h"
#include "extensions/ExtensionKeys.h"

namespace tpc::extensions {

using core::DictObj;
namespace ck = core::keys;

core::DictRef makeCategoryRoot(const CategorySource& source, std::int64_t position) {
    auto root = DictObj::make();
    root->set(ck::Mark, 0);
    root->set(ck::SizeFormattedString, core::getFormattedStringForSize(0));
    root->set(ck::Size, std::uint64_t{0});
    root->set(ck::SortedByItem, ck::DefaultSort);
    root->set(ck::ValueForDefaultSort, position);
    root->set(ck::IsRootItem, true);
    root->set(ck::DescriptionDictionary, DictObj::make({{ck::Description, source.title},
                                                        {source.pictureKey, source.picture}}));
    root->set(ck::SubListArray, core::ArrayObj::make());
    return root;
}

core::DictRef makeExtensionItem(const std::string& name, const std::string& path,
                                std::uint64_t size, std::int64_t position, bool sessionLoginItem) {
    auto item = DictObj::make();
    item->set(ck::Mark, 0);
    core::setSize(item, size);
    item->set(ck::SortedByItem, ck::DefaultSort);
    item->set(ck::ValueForDefaultSort, position);
    item->set(ck::DescriptionDictionary,
              DictObj::make({{ck::Description, name}, {ck::Path, path}}));
    if (sessionLoginItem) {
        item->set(keys::HasTargetFileDeleteOption, true);
        item->set(keys::DeleteOption, 0);
    }
    return item;
}

} // namespace tpc::extensions
