#pragma once
// Draws the name cell of a check-box list whose records carry a picture and an item count (the
// System and Recents lists): the record's "Icon" before its name, and its "Count" ("12 items")
// in grey at the right of the cell, next to the size column.

#include "ui/RecordIcons.h"

#include <QIcon>
#include <QStyledItemDelegate>

namespace tpc::ui {

class CheckListModel;

class RecordNameDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    RecordNameDelegate(const CheckListModel& model, QObject* parent = nullptr);

    // What a row shows at its right; empty when the record has no count.
    QString countText(int row) const;
    // The row's picture; null when its record names none or the picture is unknown.
    QIcon icon(int row) const;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

private:
    const CheckListModel& model_;
    // Pictures by name, loaded once.
    RecordIcons icons_;
};

} // namespace tpc::ui
