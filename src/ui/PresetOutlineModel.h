#pragma once
// The selected preset's contents as an outline: its category records as the top rows and each
// record's items below it. The first column carries the check box (tri-state on a category
// record whose items are marked only in part), the record's picture and its name; the second its
// size text ("Size Formatted String"). The model reads the records live and never changes a mark
// itself: a check-box click is handed on (onCheckClicked) and the page resets the model after the
// presets changed.

#include "core/Value.h"

#include "ui/RecordIcons.h"

#include <QAbstractItemModel>
#include <QIcon>

#include <functional>

namespace tpc::ui {

class PresetOutlineModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum Column { NameColumn = 0, SizeColumn = 1, ColumnCount = 2 };

    explicit PresetOutlineModel(QObject* parent = nullptr);

    // Shows the category records `records` (none: an empty outline).
    void setRecords(core::ArrayRef records);
    const core::ArrayRef& records() const { return records_; }
    // Shows the records again after they changed.
    void reload();

    // The record behind `index`; null for an index of another outline or a record gone.
    core::DictRef record(const QModelIndex& index) const;
    // The index showing `record` (a category record or one of its items); invalid when absent.
    QModelIndex indexOf(const core::DictRef& record) const;

    QModelIndex index(int row, int column,
                      const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    // A check box was clicked: `on` marks the record, off unmarks it (a partly marked box marks).
    std::function<void(const core::DictRef& record, bool on)> onCheckClicked;

private:
    // The top row holding the category record at `holder`; -1 when it is not shown.
    int categoryRow(const void* holder) const;
    core::DictRef category(int row) const;
    Qt::CheckState checkState(const core::DictRef& record, bool topLevel) const;
    // The record's picture when the program has one by the name it carries.
    QIcon icon(const core::DictRef& record) const;

    core::ArrayRef records_;
    // Pictures by name, loaded once.
    RecordIcons icons_;
};

} // namespace tpc::ui
