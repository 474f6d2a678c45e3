#include "ui/CheckListPanel.h"

#include "ui/CheckListModel.h"

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QTableView>

#include <utility>

namespace tpc::ui {

namespace {

constexpr int kCheckColumnWidth = 30;
constexpr int kSizeColumnWidth = 84;
constexpr int kRowHeight = 24;

} // namespace

CheckListPanel::CheckListPanel(const QString& title, QWidget* parent)
    : ListPanelFrame(title, parent) {
    model_ = new CheckListModel(this);
    table_ = new QTableView(this);
    table_->setModel(model_);
    table_->setStyleSheet(listStyleSheet("QTableView", "padding-right: 6px;"));
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setShowGrid(false);
    table_->setAlternatingRowColors(true);
    table_->setWordWrap(false);
    table_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    table_->verticalHeader()->hide();
    table_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table_->verticalHeader()->setDefaultSectionSize(kRowHeight);
    QHeaderView* columns = table_->horizontalHeader();
    columns->hide();
    columns->setSectionResizeMode(CheckListModel::CheckColumn, QHeaderView::Fixed);
    columns->setSectionResizeMode(CheckListModel::NameColumn, QHeaderView::Stretch);
    columns->setSectionResizeMode(CheckListModel::SizeColumn, QHeaderView::Fixed);
    columns->resizeSection(CheckListModel::CheckColumn, kCheckColumnWidth);
    columns->resizeSection(CheckListModel::SizeColumn, kSizeColumnWidth);

    placeList(table_);

    model_->onMarkToggled = [this](int row, bool on) {
        if (onMarkToggled)
            onMarkToggled(row, on);
    };
    connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { selectionChanged(); });
}

void CheckListPanel::reload(core::ArrayRef rows, int selected) {
    quiet_ = true;
    if (rows == model_->rows())
        model_->reload();
    else
        model_->setRows(std::move(rows));
    selectRow(selected);
    quiet_ = false;
}

int CheckListPanel::selectedRow() const {
    const QModelIndexList rows = table_->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void CheckListPanel::selectRow(int row) {
    if (row < 0 || row >= model_->rowCount()) {
        clearSelection();
        return;
    }
    table_->selectRow(row);
}

void CheckListPanel::clearSelection() {
    table_->clearSelection();
}

void CheckListPanel::selectionChanged() {
    if (!quiet_ && onSelectionChanged)
        onSelectionChanged(selectedRow());
}

} // namespace tpc::ui
