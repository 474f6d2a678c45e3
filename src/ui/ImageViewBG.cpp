#include "ui/ImageViewBG.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace tpc::ui {

ImageViewBG::ImageViewBG(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void ImageViewBG::setBackground(const QImage& image, const QString& pictureName) {
    image_ = image;
    pictureName_ = pictureName;
    update();
}

void ImageViewBG::setPageNumber(int number) {
    pageNumber_ = number;
    update();
}

void ImageViewBG::setTotals(const QString& sizeText, const QString& itemsText) {
    sizeText_ = sizeText;
    itemsText_ = itemsText;
    update();
}

void ImageViewBG::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRectF area = rect();

    QPainterPath frame;
    frame.addRoundedRect(area.adjusted(0.5, 0.5, -0.5, -0.5), 10, 10);
    painter.setClipPath(frame);

    if (image_.isNull()) {
        QLinearGradient gradient(area.topLeft(), area.bottomRight());
        gradient.setColorAt(0, QColor(0x2f, 0x6f, 0xb5));
        gradient.setColorAt(1, QColor(0x5b, 0xa8, 0xd8));
        painter.fillRect(area, gradient);
    } else {
        // Fill the page, keeping the picture's proportions and its centre.
        QSizeF scaled = QSizeF(image_.size()).scaled(area.size(), Qt::KeepAspectRatioByExpanding);
        QRectF target(QPointF(area.center().x() - scaled.width() / 2,
                              area.center().y() - scaled.height() / 2),
                      scaled);
        painter.drawImage(target, image_);
    }

    const qreal margin = 18;
    if (!sizeText_.isEmpty() || !itemsText_.isEmpty()) {
        QFont big = font();
        big.setBold(true);
        big.setPointSizeF(font().pointSizeF() * 2.2);
        QFont small = font();
        small.setPointSizeF(font().pointSizeF() * 1.1);
        const qreal bigHeight = QFontMetricsF(big).height();
        const qreal smallHeight = QFontMetricsF(small).height();
        qreal y = area.bottom() - margin - smallHeight - bigHeight;
        const QRectF line(area.left() + margin, y, area.width() - 2 * margin, bigHeight);
        auto drawShadowed = [&painter](const QRectF& box, const QString& text) {
            painter.setPen(QColor(0, 0, 0, 0x60));
            painter.drawText(box.translated(1, 1), Qt::AlignLeft | Qt::AlignVCenter, text);
            painter.setPen(Qt::white);
            painter.drawText(box, Qt::AlignLeft | Qt::AlignVCenter, text);
        };
        painter.setFont(big);
        drawShadowed(line, sizeText_);
        painter.setFont(small);
        drawShadowed(QRectF(line.left(), line.bottom(), line.width(), smallHeight), itemsText_);
    }

    if (pageNumber_ > 0) {
        QFont badgeFont = font();
        badgeFont.setBold(true);
        painter.setFont(badgeFont);
        const QString text = QString::number(pageNumber_);
        const QFontMetricsF metrics(badgeFont);
        const qreal height = metrics.height() + 8;
        const qreal width = std::max(height, metrics.horizontalAdvance(text) + 16);
        QRectF badge(area.right() - margin - width, area.bottom() - margin - height, width, height);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0, 0, 0, 0x55));
        painter.drawRoundedRect(badge, height / 2, height / 2);
        painter.setPen(Qt::white);
        painter.drawText(badge, Qt::AlignCenter, text);
    }
}

} // namespace tpc::ui
