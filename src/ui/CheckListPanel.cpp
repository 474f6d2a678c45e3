#include "ui/CheckListPanel.h"

#include "core/Keys.h"
#include "ui/CheckListModel.h"
#include "ui/MasterCheckBox.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QTableView>
#include <QVBoxLayout>

#include <utility>

namespace tpc::ui {

namespace {

constexpr int kCheckColumnWidth = 30;
constexpr int kSizeColumnWidth = 84;
constexpr int kRowHeight = 24;

const char* const kCheckListStyleSheet = R"(
QTableView {
    border: 1px solid #dde3ea; border-radius: 6px; background: #ffffff;
    alternate-background-color: #f6f8fb; selection-background-color: #dbe8f6;
    selection-color: #1f2933; outline: 0;
}
QTableView::item { padding-right: 6px; }
)";

} // namespace

CheckListPanel::CheckListPanel(const QString& title, QWidget* parent) : QWidget(parent) {
    master_ = new MasterCheckBox(title, this);
    sortPopUp_ = new QComboBox(this);
    for (const char* entry :
         {core::keys::DefaultSort, core::keys::SortByName, core::keys::SortBySize})
        sortPopUp_->addItem(QString::fromLatin1(entry));

    model_ = new CheckListModel(this);
    table_ = new QTableView(this);
    table_->setModel(model_);
    table_->setStyleSheet(QString::fromLatin1(kCheckListStyleSheet));
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

    auto* header = new QHBoxLayout;
    header->setContentsMargins(6, 0, 0, 0);
    header->addWidget(master_);
    header->addStretch(1);
    header->addWidget(sortPopUp_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addLayout(header);
    layout->addWidget(table_, 1);

    master_->onClicked = [this](core::CheckState shown) {
        if (onMasterClicked)
            onMasterClicked(shown);
    };
    connect(sortPopUp_, &QComboBox::activated, this, [this](int index) {
        if (onSortChosen)
            onSortChosen(static_cast<core::SortChoice>(index));
    });
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

void CheckListPanel::showMasterState(core::CheckState state) {
    master_->showState(state);
}

void CheckListPanel::showSort(core::SortChoice choice) {
    sortPopUp_->setCurrentIndex(static_cast<int>(choice));
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
