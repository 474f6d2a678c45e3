#include "ui/RecordIcons.h"

#include "ui/Resources.h"

#include <QImage>
#include <QPixmap>

namespace tpc::ui {

QIcon RecordIcons::named(const QString& name) const {
    auto found = icons_.constFind(name);
    if (found != icons_.constEnd())
        return *found;
    QImage picture = image(name);
    if (picture.isNull() && !name.contains(QLatin1Char('.')))
        picture = image(name + QStringLiteral(".png"));
    const QIcon loaded = picture.isNull() ? QIcon() : QIcon(QPixmap::fromImage(picture));
    icons_.insert(name, loaded);
    return loaded;
}

} // namespace tpc::ui
