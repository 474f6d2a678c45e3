#include "ui/CheckListModel.h"

#include "core/Keys.h"
#include "core/Record.h"

#include <utility>

namespace tpc::ui {

CheckListModel::CheckListModel(QObject* parent) : QAbstractTableModel(parent) {}

void CheckListModel::setRows(core::ArrayRef rows) {
    beginResetModel();
    rows_ = std::move(rows);
    endResetModel();
}

core::DictRef CheckListModel::record(int row) const {
    if (!rows_ || row < 0 || static_cast<std::size_t>(row) >= rows_->size())
        return nullptr;
    return rows_->at(static_cast<std::size_t>(row)).dict();
}

int CheckListModel::rowOf(const core::DictRef& record) const {
    if (!rows_ || !record)
        return -1;
    for (std::size_t i = 0; i < rows_->size(); ++i)
        if (rows_->at(i).dict() == record)
            return static_cast<int>(i);
    return -1;
}

void CheckListModel::reload() {
    beginResetModel();
    endResetModel();
}

int CheckListModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid() || !rows_)
        return 0;
    return static_cast<int>(rows_->size());
}

int CheckListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant CheckListModel::data(const QModelIndex& index, int role) const {
    const core::DictRef rec = record(index.row());
    if (!rec)
        return {};
    switch (index.column()) {
    case CheckColumn:
        if (role == Qt::CheckStateRole)
            return core::isMarked(rec) ? Qt::Checked : Qt::Unchecked;
        break;
    case NameColumn:
        if (role == Qt::DisplayRole)
            return QString::fromStdString(core::description(rec));
        if (role == Qt::ToolTipRole) {
            const std::string path = core::path(rec);
            return path.empty() ? QVariant() : QVariant(QString::fromStdString(path));
        }
        break;
    case SizeColumn:
        if (role == Qt::DisplayRole)
            return QString::fromStdString(rec->getString(core::keys::SizeFormattedString));
        if (role == Qt::TextAlignmentRole)
            return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
        break;
    default:
        break;
    }
    return {};
}

bool CheckListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    const core::DictRef rec = record(index.row());
    if (!rec || index.column() != CheckColumn || role != Qt::CheckStateRole)
        return false;
    const bool on = value.value<Qt::CheckState>() == Qt::Checked;
    core::setMark(rec, on);
    emit dataChanged(index, index, {Qt::CheckStateRole});
    if (onMarkToggled)
        onMarkToggled(index.row(), on);
    return true;
}

Qt::ItemFlags CheckListModel::flags(const QModelIndex& index) const {
    if (!record(index.row()))
        return Qt::NoItemFlags;
    Qt::ItemFlags f = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (index.column() == CheckColumn)
        f |= Qt::ItemIsUserCheckable;
    return f;
}

QVariant CheckListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case NameColumn:
        return QStringLiteral("Name");
    case SizeColumn:
        return QStringLiteral("Size");
    default:
        return {};
    }
}

} // namespace tpc::ui
