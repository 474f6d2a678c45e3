#pragma once
// The selected preset's outline as the Auto clean page shows it, laid out like a check-box list
// panel: a tri-state master check box with the title, a sort pop-up ("Default Sort", "Sort by
// Name", "Sort by Size") and the outline of category records and their items. The panel only
// shows and reports; the page's handlers change the presets through their model.

#include "core/Value.h"
#include "ui/ListPanelFrame.h"

#include <functional>

class QTreeView;

namespace tpc::ui {

class PresetOutlineModel;

class PresetOutlinePanel : public ListPanelFrame {
    Q_OBJECT
public:
    explicit PresetOutlinePanel(const QString& title, QWidget* parent = nullptr);

    PresetOutlineModel* model() const { return model_; }
    QTreeView* tree() const { return tree_; }

    // Shows `records` (again, after they changed) with the category records expanded; the
    // selected record stays selected while it is still shown. The selection handler is not
    // called: the caller knows what it shows.
    void reload(core::ArrayRef records);

    // The selected record; null for none.
    core::DictRef selectedRecord() const;
    void selectRecord(const core::DictRef& record);

    std::function<void(const core::DictRef& record)> onSelectionChanged;

private:
    PresetOutlineModel* model_ = nullptr;
    QTreeView* tree_ = nullptr;
    bool quiet_ = false;
};

} // namespace tpc::ui
