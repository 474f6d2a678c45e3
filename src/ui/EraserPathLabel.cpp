#include "ui/EraserPathLabel.h"

#include <QPainter>
#include <QStyle>

namespace tpc::ui {

EraserPathLabel::EraserPathLabel(QWidget* parent) : QLabel(parent) {
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    setTextFormat(Qt::PlainText);
}

void EraserPathLabel::showPath(const QString& path) {
    setText(path);
    setToolTip(path);
}

QSize EraserPathLabel::minimumSizeHint() const {
    return {0, QLabel::minimumSizeHint().height()};
}

void EraserPathLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRect area = contentsRect();
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideMiddle, area.width());
    style()->drawItemText(&painter, area, Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(),
                          shown, foregroundRole());
}

} // namespace tpc::ui
