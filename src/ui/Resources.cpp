#include "ui/Resources.h"

#include <QFile>

// Outside any namespace, as the resource initialiser requires.
static void initCompiledResources() {
    Q_INIT_RESOURCE(resources);
}

namespace tpc::ui {

void initResources() {
    static bool done = false;
    if (!done) {
        initCompiledResources();
        done = true;
    }
}

QImage image(const QString& name) {
    initResources();
    QImage img(QStringLiteral(":/images/") + name);
    return img;
}

} // namespace tpc::ui
