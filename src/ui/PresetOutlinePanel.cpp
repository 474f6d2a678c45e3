#include "ui/PresetOutlinePanel.h"

#include "ui/PresetOutlineModel.h"

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QTreeView>

#include <utility>

namespace tpc::ui {

namespace {

constexpr int kOutlineIndent = 18;
constexpr int kOutlineIconSize = 18;

} // namespace

PresetOutlinePanel::PresetOutlinePanel(const QString& title, QWidget* parent)
    : ListPanelFrame(title, parent) {
    model_ = new PresetOutlineModel(this);
    tree_ = new QTreeView(this);
    tree_->setModel(model_);
    // The same frame, rows and selection as the check-box lists.
    tree_->setStyleSheet(listStyleSheet("QTreeView", "padding-right: 6px; min-height: 22px;"));
    tree_->setSelectionBehavior(QAbstractItemView::SelectRows);
    tree_->setSelectionMode(QAbstractItemView::SingleSelection);
    tree_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    tree_->setAlternatingRowColors(true);
    tree_->setUniformRowHeights(true);
    tree_->setWordWrap(false);
    tree_->setIndentation(kOutlineIndent);
    // The category records are always shown expanded: no branch arrows before them.
    tree_->setRootIsDecorated(false);
    tree_->setIconSize(QSize(kOutlineIconSize, kOutlineIconSize));
    tree_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    tree_->setHeaderHidden(true);
    QHeaderView* columns = tree_->header();
    columns->setStretchLastSection(false);
    columns->setSectionResizeMode(PresetOutlineModel::NameColumn, QHeaderView::Stretch);
    // As wide as the widest size shown: the indented names need the room.
    columns->setSectionResizeMode(PresetOutlineModel::SizeColumn, QHeaderView::ResizeToContents);

    placeList(tree_);

    connect(tree_->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        if (!quiet_ && onSelectionChanged)
            onSelectionChanged(selectedRecord());
    });
}

void PresetOutlinePanel::reload(core::ArrayRef records) {
    quiet_ = true;
    const core::DictRef kept = selectedRecord();
    if (records == model_->records())
        model_->reload();
    else
        model_->setRecords(std::move(records));
    tree_->expandToDepth(0);
    selectRecord(kept);
    quiet_ = false;
}

core::DictRef PresetOutlinePanel::selectedRecord() const {
    const QModelIndexList rows = tree_->selectionModel()->selectedRows();
    return rows.isEmpty() ? nullptr : model_->record(rows.first());
}

void PresetOutlinePanel::selectRecord(const core::DictRef& record) {
    const QModelIndex index = model_->indexOf(record);
    if (!index.isValid()) {
        tree_->clearSelection();
        return;
    }
    tree_->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect |
                                                        QItemSelectionModel::Rows);
}

} // namespace tpc::ui
