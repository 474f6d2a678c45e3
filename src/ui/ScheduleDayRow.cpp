#include "ui/ScheduleDayRow.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QTimeEdit>

namespace tpc::ui {

namespace {

// Wide enough for "Wednesday" beside its box, so the pickers line up.
constexpr int kDayBoxWidth = 120;

} // namespace

ScheduleDayRow::ScheduleDayRow(const std::string& day, QWidget* parent)
    : QWidget(parent), day_(day) {
    checkBox_ = new QCheckBox(QString::fromStdString(day), this);
    checkBox_->setMinimumWidth(kDayBoxWidth);
    picker_ = new QTimeEdit(this);
    picker_->setDisplayFormat(QStringLiteral("HH:mm"));
    picker_->setWrapping(true);
    picker_->setToolTip(
        QStringLiteral("When the preset is cleaned on %1s").arg(QString::fromStdString(day)));
    nowButton_ = new QPushButton(QStringLiteral("Set to Now"), this);
    nowButton_->setProperty("listAction", true);
    nowButton_->setToolTip(QStringLiteral("Set the time to the current time"));

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(checkBox_);
    layout->addWidget(picker_);
    layout->addWidget(nowButton_);
    layout->addStretch(1);

    // Only the user's clicks and edits are reported.
    connect(checkBox_, &QCheckBox::clicked, this, [this](bool on) {
        if (onToggled)
            onToggled(on);
    });
    connect(picker_, &QTimeEdit::timeChanged, this, [this](QTime time) {
        if (!showing_ && onTimeChanged)
            onTimeChanged(time);
    });
    connect(nowButton_, &QPushButton::clicked, this, [this] {
        if (onSetToNow)
            onSetToNow();
    });
}

bool ScheduleDayRow::isOn() const {
    return checkBox_->isChecked();
}

QTime ScheduleDayRow::time() const {
    return picker_->time();
}

void ScheduleDayRow::showDay(bool on, QTime time) {
    checkBox_->setChecked(on);
    showTime(time);
}

void ScheduleDayRow::showTime(QTime time) {
    showing_ = true;
    picker_->setTime(time);
    showing_ = false;
}

} // namespace tpc::ui
