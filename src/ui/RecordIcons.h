#pragma once
// The pictures of list rows, found by the image name a record keeps under "Icon" and loaded once.

#include <QHash>
#include <QIcon>
#include <QString>

namespace tpc::ui {

class RecordIcons {
public:
    // The picture named `name` (".png" is tried when the name has no extension); an empty icon
    // when the resources have none of that name.
    QIcon named(const QString& name) const;

private:
    mutable QHash<QString, QIcon> icons_;
};

} // namespace tpc::ui
