#pragma once
// One line showing a full path: a path too long for the line loses its middle, so the start of
// the tree and the name both stay readable. The whole path is the tool tip.

#include <QLabel>

namespace tpc::ui {

class EraserPathLabel : public QLabel {
    Q_OBJECT
public:
    explicit EraserPathLabel(QWidget* parent = nullptr);

    void showPath(const QString& path);
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace tpc::ui
