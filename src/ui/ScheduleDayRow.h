#pragma once
// One weekday of the schedule panel: the day's check box (titled with the day's name), its time
// picker (hours and minutes) and its "Set to Now" button. The row only shows and reports; the
// panel hands the user's changes to the schedule settings.

#include <QTime>
#include <QWidget>

#include <functional>
#include <string>

class QCheckBox;
class QPushButton;
class QTimeEdit;

namespace tpc::ui {

class ScheduleDayRow : public QWidget {
    Q_OBJECT
public:
    // `day`: "Sunday" ... "Saturday".
    explicit ScheduleDayRow(const std::string& day, QWidget* parent = nullptr);

    const std::string& day() const { return day_; }
    bool isOn() const;
    QTime time() const;

    // Shows a state without reporting it.
    void showDay(bool on, QTime time);
    void showTime(QTime time);

    QCheckBox* checkBox() const { return checkBox_; }
    QTimeEdit* timePicker() const { return picker_; }
    QPushButton* nowButton() const { return nowButton_; }

    // The user's changes.
    std::function<void(bool on)> onToggled;
    std::function<void(QTime time)> onTimeChanged;
    std::function<void()> onSetToNow;

private:
    std::string day_;
    QCheckBox* checkBox_ = nullptr;
    QTimeEdit* picker_ = nullptr;
    QPushButton* nowButton_ = nullptr;
    // Set while the row shows a state: the picker's change signal is not the user's then.
    bool showing_ = false;
};

} // namespace tpc::ui
