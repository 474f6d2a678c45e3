#pragma once
// The pictures of the iPhoto page: the chosen library's icon and the thumbnails of a photo's
// original and edited images.

#include "photos/NewDir.h"

#include <QHash>
#include <QPixmap>
#include <QString>

namespace tpc::ui {

// The library's icon as the file system shows it, by the library-icon rule: a 128 x 128 point
// representation when the icon has one, else the whole icon drawn at that size. A null picture
// for an empty path.
QPixmap libraryIcon(const QString& path);

// Thumbnails drawn once per image and turn: the image read at the size it is shown, turned by
// the thumbnail's rotation and centred in a square of `side` pixels. A file that cannot be read
// gives an empty square.
class ThumbnailCache {
public:
    explicit ThumbnailCache(int side) : side_(side) {}
    QPixmap thumbnail(const photos::Thumbnail& picture);
    void clear() { cache_.clear(); }
    int side() const { return side_; }

private:
    int side_;
    QHash<QString, QPixmap> cache_;
};

} // namespace tpc::ui
