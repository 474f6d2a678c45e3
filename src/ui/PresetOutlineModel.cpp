#include "ui/PresetOutlineModel.h"

#include "core/CheckList.h"
#include "core/Keys.h"
#include "core/Record.h"

#include <utility>

namespace tpc::ui {

PresetOutlineModel::PresetOutlineModel(QObject* parent) : QAbstractItemModel(parent) {}

void PresetOutlineModel::setRecords(core::ArrayRef records) {
    beginResetModel();
    records_ = std::move(records);
    endResetModel();
}

void PresetOutlineModel::reload() {
    beginResetModel();
    endResetModel();
}

core::DictRef PresetOutlineModel::category(int row) const {
    if (!records_ || row < 0 || static_cast<std::size_t>(row) >= records_->size())
        return nullptr;
    return records_->at(static_cast<std::size_t>(row)).dict();
}

int PresetOutlineModel::categoryRow(const void* holder) const {
    if (!records_ || !holder)
        return -1;
    for (std::size_t i = 0; i < records_->size(); ++i)
        if (records_->at(i).dict().get() == holder)
            return static_cast<int>(i);
    return -1;
}

core::DictRef PresetOutlineModel::record(const QModelIndex& index) const {
    if (!index.isValid() || index.model() != this)
        return nullptr;
    // A top row carries no pointer; an item row carries its category record's.
    if (!index.internalPointer())
        return category(index.row());
    const core::ArrayRef items = core::subList(category(categoryRow(index.internalPointer())));
    if (!items || index.row() < 0 || static_cast<std::size_t>(index.row()) >= items->size())
        return nullptr;
    return items->at(static_cast<std::size_t>(index.row())).dict();
}

QModelIndex PresetOutlineModel::indexOf(const core::DictRef& wanted) const {
    if (!records_ || !wanted)
        return {};
    for (int row = 0; row < rowCount(); ++row) {
        const QModelIndex top = index(row, NameColumn);
        if (category(row) == wanted)
            return top;
        for (int item = 0; item < rowCount(top); ++item) {
            const QModelIndex below = index(item, NameColumn, top);
            if (record(below) == wanted)
                return below;
        }
    }
    return {};
}

QModelIndex PresetOutlineModel::index(int row, int column, const QModelIndex& parent) const {
    if (row < 0 || column < 0 || column >= ColumnCount || row >= rowCount(parent))
        return {};
    if (!parent.isValid())
        return createIndex(row, column, nullptr);
    return createIndex(row, column, category(parent.row()).get());
}

QModelIndex PresetOutlineModel::parent(const QModelIndex& child) const {
    if (!child.isValid() || !child.internalPointer())
        return {};
    const int row = categoryRow(child.internalPointer());
    return row < 0 ? QModelIndex() : createIndex(row, NameColumn, nullptr);
}

int PresetOutlineModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid())
        return records_ ? static_cast<int>(records_->size()) : 0;
    // Two levels: items have no rows below them here.
    if (parent.internalPointer() || parent.column() != NameColumn)
        return 0;
    const core::ArrayRef items = core::subList(category(parent.row()));
    return items ? static_cast<int>(items->size()) : 0;
}

int PresetOutlineModel::columnCount(const QModelIndex&) const {
    return ColumnCount;
}

Qt::CheckState PresetOutlineModel::checkState(const core::DictRef& rec, bool topLevel) const {
    if (!core::isMarked(rec))
        return Qt::Unchecked;
    if (!topLevel)
        return Qt::Checked;
    const core::ArrayRef items = core::subList(rec);
    const std::size_t count = items ? items->size() : 0;
    return core::countMarked(items) < count ? Qt::PartiallyChecked : Qt::Checked;
}

QIcon PresetOutlineModel::icon(const core::DictRef& rec) const {
    const core::DictRef dd = core::descriptionDictionary(rec);
    const std::string* name = dd ? dd->get(core::keys::Icon).string() : nullptr;
    if (!name || name->empty())
        return {};
    return icons_.named(QString::fromStdString(*name));
}

QVariant PresetOutlineModel::data(const QModelIndex& index, int role) const {
    const core::DictRef rec = record(index);
    if (!rec)
        return {};
    if (index.column() == SizeColumn) {
        if (role == Qt::DisplayRole)
            return QString::fromStdString(rec->getString(core::keys::SizeFormattedString));
        if (role == Qt::TextAlignmentRole)
            return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
        return QString::fromStdString(core::description(rec));
    case Qt::CheckStateRole:
        return checkState(rec, !index.internalPointer());
    case Qt::DecorationRole: {
        const QIcon picture = icon(rec);
        return picture.isNull() ? QVariant() : QVariant(picture);
    }
    case Qt::ToolTipRole: {
        const std::string path = core::path(rec);
        return path.empty() ? QVariant() : QVariant(QString::fromStdString(path));
    }
    default:
        return {};
    }
}

bool PresetOutlineModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    const core::DictRef rec = record(index);
    if (!rec || index.column() != NameColumn || role != Qt::CheckStateRole)
        return false;
    // The view cycles a tri-state box through its states; the outline only knows mark and
    // unmark, so a box that was not fully on marks and a box that was on unmarks.
    (void)value;
    const bool on = checkState(rec, !index.internalPointer()) != Qt::Checked;
    if (onCheckClicked)
        onCheckClicked(rec, on);
    return true;
}

Qt::ItemFlags PresetOutlineModel::flags(const QModelIndex& index) const {
    if (!record(index))
        return Qt::NoItemFlags;
    Qt::ItemFlags f = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (index.column() == NameColumn)
        f |= Qt::ItemIsUserCheckable;
    return f;
}

} // namespace tpc::ui
