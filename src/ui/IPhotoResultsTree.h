#pragma once
// The iPhoto page's detailed results: a category row per root with a tri-state box (all, some or
// none of its photos marked), under it a row per photo with its box and the thumbnails of its
// original and edited images; the mark-all box above and the selection line below. The view only
// shows and reports: a click changes the marks through the engine's result tree, then the rows
// show what the marks are.

#include "photos/IPhotoResults.h"
#include "ui/IPhotoPictures.h"

#include <QWidget>

#include <functional>
#include <vector>

class QLabel;
class QTreeWidget;
class QTreeWidgetItem;

namespace tpc::ui {

class MasterCheckBox;

class IPhotoResultsTree : public QWidget {
    Q_OBJECT
public:
    enum Column { NameColumn, OriginalColumn, EditedColumn, SizeColumn };

    explicit IPhotoResultsTree(photos::IPhotoResults& results, QWidget* parent = nullptr);

    // Builds the rows again from the result tree (after a scan or a clean).
    void reload();
    // Shows the marks and the selected sizes of every row, the mark-all box and the selection
    // line.
    void showMarks();

    QTreeWidget* tree() const { return tree_; }
    MasterCheckBox* masterBox() const { return master_; }
    QLabel* selectionLine() const { return selection_; }
    // The node a row shows (null for none).
    photos::NewDirRef nodeOf(const QTreeWidgetItem* item) const;

    // The marks changed by a click (the page updates its Clean button).
    std::function<void()> onMarksChanged;

private:
    void boxClicked(QTreeWidgetItem* item);
    QTreeWidgetItem* addRow(QTreeWidgetItem* parent, const photos::NewDirRef& node);
    void showRow(QTreeWidgetItem* item);

    photos::IPhotoResults& results_;
    MasterCheckBox* master_ = nullptr;
    QTreeWidget* tree_ = nullptr;
    QLabel* selection_ = nullptr;
    ThumbnailCache thumbnails_{48};
    // The nodes the rows show, by the index each row keeps.
    std::vector<photos::NewDirRef> nodes_;
    // True while the rows are filled in (their changes are no clicks).
    bool filling_ = false;
};

} // namespace tpc::ui
