#include "ui/HoverButton.h"

#include "core/Clock.h"
#include "core/MainThread.h"
#include "core/ThreadGroup.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>

#include <algorithm>

namespace tpc::ui {

namespace {

constexpr auto kHoverDelay = core::Clock::seconds(0.5);
constexpr qreal kRadius = 8.0;
constexpr qreal kIconSize = 32.0;
constexpr qreal kMargin = 12.0;

// Colours of the drawn states when no picture is given.
QColor fallbackColour(HoverButton::Drawn drawn) {
    switch (drawn) {
    case HoverButton::Drawn::Hover:
        return QColor(0xdc, 0xe8, 0xf6);
    case HoverButton::Drawn::Active:
        return QColor(0x2f, 0x6f, 0xb5);
    case HoverButton::Drawn::Normal:
        break;
    }
    return QColor(0xff, 0xff, 0xff, 0);
}

} // namespace

HoverButton::HoverButton(int buttonID, HoverEnvironment env, QWidget* parent)
    : QWidget(parent), buttonID_(buttonID), env_(env) {
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void HoverButton::setImageNormal(const QImage& normal, const QImage& hover, const QImage& active,
                                 const QImage& icon) {
    normalImage_ = normal;
    hoverImage_ = hover;
    activeImage_ = active;
    icon_ = icon;
    update();
}

void HoverButton::setTitle(const QString& title) {
    title_ = title;
    setAccessibleName(title);
    update();
}

void HoverButton::setSubTitle(const std::optional<QString>& subTitle) {
    subTitle_ = subTitle;
    update();
}

void HoverButton::setButtonPressed(bool pressed) {
    state_->pressed.store(pressed);
    if (pressed)
        draw(Drawn::Active);
    else
        draw(hovering() ? Drawn::Hover : Drawn::Normal);
}

void HoverButton::resetButton() {
    state_->hovering.store(false);
    state_->pressed.store(false);
    draw(Drawn::Normal);
}

void HoverButton::mouseEntered() {
    if (shutDown_)
        return;
    state_->hovering.store(true);
    if (buttonPressed()) {
        draw(Drawn::Active);
        displayThread();
        return;
    }
    draw(Drawn::Hover);
    displayThread();
    delayInHovering();
}

void HoverButton::mouseExited() {
    if (shutDown_)
        return;
    state_->hovering.store(false);
    if (buttonPressed()) {
        draw(Drawn::Active);
        displayThread();
        return;
    }
    draw(Drawn::Normal);
    displayThread();
    if (onHoverEnded)
        onHoverEnded();
}

void HoverButton::shutDown() {
    shutDown_ = true;
    onHoverPreview = nullptr;
    onHoverEnded = nullptr;
    onClicked = nullptr;
}

void HoverButton::draw(Drawn image) {
    drawn_ = image;
    update();
}

void HoverButton::displayThread() {
    core::Clock& clock = env_.clock;
    core::MainThread& mainThread = env_.mainThread;
    QPointer<HoverButton> self(this);
    env_.threads.start([&clock, &mainThread, self = std::move(self)]() mutable {
        clock.sleepFor(kHoverDelay);
        mainThread.post([self = std::move(self)] {
            if (self)
                self->update();
        });
    });
}

void HoverButton::delayInHovering() {
    core::Clock& clock = env_.clock;
    core::MainThread& mainThread = env_.mainThread;
    QPointer<HoverButton> self(this);
    std::shared_ptr<State> state = state_;
    const int id = buttonID_;
    env_.threads.start([&clock, &mainThread, self = std::move(self), state, id]() mutable {
        clock.sleepFor(kHoverDelay);
        if (!state->hovering.load() || state->pressed.load())
            return;
        mainThread.post([self = std::move(self), id] {
            // The pointer may have left while this waited in the queue.
            if (self && self->hovering() && !self->buttonPressed() && self->onHoverPreview)
                self->onHoverPreview(id);
        });
    });
}

QSize HoverButton::sizeHint() const {
    return QSize(230, 56);
}

void HoverButton::paintFallback(QPainter& painter, const QRectF& area) const {
    QPainterPath path;
    path.addRoundedRect(area, kRadius, kRadius);
    painter.fillPath(path, fallbackColour(drawn_));
    if (drawn_ == Drawn::Hover)
        painter.strokePath(path, QPen(QColor(0xb7, 0xcf, 0xec), 1.0));
}

void HoverButton::paintIcon(QPainter& painter, const QRectF& area) const {
    if (!icon_.isNull()) {
        QImage scaled = icon_.scaled(area.size().toSize() * devicePixelRatioF(),
                                     Qt::KeepAspectRatio, Qt::SmoothTransformation);
        scaled.setDevicePixelRatio(devicePixelRatioF());
        QSizeF drawnSize = scaled.deviceIndependentSize();
        QPointF topLeft(area.center().x() - drawnSize.width() / 2,
                        area.center().y() - drawnSize.height() / 2);
        painter.drawImage(topLeft, scaled);
        return;
    }
    // No icon: a disc with the title's first letter.
    const bool active = drawn_ == Drawn::Active;
    painter.setPen(Qt::NoPen);
    painter.setBrush(active ? QColor(0xff, 0xff, 0xff, 0x40) : QColor(0x2f, 0x6f, 0xb5));
    painter.drawEllipse(area);
    QFont font = this->font();
    font.setBold(true);
    font.setPixelSize(static_cast<int>(area.height() * 0.5));
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(area, Qt::AlignCenter, title_.left(1).toUpper());
}

void HoverButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRectF area = QRectF(rect()).adjusted(1, 1, -1, -1);

    const QImage& picture = drawn_ == Drawn::Active  ? activeImage_
                            : drawn_ == Drawn::Hover ? hoverImage_
                                                     : normalImage_;
    if (picture.isNull())
        paintFallback(painter, area);
    else
        painter.drawImage(area, picture);

    if (hasFocus() && keyboardFocus_) {
        painter.setPen(QPen(QColor(0x2f, 0x6f, 0xb5), 1.5, Qt::DotLine));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(area.adjusted(2, 2, -2, -2), kRadius, kRadius);
    }

    const QRectF iconArea(area.left() + kMargin, area.center().y() - kIconSize / 2, kIconSize,
                          kIconSize);
    paintIcon(painter, iconArea);

    const bool active = drawn_ == Drawn::Active;
    const qreal textLeft = iconArea.right() + kMargin;
    const QRectF textArea(textLeft, area.top(), area.right() - kMargin / 2 - textLeft,
                          area.height());

    QFont titleFont = font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(font().pointSizeF() + 0.5);
    QFont subFont = font();
    subFont.setPointSizeF(std::max(6.0, font().pointSizeF() - 1.5));
    const QFontMetricsF titleMetrics(titleFont);
    const QFontMetricsF subMetrics(subFont);

    const bool hasSub = subTitle_.has_value() && !subTitle_->isEmpty();
    const qreal blockHeight = titleMetrics.height() + (hasSub ? subMetrics.height() + 1 : 0);
    qreal y = textArea.center().y() - blockHeight / 2;

    painter.setFont(titleFont);
    painter.setPen(active ? QColor(Qt::white) : QColor(0x1f, 0x29, 0x33));
    painter.drawText(QRectF(textArea.left(), y, textArea.width(), titleMetrics.height()),
                     Qt::AlignLeft | Qt::AlignVCenter,
                     titleMetrics.elidedText(title_, Qt::ElideRight, textArea.width()));
    if (hasSub) {
        y += titleMetrics.height() + 1;
        painter.setFont(subFont);
        painter.setPen(active ? QColor(0xdd, 0xe8, 0xf5) : QColor(0x5f, 0x6b, 0x7a));
        painter.drawText(QRectF(textArea.left(), y, textArea.width(), subMetrics.height()),
                         Qt::AlignLeft | Qt::AlignVCenter,
                         subMetrics.elidedText(*subTitle_, Qt::ElideRight, textArea.width()));
    }
}

void HoverButton::enterEvent(QEnterEvent* event) {
    mouseEntered();
    QWidget::enterEvent(event);
}

void HoverButton::leaveEvent(QEvent* event) {
    mouseExited();
    QWidget::leaveEvent(event);
}

void HoverButton::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    mouseDownInside_ = true;
    event->accept();
}

void HoverButton::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    const bool click = mouseDownInside_ && rect().contains(event->position().toPoint());
    mouseDownInside_ = false;
    event->accept();
    if (click && onClicked)
        onClicked();
}

void HoverButton::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        event->accept();
        if (onClicked)
            onClicked();
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void HoverButton::focusInEvent(QFocusEvent* event) {
    keyboardFocus_ =
        event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    QWidget::focusInEvent(event);
    update();
}

void HoverButton::focusOutEvent(QFocusEvent* event) {
    keyboardFocus_ = false;
    QWidget::focusOutEvent(event);
    update();
}

} // namespace tpc::ui
