#pragma once
// The progress sheet that hangs from the main window while a scan or clean runs: a status line,
// a progress bar and one button whose title and action the running task sets (its Abort).
// Workers move it only through progress messages applied on the main thread.

#include "core/ProgressMessage.h"

#include <QDialog>
#include <QString>

#include <functional>

class QLabel;
class QProgressBar;
class QPushButton;

namespace tpc::ui {

class ProgressSheet : public QDialog {
    Q_OBJECT
public:
    explicit ProgressSheet(QWidget* parent = nullptr);

    // Applies the keys present in their fixed order, then shows the result.
    void apply(const core::ProgressMessage& message);
    const core::ProgressState& state() const { return state_; }

    void setAbortButton(const QString& title, std::function<void()> action);
    QPushButton* abortButton() const { return abortButton_; }

    // Shows the sheet over its window (window-modal) and gives it the focus; end() closes it.
    void begin();
    void end();

    // What the bar and the status line show.
    int barMinimum() const;
    int barMaximum() const;
    int barValue() const;
    bool barShown() const;
    bool statusShown() const;
    QString statusText() const;
    // The animation as the last "Start/Stop Progress Indicator Animation" left it.
    bool isAnimating() const { return state_.animating; }
    // The bar runs its busy indicator (indeterminate and animating).
    bool isBusy() const;

public slots:
    // Escape and the window's close box do nothing: only the task ends the sheet.
    void reject() override;

private:
    void render();

    core::ProgressState state_;
    QLabel* status_ = nullptr;
    QProgressBar* bar_ = nullptr;
    QPushButton* abortButton_ = nullptr;
    std::function<void()> abortAction_;
};

} // namespace tpc::ui
