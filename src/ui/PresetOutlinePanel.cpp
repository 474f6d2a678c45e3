#include "ui/PresetOutlinePanel.h"

#include "core/Keys.h"
#include "ui/MasterCheckBox.h"
#include "ui/PresetOutlineModel.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QTreeView>
#include <QVBoxLayout>

#include <utility>

namespace tpc::ui {

namespace {

constexpr int kOutlineIndent = 18;
constexpr int kOutlineIconSize = 18;

// The same frame, rows and selection as the check-box lists.
const char* const kOutlineStyleSheet = R"(
QTreeView {
    border: 1px solid #dde3ea; border-radius: 6px; background: #ffffff;
    alternate-background-color: #f6f8fb; selection-background-color: #dbe8f6;
    selection-color: #1f2933; outline: 0;
}
QTreeView::item { padding-right: 6px; min-height: 22px; }
)";

} // namespace

PresetOutlinePanel::PresetOutlinePanel(const QString& title, QWidget* parent) : QWidget(parent) {
    master_ = new MasterCheckBox(title, this);
    sortPopUp_ = new QComboBox(this);
    for (const char* entry :
         {core::keys::DefaultSort, core::keys::SortByName, core::keys::SortBySize})
        sortPopUp_->addItem(QString::fromLatin1(entry));

    model_ = new PresetOutlineModel(this);
    tree_ = new QTreeView(this);
    tree_->setModel(model_);
    tree_->setStyleSheet(QString::fromLatin1(kOutlineStyleSheet));
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

    auto* header = new QHBoxLayout;
    header->setContentsMargins(6, 0, 0, 0);
    header->addWidget(master_);
    header->addStretch(1);
    header->addWidget(sortPopUp_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addLayout(header);
    layout->addWidget(tree_, 1);

    master_->onClicked = [this](core::CheckState shown) {
        if (onMasterClicked)
            onMasterClicked(shown);
    };
    connect(sortPopUp_, &QComboBox::activated, this, [this](int index) {
        if (onSortChosen)
            onSortChosen(static_cast<core::SortChoice>(index));
    });
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

void PresetOutlinePanel::showMasterState(core::CheckState state) {
    master_->showState(state);
}

void PresetOutlinePanel::showSort(core::SortChoice choice) {
    sortPopUp_->setCurrentIndex(static_cast<int>(choice));
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
