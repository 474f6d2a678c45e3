#include "ui/IPhotoResultsTree.h"

#include "core/SizeText.h"
#include "photos/PhotoKeys.h"
#include "ui/MasterCheckBox.h"

#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace tpc::ui {

namespace {

constexpr int kPhotoNodeRole = Qt::UserRole + 1;

Qt::CheckState rowCheckState(std::int64_t selected) {
    if (selected == 1)
        return Qt::Checked;
    return selected == 0 ? Qt::Unchecked : Qt::PartiallyChecked;
}

QString fromBytes(const std::string& text) {
    return QFile::decodeName(QByteArray::fromStdString(text));
}

} // namespace

IPhotoResultsTree::IPhotoResultsTree(photos::IPhotoResults& results, QWidget* parent)
    : QWidget(parent), results_(results) {
    master_ = new MasterCheckBox(QStringLiteral("Select all"), this);
    master_->setObjectName(QStringLiteral("iPhotoMarkAll"));
    master_->onClicked = [this](core::CheckState shown) {
        results_.markAllIPhoto(shown != core::CheckState::Off);
        showMarks();
        if (onMarksChanged)
            onMarksChanged();
    };

    tree_ = new QTreeWidget(this);
    tree_->setObjectName(QStringLiteral("iPhotoResults"));
    tree_->setColumnCount(4);
    tree_->setHeaderLabels({QStringLiteral("Photo"), QStringLiteral("Original"),
                            QStringLiteral("Edited"), QStringLiteral("Size")});
    tree_->setIconSize(QSize(thumbnails_.side(), thumbnails_.side()));
    tree_->setUniformRowHeights(false);
    tree_->setAlternatingRowColors(true);
    tree_->header()->setStretchLastSection(false);
    tree_->header()->setSectionResizeMode(NameColumn, QHeaderView::Stretch);
    tree_->header()->setSectionResizeMode(OriginalColumn, QHeaderView::ResizeToContents);
    tree_->header()->setSectionResizeMode(EditedColumn, QHeaderView::ResizeToContents);
    tree_->header()->setSectionResizeMode(SizeColumn, QHeaderView::ResizeToContents);
    connect(tree_, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item, int column) {
        if (!filling_ && column == NameColumn)
            boxClicked(item);
    });

    selection_ = new QLabel(this);
    selection_->setObjectName(QStringLiteral("iPhotoSelection"));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(master_);
    layout->addWidget(tree_, 1);
    layout->addWidget(selection_);
    reload();
}

photos::NewDirRef IPhotoResultsTree::nodeOf(const QTreeWidgetItem* item) const {
    if (!item)
        return nullptr;
    bool ok = false;
    const auto index = item->data(NameColumn, kPhotoNodeRole).toULongLong(&ok);
    return ok && index < nodes_.size() ? nodes_[index] : nullptr;
}

QTreeWidgetItem* IPhotoResultsTree::addRow(QTreeWidgetItem* parent, const photos::NewDirRef& node) {
    auto* item = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(tree_);
    item->setData(NameColumn, kPhotoNodeRole, QVariant::fromValue<qulonglong>(nodes_.size()));
    nodes_.push_back(node);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
    if (parent) {
        const auto& record = node->contents;
        QString caption = fromBytes(record->getString(photos::keys::Caption));
        if (caption.isEmpty())
            caption = fromBytes(record->getString(photos::keys::ImageKey));
        item->setText(NameColumn, caption);
        item->setToolTip(NameColumn, fromBytes(record->getString(photos::keys::OriginalPath)));
        item->setIcon(OriginalColumn, QIcon(thumbnails_.thumbnail(node->imageOriginal)));
        item->setIcon(EditedColumn, QIcon(thumbnails_.thumbnail(node->imageImage)));
    } else {
        QFont bold = item->font(NameColumn);
        bold.setBold(true);
        item->setFont(NameColumn, bold);
        item->setText(NameColumn, fromBytes(node->name));
    }
    showRow(item);
    return item;
}

void IPhotoResultsTree::showRow(QTreeWidgetItem* item) {
    const auto node = nodeOf(item);
    if (!node)
        return;
    item->setCheckState(NameColumn, rowCheckState(node->selected));
    if (item->parent())
        item->setText(SizeColumn,
                      QString::fromStdString(core::getFormattedStringForSize(node->size)));
    else
        item->setText(SizeColumn,
                      QString::fromStdString(core::getFormattedStringForSize(node->sizeSelected) +
                                             " of " + core::getFormattedStringForSize(node->size)));
}

void IPhotoResultsTree::reload() {
    filling_ = true;
    tree_->clear();
    nodes_.clear();
    thumbnails_.clear();
    for (const auto& root : results_.roots()) {
        QTreeWidgetItem* rootItem = addRow(nullptr, root);
        for (const auto& photo : root->photos())
            addRow(rootItem, photo);
        rootItem->setExpanded(true);
    }
    filling_ = false;
    showMarks();
}

void IPhotoResultsTree::showMarks() {
    filling_ = true;
    for (int i = 0; i < tree_->topLevelItemCount(); ++i) {
        QTreeWidgetItem* root = tree_->topLevelItem(i);
        showRow(root);
        for (int j = 0; j < root->childCount(); ++j)
            showRow(root->child(j));
    }
    filling_ = false;
    master_->showState(results_.reflectMarkStatusInIPhotoMainList());
    master_->setEnabled(!results_.empty() && tree_->isEnabled());
    selection_->setText(QString::fromStdString(results_.selectionText()));
}

void IPhotoResultsTree::boxClicked(QTreeWidgetItem* item) {
    const auto node = nodeOf(item);
    if (!node)
        return;
    if (item->parent())
        results_.checkBoxIPhotoClicked(*node, item->checkState(NameColumn) == Qt::Checked);
    else
        // A box showing some photos marked goes on with the click, as an unmarked one does.
        results_.checkBoxIPhotoClicked(*node, item->checkState(NameColumn) == Qt::Checked
                                                  ? core::CheckState::On
                                                  : core::CheckState::Off);
    showMarks();
    if (onMarksChanged)
        onMarksChanged();
}

} // namespace tpc::ui
