#include "photos/NewDir.h"

#include "fs/Entries.h"
#include "photos/PhotoKeys.h"

#include <algorithm>

namespace tpc::photos {

NewDirRef NewDir::make(const std::string& name) {
    auto node = std::make_shared<NewDir>();
    node->name = name;
    return node;
}

void NewDir::setContents(const core::DictRef& record) {
    auto copy = core::DictObj::make();
    if (record)
        copy->items = record->items;
    contents = copy;
}

void NewDir::setupChildrenArray() {
    children.clear();
}

const std::vector<NewDirRef>& NewDir::photos() const {
    static const std::vector<NewDirRef> none;
    return nodeChild ? nodeChild->children : none;
}

bool NewDir::addChild(const NewDirRef& photo) {
    if (!photo)
        return false;
    if (!nodeChild) {
        nodeChild = make();
        nodeChild->parent = weak_from_this();
        nodeChild->setupChildrenArray();
    }
    if (!contents)
        contents = core::DictObj::make();

    const auto record = photo->contents;
    const std::string image = record ? record->getString(keys::ImagePath) : std::string();
    const std::string original = record ? record->getString(keys::OriginalPath) : std::string();
    if (image.empty() || original.empty() || !tpc::fs::isRegularFileNoFollow(image) ||
        !tpc::fs::isRegularFileNoFollow(original))
        return false;

    photo->size = tpc::fs::entrySizeNoFollow(original);
    photo->sizeOriginal = tpc::fs::entrySizeNoFollow(image);
    ++items;
    size += photo->size;
    if (photo->selected == 1) {
        photo->sizeSelected = photo->size;
        photo->itemsSelected = 1;
        sizeSelected += photo->size;
        ++itemsSelected;
    }
    nodeChild->children.push_back(photo);
    photo->parent = weak_from_this();
    return true;
}

void NewDir::removeChild(const NewDirRef& photo) {
    if (!photo || !nodeChild)
        return;
    auto& list = nodeChild->children;
    const auto found = std::find(list.begin(), list.end(), photo);
    if (found == list.end())
        return;
    list.erase(found);
    size -= std::min(size, photo->size);
    items -= std::min<std::uint64_t>(items, 1);
    if (photo->selected == 1) {
        sizeSelected -= std::min(sizeSelected, photo->sizeSelected);
        itemsSelected -= std::min<std::uint64_t>(itemsSelected, 1);
    }
    photo->parent.reset();
}

} // namespace tpc::photos
