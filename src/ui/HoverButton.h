#pragma once
// A main button of the window's left column: title, subtitle and icon, drawn normal, hovered or
// pressed. Resting the pointer on a button that is not pressed for 0.5 s asks the window to
// preview its feature on the start page; leaving asks the window to go back to the page last
// clicked. The delays run on short-lived threads through the engine's Clock and post back to the
// main thread.

#include <QImage>
#include <QString>
#include <QWidget>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace tpc::core {
class Clock;
class MainThread;
class ThreadGroup;
} // namespace tpc::core

namespace tpc::ui {

// What the delay threads use. The owner keeps the clock and the main thread alive until every
// thread of `threads` has been joined; those threads only sleep and post, so `threads` must not
// hold threads that wait for the main thread (joining it from the main thread would deadlock).
struct HoverEnvironment {
    core::Clock& clock;
    core::MainThread& mainThread;
    core::ThreadGroup& threads;
};

class HoverButton : public QWidget {
    Q_OBJECT
public:
    HoverButton(int buttonID, HoverEnvironment env, QWidget* parent = nullptr);

    int buttonID() const { return buttonID_; }
    void setImageNormal(const QImage& normal, const QImage& hover, const QImage& active,
                        const QImage& icon);
    void setTitle(const QString& title);
    QString title() const { return title_; }
    // A copy of the text, or none; redraws.
    void setSubTitle(const std::optional<QString>& subTitle);
    std::optional<QString> subTitle() const { return subTitle_; }

    // Pressed draws the active image; released draws the hover or normal image.
    void setButtonPressed(bool pressed);
    bool buttonPressed() const { return state_->pressed.load(); }
    bool hovering() const { return state_->hovering.load(); }
    // Clears hovering and pressed and draws the normal image.
    void resetButton();

    enum class Drawn { Normal, Hover, Active };
    Drawn drawn() const { return drawn_; }

    // Entering and leaving (also what the mouse events call).
    void mouseEntered();
    void mouseExited();

    // From now on no delay thread is started and no callback is called; the window calls it
    // before joining its threads, so nothing it owns starts a thread while it is destroyed.
    void shutDown();

    // Set by the window: asked on the main thread after a 0.5 s rest on a button not pressed,
    // and at once on leaving a button not pressed.
    std::function<void(int buttonID)> onHoverPreview;
    std::function<void()> onHoverEnded;
    std::function<void()> onClicked;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    // The flags the delay threads read; shared with them so that they never reach the widget.
    struct State {
        std::atomic<bool> hovering{false};
        std::atomic<bool> pressed{false};
    };

    void draw(Drawn image);
    void displayThread();
    void delayInHovering();
    void paintFallback(QPainter& painter, const QRectF& area) const;
    void paintIcon(QPainter& painter, const QRectF& area) const;

    int buttonID_;
    HoverEnvironment env_;
    std::shared_ptr<State> state_ = std::make_shared<State>();
    bool shutDown_ = false;
    bool mouseDownInside_ = false;
    // The focus ring shows only when the focus came from the keyboard.
    bool keyboardFocus_ = false;
    QImage normalImage_, hoverImage_, activeImage_, icon_;
    Drawn drawn_ = Drawn::Normal;
    QString title_;
    std::optional<QString> subTitle_;
};

} // namespace tpc::ui
