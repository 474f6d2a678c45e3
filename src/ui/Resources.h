#pragma once
// The program's pictures, compiled in as Qt resources.

#include <QImage>
#include <QString>

namespace tpc::ui {

// Registers the compiled-in pictures; call once after the application object exists.
void initResources();
// A picture by its file name ("Status Icon.png", "bg-browsers.png"); a null image when absent.
QImage image(const QString& name);

} // namespace tpc::ui
