// Renders every .svg file of a folder to a transparent PNG of the same base name, at the size the
// SVG declares (optionally multiplied by a scale factor, for previews).
//
//     render_icons INPUT_DIR OUTPUT_DIR [SCALE]

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 3 || args.size() > 4) {
        std::fprintf(stderr, "usage: render_icons INPUT_DIR OUTPUT_DIR [SCALE]\n");
        return 2;
    }
    const QDir in(args[1]);
    const QDir out(args[2]);
    bool scaleOk = true;
    const double scale = args.size() == 4 ? args[3].toDouble(&scaleOk) : 1.0;
    if (!in.exists() || !scaleOk || scale <= 0) {
        std::fprintf(stderr, "render_icons: bad input folder or scale\n");
        return 2;
    }
    if (!out.exists() && !QDir().mkpath(out.path())) {
        std::fprintf(stderr, "render_icons: cannot create %s\n", qPrintable(out.path()));
        return 1;
    }

    int failures = 0;
    const QFileInfoList files = in.entryInfoList({"*.svg"}, QDir::Files, QDir::Name);
    for (const QFileInfo& file : files) {
        QSvgRenderer renderer(file.filePath());
        if (!renderer.isValid()) {
            std::fprintf(stderr, "render_icons: cannot read %s\n", qPrintable(file.filePath()));
            ++failures;
            continue;
        }
        const QSize size = (QSizeF(renderer.defaultSize()) * scale).toSize();
        QImage image(size, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        {
            QPainter painter(&image);
            painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
            renderer.render(&painter);
        }
        const QString target = out.filePath(file.completeBaseName() + ".png");
        if (!image.save(target, "PNG")) {
            std::fprintf(stderr, "render_icons: cannot write %s\n", qPrintable(target));
            ++failures;
            continue;
        }
        std::printf("%s (%dx%d)\n", qPrintable(target), size.width(), size.height());
    }
    return failures == 0 ? 0 : 1;
}
