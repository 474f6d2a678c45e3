#pragma once
// The result tree of a photo-library scan (`arrayIPhotoMainList`: the category roots in the order
// they were made) and its marking: a photo is marked or not, a root shows all (1), some (-1) or
// none (0) of its photos marked and keeps the count and size of the marked ones, and the mark-all
// box above the tree shows what the roots show.
//
// Threads: main thread only.

#include "core/CheckList.h"
#include "photos/NewDir.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tpc::photos {

struct PhotoTotals {
    std::uint64_t items = 0;
    std::uint64_t size = 0;
};

class IPhotoResults {
public:
    const std::vector<NewDirRef>& roots() const { return roots_; }
    bool empty() const { return roots_.empty(); }
    // Discards every root.
    void clear() { roots_.clear(); }

    // rootDirForCategaory: the (last) root of that name, or null.
    NewDirRef rootDirForCategaory(const std::string& category) const;
    // The photo under its category's root (a new root is appended when there is none yet); false
    // when addChild refused it (a new root is then not kept).
    bool addPhoto(const std::string& category, const NewDirRef& photo);

    // markAllIPhoto:dir: — the root and each of its photos marked or unmarked.
    void markAllIPhoto(bool on, NewDir& root);
    // markAllIPhoto: — the mark-all box: every root.
    void markAllIPhoto(bool on);
    // checkBoxIPhotoClicked: on a root row, `shown` is the state its box shows after the click
    // (a mixed box goes on); on a photo row, whether it is now marked.
    void checkBoxIPhotoClicked(NewDir& root, core::CheckState shown);
    void checkBoxIPhotoClicked(NewDir& photo, bool on);
    // Recounts every root from its photos.
    void updateMarkStatusAllIPhoto();

    // The mark-all box: on when every root is fully marked, off when none is, mixed otherwise
    // (a root marked only in part counts as not marked).
    core::CheckState reflectMarkStatusInIPhotoMainList() const;
    // The Clean button: enabled while the mark-all box is on or mixed.
    bool enableOrDisableIPhotoCleanButton() const;
    // "Selected: <n> item, <size>" (fewer than two marked photos) or "Selected: <n> items,
    // <size>".
    std::string selectionText() const;

    // Over all roots: every photo, and the marked ones.
    PhotoTotals totals() const;
    PhotoTotals selectedTotals() const;

    // After a clean: the photos whose contents say "Remove" leave their roots, roots left without
    // photos leave the list, and the last root is marked as such.
    void removeCleanedPhotos();

private:
    // The root's box and `selected` from its counts.
    static void reflectRootMark(NewDir& root);

    std::vector<NewDirRef> roots_;
};

} // namespace tpc::photos
