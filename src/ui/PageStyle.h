#pragma once
// The look the list pages share: the outlined Scan button, the plain secondary buttons beside a
// list and the short introduction line.

#include <QString>

namespace tpc::ui {

inline QString pageStyleSheet() {
    return QStringLiteral(R"(
QLabel#pageIntro { color: #52606d; }
QPushButton#scanButton {
    background: #ffffff; color: #2f6fb5; border: 1px solid #2f6fb5; border-radius: 6px;
    padding: 4px 18px; font-weight: 600;
}
QPushButton#scanButton:hover { background: #eef4fb; }
QPushButton#scanButton:pressed { background: #dbe8f6; }
QPushButton#scanButton:disabled { color: #a9b4c0; border-color: #c5ced8; }
QPushButton[listAction="true"] {
    background: #ffffff; color: #1f2933; border: 1px solid #c5ced8; border-radius: 6px;
    padding: 4px 12px;
}
QPushButton[listAction="true"]:hover { background: #f3f5f8; }
QPushButton[listAction="true"]:pressed { background: #e6ebf1; }
QPushButton[listAction="true"]:disabled { color: #a9b4c0; border-color: #dde3ea; }
)");
}

} // namespace tpc::ui
