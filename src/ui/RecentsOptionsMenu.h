#pragma once
// The options pop-up of one application row: the six per-application options as check marks.
// Options the layout cannot honour are shown but disabled. Toggling one stores it on the record
// and saves the list at once.

#include <QMenu>

#include <functional>
#include <string>

namespace tpc::apps {
class AppCatalogue;
}

namespace tpc::ui {

class RecentsOptionsMenu : public QMenu {
    Q_OBJECT
public:
    RecentsOptionsMenu(apps::AppCatalogue& catalogue, int row, QWidget* parent = nullptr);

    int row() const { return row_; }
    // The action of an option by its flag name ("Cache", "Auto Quit", ...); null when unknown.
    QAction* optionAction(const std::string& flag) const;

    // An option was toggled and saved.
    std::function<void(const std::string& flag, bool on)> onOptionChanged;

private:
    apps::AppCatalogue& catalogue_;
    int row_;
};

} // namespace tpc::ui
