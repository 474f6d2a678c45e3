#include "photos/IPhotoResults.h"

#include "core/SizeText.h"
#include "photos/PhotoKeys.h"

#include <algorithm>

namespace tpc::photos {

NewDirRef IPhotoResults::rootDirForCategaory(const std::string& category) const {
    for (auto it = roots_.rbegin(); it != roots_.rend(); ++it)
        if ((*it)->name == category)
            return *it;
    return nullptr;
}

bool IPhotoResults::addPhoto(const std::string& category, const NewDirRef& photo) {
    auto root = rootDirForCategaory(category);
    if (root)
        return root->addChild(photo);
    // A photo whose files went in the meantime makes no category of its own.
    root = NewDir::make(category);
    if (!root->addChild(photo))
        return false;
    roots_.push_back(root);
    return true;
}

void IPhotoResults::markAllIPhoto(bool on, NewDir& root) {
    root.selected = on ? 1 : 0;
    root.itemsSelected = on ? root.items : 0;
    root.sizeSelected = on ? root.size : 0;
    for (const auto& photo : root.photos()) {
        photo->selected = on ? 1 : 0;
        photo->sizeSelected = on ? photo->size : 0;
        photo->itemsSelected = on ? 1 : 0;
    }
}

void IPhotoResults::markAllIPhoto(bool on) {
    for (const auto& root : roots_)
        markAllIPhoto(on, *root);
}

void IPhotoResults::checkBoxIPhotoClicked(NewDir& root, core::CheckState shown) {
    markAllIPhoto(shown != core::CheckState::Off, root);
}

void IPhotoResults::checkBoxIPhotoClicked(NewDir& photo, bool on) {
    const auto root = photo.parent.lock();
    const bool was = photo.selected == 1;
    photo.selected = on ? 1 : 0;
    if (root && was != on) {
        if (on) {
            root->sizeSelected += photo.size;
            ++root->itemsSelected;
        } else {
            root->sizeSelected -= std::min(root->sizeSelected, photo.sizeSelected);
            root->itemsSelected -= std::min<std::uint64_t>(root->itemsSelected, 1);
        }
    }
    photo.sizeSelected = on ? photo.size : 0;
    photo.itemsSelected = on ? 1 : 0;
    if (root)
        reflectRootMark(*root);
}

void IPhotoResults::reflectRootMark(NewDir& root) {
    if (root.itemsSelected == 0)
        root.selected = 0;
    else
        root.selected = root.itemsSelected >= root.items ? 1 : -1;
}

void IPhotoResults::updateMarkStatusAllIPhoto() {
    for (const auto& root : roots_) {
        root->items = 0;
        root->size = 0;
        root->itemsSelected = 0;
        root->sizeSelected = 0;
        for (const auto& photo : root->photos()) {
            ++root->items;
            root->size += photo->size;
            if (photo->selected == 1) {
                ++root->itemsSelected;
                root->sizeSelected += photo->size;
            }
        }
        reflectRootMark(*root);
    }
}

core::CheckState IPhotoResults::reflectMarkStatusInIPhotoMainList() const {
    // Counted as the master box of every list counts its rows: a root whose photos are only
    // partly marked is not a marked root.
    const auto full = static_cast<std::size_t>(std::count_if(
        roots_.begin(), roots_.end(), [](const NewDirRef& root) { return root->selected == 1; }));
    if (full == 0)
        return core::CheckState::Off;
    return full == roots_.size() ? core::CheckState::On : core::CheckState::Mixed;
}

bool IPhotoResults::enableOrDisableIPhotoCleanButton() const {
    return reflectMarkStatusInIPhotoMainList() != core::CheckState::Off;
}

std::string IPhotoResults::selectionText() const {
    const PhotoTotals marked = selectedTotals();
    return "Selected: " + std::to_string(marked.items) +
           (marked.items < 2 ? " item, " : " items, ") +
           core::getFormattedStringForSize(marked.size);
}

PhotoTotals IPhotoResults::totals() const {
    PhotoTotals sum;
    for (const auto& root : roots_) {
        sum.items += root->items;
        sum.size += root->size;
    }
    return sum;
}

PhotoTotals IPhotoResults::selectedTotals() const {
    PhotoTotals sum;
    for (const auto& root : roots_)
        for (const auto& photo : root->photos())
            if (photo->selected == 1) {
                ++sum.items;
                sum.size += photo->size;
            }
    return sum;
}

void IPhotoResults::removeCleanedPhotos() {
    for (const auto& root : roots_) {
        root->isLastCategoryRoot = false;
        const auto photos = root->photos();
        for (const auto& photo : photos)
            if (photo->contents && photo->contents->getBool(keys::Remove))
                root->removeChild(photo);
    }
    std::erase_if(roots_, [](const NewDirRef& root) { return root->photos().empty(); });
    if (!roots_.empty())
        roots_.back()->isLastCategoryRoot = true;
}

} // namespace tpc::photos
