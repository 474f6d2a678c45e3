#pragma once
// A check-box list as a table: one row per item record of a list, a check-box column bound to the
// record's "Mark", its name ("Description" inside "Description Dictionary") and its size text
// ("Size Formatted String"). The model reads the records live; the page resets it (reload) after
// the engine changed the list.

#include "core/Value.h"

#include <QAbstractTableModel>

#include <functional>

namespace tpc::ui {

class CheckListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { CheckColumn = 0, NameColumn = 1, SizeColumn = 2, ColumnCount = 3 };

    explicit CheckListModel(QObject* parent = nullptr);

    // Shows `rows` (none: an empty list).
    void setRows(core::ArrayRef rows);
    const core::ArrayRef& rows() const { return rows_; }
    // The record of a row; null outside the list.
    core::DictRef record(int row) const;
    // The row showing `record` (the very same object); -1 when it is not shown.
    int rowOf(const core::DictRef& record) const;
    // Shows the list again after its records changed, were added, removed or sorted.
    void reload();

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    // A row's check box was clicked and its "Mark" stored.
    std::function<void(int row, bool on)> onMarkToggled;

private:
    core::ArrayRef rows_;
};

} // namespace tpc::ui
