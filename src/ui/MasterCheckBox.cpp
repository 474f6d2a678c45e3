#include "ui/MasterCheckBox.h"

namespace tpc::ui {

Qt::CheckState toQt(core::CheckState state) {
    switch (state) {
    case core::CheckState::On:
        return Qt::Checked;
    case core::CheckState::Mixed:
        return Qt::PartiallyChecked;
    case core::CheckState::Off:
        break;
    }
    return Qt::Unchecked;
}

core::CheckState fromQt(Qt::CheckState state) {
    switch (state) {
    case Qt::Checked:
        return core::CheckState::On;
    case Qt::PartiallyChecked:
        return core::CheckState::Mixed;
    case Qt::Unchecked:
        break;
    }
    return core::CheckState::Off;
}

MasterCheckBox::MasterCheckBox(const QString& text, QWidget* parent) : QCheckBox(text, parent) {
    setTristate(true);
    connect(this, &QCheckBox::clicked, this, [this] {
        if (onClicked)
            onClicked(shownState());
    });
}

void MasterCheckBox::showState(core::CheckState state) {
    setCheckState(toQt(state));
}

core::CheckState MasterCheckBox::shownState() const {
    return fromQt(checkState());
}

core::CheckState MasterCheckBox::afterClick(core::CheckState before) {
    return before == core::CheckState::On ? core::CheckState::Off : core::CheckState::On;
}

void MasterCheckBox::nextCheckState() {
    showState(afterClick(shownState()));
}

} // namespace tpc::ui
