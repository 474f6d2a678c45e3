#pragma once
// One node of the photo-library result tree. A root names a category of edits ("Cropped,
// Rotated") and holds its photos in a container node (`nodeChild`); a photo node holds the
// photo's record from "AlbumData.xml" and what its two files weigh. Roots keep the count and size
// of their photos, and of the marked ones, as photos are added and removed.
//
// Threads: the tree is read and changed on the main thread only (workers go through
// MainThread::invoke).

#include "core/Value.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tpc::photos {

// A picture to draw for a photo: the image file, turned by `rotation` degrees.
struct Thumbnail {
    std::string path;
    std::int64_t rotation = 0;
};

class NewDir;
using NewDirRef = std::shared_ptr<NewDir>;

class NewDir : public std::enable_shared_from_this<NewDir> {
public:
    static NewDirRef make(const std::string& name = {});

    // On a root: the category name.
    std::string name;
    // On a photo: the byte size of the original file; on a root: the sum over its photos.
    std::uint64_t size = 0;
    // On a photo: its size when selected; on a root: the sum over its selected photos.
    std::uint64_t sizeSelected = 0;
    // On a photo: the byte size of the edited image file.
    std::uint64_t sizeOriginal = 0;
    // On a root: the number of photos.
    std::uint64_t items = 0;
    // On a photo: 1 when selected; on a root: the number of selected photos.
    std::uint64_t itemsSelected = 0;
    // 1 selected, 0 not; a root shows -1 when only some of its photos are.
    std::int64_t selected = 0;
    // The original image (turned when it is stored turned otherwise than the photo shows) and
    // the edited image.
    Thumbnail imageOriginal;
    Thumbnail imageImage;
    // On a photo: its record, with "ImageKey" added.
    core::DictRef contents;
    std::vector<NewDirRef> children;
    // On a root: the container whose children are the photos; made by the first addChild.
    NewDirRef nodeChild;
    // The root a photo belongs to; the root of a container.
    std::weak_ptr<NewDir> parent;
    // Marks the last root of the list (the results view's layout).
    bool isLastCategoryRoot = false;

    // Stores a copy of the record's top level (the record in the file stays apart).
    void setContents(const core::DictRef& record);
    void setupChildrenArray();
    // On a root: its photos, in the order they were added.
    const std::vector<NewDirRef>& photos() const;

    // On a root: adds `photo` when both its files ("ImagePath" and "OriginalPath") exist as
    // regular files, taking its sizes from them and counting it (and its selection) in the root.
    // False, with nothing changed, otherwise.
    bool addChild(const NewDirRef& photo);
    // On a root: takes `photo` out, uncounting it.
    void removeChild(const NewDirRef& photo);
};

} // namespace tpc::photos
