#pragma once
// One check-box list as the pages show it: a tri-state master check box with the list's title, a
// sort pop-up ("Default Sort", "Sort by Name", "Sort by Size") and the table of rows. The panel
// only shows and reports; the page's handlers change the records through the engine.

#include "core/Value.h"
#include "ui/ListPanelFrame.h"

#include <functional>

class QTableView;

namespace tpc::ui {

class CheckListModel;

class CheckListPanel : public ListPanelFrame {
    Q_OBJECT
public:
    explicit CheckListPanel(const QString& title, QWidget* parent = nullptr);

    CheckListModel* model() const { return model_; }
    QTableView* table() const { return table_; }

    // Shows `rows` (again, after they changed) with row `selected` selected (-1: none), without
    // calling the selection handler: the caller knows what it shows.
    void reload(core::ArrayRef rows, int selected = -1);

    // The selected row, -1 for none.
    int selectedRow() const;
    void selectRow(int row);
    void clearSelection();

    std::function<void(int row, bool on)> onMarkToggled;
    // The selection changed; -1 when nothing is selected.
    std::function<void(int row)> onSelectionChanged;

private:
    void selectionChanged();

    bool quiet_ = false;

    CheckListModel* model_ = nullptr;
    QTableView* table_ = nullptr;
};

} // namespace tpc::ui
