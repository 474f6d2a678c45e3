#pragma once
// The tri-state check box above a check-box list. It shows what the list's marks reflect (all,
// none, some). A click never leads to the mixed state: off and mixed go on, on goes off; the
// handler then marks the rows by the state shown and the box shows what the marks reflect.

#include "core/CheckList.h"

#include <QCheckBox>

#include <functional>

namespace tpc::ui {

Qt::CheckState toQt(core::CheckState state);
core::CheckState fromQt(Qt::CheckState state);

class MasterCheckBox : public QCheckBox {
    Q_OBJECT
public:
    explicit MasterCheckBox(const QString& text, QWidget* parent = nullptr);

    void showState(core::CheckState state);
    core::CheckState shownState() const;

    // A click (mouse or keyboard); `shown` is the state the box shows after it.
    std::function<void(core::CheckState shown)> onClicked;
    // The state a click moves the box to.
    static core::CheckState afterClick(core::CheckState before);

protected:
    void nextCheckState() override;
};

} // namespace tpc::ui
