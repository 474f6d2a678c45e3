#pragma once
// The Preferences page (page "14"): how files are removed (plain deletion or secure erasure with
// one of the nine methods), sleep while cleaning, start at login, the weekly schedule's master
// switch, and the "Check for Updates..." command. Every change is stored in the General settings
// at once.

#include <QWidget>

#include <functional>

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QPushButton;
class QRadioButton;

namespace tpc::controller {
class AppDelegate;
}

namespace tpc::ui {

class PreferencesPage : public QWidget {
    Q_OBJECT
public:
    explicit PreferencesPage(controller::AppDelegate& app, QWidget* parent = nullptr);

    // Sets every control from the settings and the login items.
    void reload();
    // Shows a state changed elsewhere (first run adds the login item), without acting on it.
    void setLoginItemChecked(bool on);
    void setScheduleChecked(bool on);

    // The user's actions, as the controls call them.
    void matrixFileDeletionOptionsClicked(int row);
    void popUpButtonFileDeletionMethodClicked(int index);

    QRadioButton* deleteButton() const { return deleteButton_; }
    QRadioButton* eraseButton() const { return eraseButton_; }
    QComboBox* methodPopUp() const { return methodPopUp_; }
    QCheckBox* normalSleepBox() const { return normalSleep_; }
    QCheckBox* forcedSleepBox() const { return forcedSleep_; }
    QCheckBox* loginItemBox() const { return loginItem_; }
    QCheckBox* scheduleBox() const { return schedule_; }
    QPushButton* checkForUpdatesButton() const { return checkForUpdates_; }

    // Called after "enableSchedule" has been stored, so the scheduler can start or stop.
    std::function<void(bool on)> onScheduleToggled;
    std::function<void()> onCheckForUpdates;

private:
    controller::AppDelegate& app_;
    QButtonGroup* deletionChoice_ = nullptr;
    QRadioButton* deleteButton_ = nullptr;
    QRadioButton* eraseButton_ = nullptr;
    QComboBox* methodPopUp_ = nullptr;
    QCheckBox* normalSleep_ = nullptr;
    QCheckBox* forcedSleep_ = nullptr;
    QCheckBox* loginItem_ = nullptr;
    QCheckBox* schedule_ = nullptr;
    QPushButton* checkForUpdates_ = nullptr;
};

} // namespace tpc::ui
