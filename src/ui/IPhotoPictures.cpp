#include "ui/IPhotoPictures.h"

#include "photos/LibraryLocation.h"
#include "ui/Resources.h"

#include <QFile>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QIcon>
#include <QImageReader>
#include <QPainter>
#include <QTransform>

#include <vector>

namespace tpc::ui {

QPixmap libraryIcon(const QString& path) {
    if (path.isEmpty())
        return {};
    QIcon icon = QFileIconProvider().icon(QFileInfo(path));
    if (icon.isNull())
        // Without a desktop icon theme a library still shows as one.
        icon = QIcon(QPixmap::fromImage(image(QStringLiteral("icon-iphoto.png"))));
    const int side = static_cast<int>(photos::kLibraryIconSide);
    std::vector<photos::IconRepresentation> reps;
    const auto sizes = icon.availableSizes();
    for (const QSize& size : sizes)
        reps.push_back(
            {static_cast<double>(size.width()), static_cast<double>(size.height()), size.height()});
    if (auto chosen = photos::libraryIconRepresentation(reps))
        return icon.pixmap(sizes[static_cast<qsizetype>(*chosen)]);
    // The whole icon at 128 x 128: its largest size, scaled.
    QSize largest(side, side);
    for (const QSize& size : sizes)
        if (size.height() > largest.height())
            largest = size;
    const QPixmap whole = icon.pixmap(largest);
    return whole.isNull() ? whole
                          : whole.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

QPixmap ThumbnailCache::thumbnail(const photos::Thumbnail& picture) {
    const QString path = QFile::decodeName(QByteArray::fromStdString(picture.path));
    const QString key = path + QLatin1Char('\n') + QString::number(picture.rotation);
    if (auto found = cache_.constFind(key); found != cache_.constEnd())
        return *found;

    QImageReader reader(path);
    reader.setAutoTransform(false);
    const QSize full = reader.size();
    if (full.isValid())
        reader.setScaledSize(full.scaled(side_, side_, Qt::KeepAspectRatio));
    QImage read = reader.read();
    if (!read.isNull() && picture.rotation % 360 != 0)
        read = read.transformed(QTransform().rotate(static_cast<qreal>(picture.rotation)),
                                Qt::SmoothTransformation);
    if (!read.isNull())
        read = read.scaled(side_, side_, Qt::KeepAspectRatio, Qt::SmoothTransformation);

    QPixmap square(side_, side_);
    square.fill(Qt::transparent);
    if (!read.isNull()) {
        QPainter painter(&square);
        painter.drawImage((side_ - read.width()) / 2, (side_ - read.height()) / 2, read);
    }
    cache_.insert(key, square);
    return square;
}

} // namespace tpc::ui
