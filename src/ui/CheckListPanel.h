#pragma once
// One check-box list as the pages show it: a tri-state master check box with the list's title, a
// sort pop-up ("Default Sort", "Sort by Name", "Sort by Size") and the table of rows. The panel
// only shows and reports; the page's handlers change the records through the engine.

#include "core/CheckList.h"
#include "core/Value.h"

#include <QWidget>

#include <functional>

class QComboBox;
class QTableView;

namespace tpc::ui {

class CheckListModel;
class MasterCheckBox;

class CheckListPanel : public QWidget {
    Q_OBJECT
public:
    explicit CheckListPanel(const QString& title, QWidget* parent = nullptr);

    CheckListModel* model() const { return model_; }
    QTableView* table() const { return table_; }
    MasterCheckBox* masterBox() const { return master_; }
    QComboBox* sortPopUp() const { return sortPopUp_; }

    // Shows `rows` (again, after they changed) with row `selected` selected (-1: none), without
    // calling the selection handler: the caller knows what it shows.
    void reload(core::ArrayRef rows, int selected = -1);
    void showMasterState(core::CheckState state);
    void showSort(core::SortChoice choice);

    // The selected row, -1 for none.
    int selectedRow() const;
    void selectRow(int row);
    void clearSelection();

    std::function<void(core::CheckState shown)> onMasterClicked;
    std::function<void(core::SortChoice choice)> onSortChosen;
    std::function<void(int row, bool on)> onMarkToggled;
    // The selection changed; -1 when nothing is selected.
    std::function<void(int row)> onSelectionChanged;

private:
    void selectionChanged();

    bool quiet_ = false;

    CheckListModel* model_ = nullptr;
    QTableView* table_ = nullptr;
    MasterCheckBox* master_ = nullptr;
    QComboBox* sortPopUp_ = nullptr;
};

} // namespace tpc::ui
