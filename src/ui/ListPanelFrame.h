#pragma once
// What every check-box list panel shows above its list: a tri-state master check box with the
// list's title and a sort pop-up ("Default Sort", "Sort by Name", "Sort by Size"), then the list
// itself (a table or an outline, placed by the panel). The frame only shows and reports.

#include "core/CheckList.h"

#include <QString>
#include <QWidget>

#include <functional>

class QComboBox;

namespace tpc::ui {

class MasterCheckBox;

class ListPanelFrame : public QWidget {
    Q_OBJECT
public:
    explicit ListPanelFrame(const QString& title, QWidget* parent = nullptr);

    MasterCheckBox* masterBox() const { return master_; }
    QComboBox* sortPopUp() const { return sortPopUp_; }

    void showMasterState(core::CheckState state);
    void showSort(core::SortChoice choice);

    std::function<void(core::CheckState shown)> onMasterClicked;
    std::function<void(core::SortChoice choice)> onSortChosen;

protected:
    // Puts the list below the master box and the sort pop-up; it takes the room left.
    void placeList(QWidget* list);
    // The lists' common frame, rows and selection colours, for a view of class `viewClass`
    // ("QTableView", "QTreeView"), with `itemRule` inside its item rule.
    static QString listStyleSheet(const char* viewClass, const char* itemRule);

private:
    MasterCheckBox* master_ = nullptr;
    QComboBox* sortPopUp_ = nullptr;
};

} // namespace tpc::ui
