#include "ui/ProgressSheet.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <climits>
#include <cmath>

namespace tpc::ui {

namespace {

// The bar counts in int; larger ranges (byte counts) are scaled down so the largest bound fits.
double barScale(double largest) {
    return largest > INT_MAX ? std::ceil(largest / INT_MAX) : 1.0;
}

int toBar(double v, double scale) {
    return static_cast<int>(std::clamp(v / scale, double(INT_MIN), double(INT_MAX)));
}

} // namespace

ProgressSheet::ProgressSheet(QWidget* parent) : QDialog(parent, Qt::Sheet) {
    setWindowModality(Qt::WindowModal);
    setMinimumWidth(420);

    status_ = new QLabel(this);
    status_->setTextFormat(Qt::PlainText);
    bar_ = new QProgressBar(this);
    bar_->setTextVisible(false);
    abortButton_ = new QPushButton(this);
    // Return must not abort a task by accident: the button acts only when pressed.
    abortButton_->setAutoDefault(false);
    abortButton_->setDefault(false);
    connect(abortButton_, &QPushButton::clicked, this, [this] {
        // A copy: the action may set a new one (a scan that starts a clean).
        auto action = abortAction_;
        if (action)
            action();
    });

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(abortButton_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(status_);
    layout->addWidget(bar_);
    layout->addLayout(buttons);

    render();
}

void ProgressSheet::apply(const core::ProgressMessage& message) {
    state_.apply(message);
    render();
}

void ProgressSheet::render() {
    bar_->setVisible(state_.visible);
    status_->setVisible(state_.visible);
    status_->setText(QString::fromStdString(state_.status));

    if (!state_.determinate) {
        // A stopped indeterminate bar stands still and empty; a running one shows busy.
        if (state_.animating) {
            bar_->setRange(0, 0);
        } else {
            bar_->setRange(0, 1);
            bar_->setValue(0);
        }
        return;
    }
    const double low = state_.minValue;
    const double high = std::max(state_.minValue, state_.maxValue);
    if (low == high) {
        // An empty range would read as busy to the bar; show it empty instead.
        bar_->setRange(0, 1);
        bar_->setValue(0);
        return;
    }
    const double scale = barScale(std::max(std::abs(low), std::abs(high)));
    const int min = toBar(low, scale);
    const int max = toBar(high, scale);
    bar_->setRange(min, max);
    // The bar ignores values outside its range; pin them to the nearer end.
    bar_->setValue(std::clamp(toBar(state_.value, scale), min, max));
}

void ProgressSheet::setAbortButton(const QString& title, std::function<void()> action) {
    abortButton_->setText(title);
    abortAction_ = std::move(action);
}

void ProgressSheet::begin() {
    open();
    raise();
    activateWindow();
}

void ProgressSheet::end() {
    if (isVisible())
        done(QDialog::Accepted);
}

void ProgressSheet::reject() {}

int ProgressSheet::barMinimum() const {
    return bar_->minimum();
}

int ProgressSheet::barMaximum() const {
    return bar_->maximum();
}

int ProgressSheet::barValue() const {
    return bar_->value();
}

bool ProgressSheet::barShown() const {
    return !bar_->isHidden();
}

bool ProgressSheet::statusShown() const {
    return !status_->isHidden();
}

QString ProgressSheet::statusText() const {
    return status_->text();
}

bool ProgressSheet::isBusy() const {
    return bar_->minimum() == 0 && bar_->maximum() == 0;
}

} // namespace tpc::ui
