#include "ui/EraserPage.h"

#include "core/Context.h"
#include "core/Frontend.h"
#include "core/Record.h"
#include "eraser/EraserDriver.h"
#include "eraser/EraserList.h"
#include "eraser/EraserModule.h"
#include "platform/Platform.h"
#include "presets/PresetModel.h"
#include "ui/AddToPresetButton.h"
#include "ui/CheckListModel.h"
#include "ui/CheckListPanel.h"
#include "ui/EraserFileDialog.h"
#include "ui/EraserPathLabel.h"
#include "ui/MainWindow.h"
#include "ui/PageStyle.h"
#include "ui/PageWiring.h"

#include <QAction>
#include <QActionGroup>
#include <QComboBox>
#include <QFile>
#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <string>

namespace tpc::ui {

namespace {

const char* const kEraserPageId = "8";
const char* const kWholeFolder = "Erase the folder and everything in it";
const char* const kContentsOnly = "Erase only what the folder holds";

const char* const kOwnStyle = R"(
QLabel#eraserPath { color: #52606d; }
QLabel#deleteOptionTitle { color: #3d4852; }
QToolButton[listAction="true"] {
    background: #ffffff; color: #1f2933; border: 1px solid #c5ced8; border-radius: 6px;
    padding: 4px 12px; padding-right: 20px;
}
QToolButton[listAction="true"]:hover { background: #f3f5f8; }
QToolButton[listAction="true"]::menu-button { border: none; width: 16px; }
)";

} // namespace

EraserPage::EraserPage(eraser::EraserModule& module, core::Context& ctx, QWidget* parent)
    : QWidget(parent), ctx_(ctx), eraserList_(module.list()), driver_(module.driver()) {
    setStyleSheet(pageStyleSheet() + QString::fromLatin1(kOwnStyle));
    chooseFiles = [this](bool embedded) {
        const QString home =
            QFile::decodeName(QByteArray::fromStdString(ctx_.platform.home().string()));
        return EraserFileDialog::choose(this, home, embedded);
    };

    list_ = new CheckListPanel(QStringLiteral("Files and Folders"), this);
    // Several rows may go at once.
    list_->table()->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list_->table()->setContextMenuPolicy(Qt::CustomContextMenu);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 10, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(buildToolBar());
    layout->addWidget(list_, 1);
    layout->addWidget(buildRowBar());

    buildRowMenu();
    wireList();
    reloadList();
}

QWidget* EraserPage::buildToolBar() {
    auto* bar = new QWidget(this);
    addButton_ = new QToolButton(bar);
    addButton_->setText(QStringLiteral("Add…"));
    addButton_->setToolTip(QStringLiteral("Choose files and folders to erase"));
    addButton_->setPopupMode(QToolButton::MenuButtonPopup);
    auto* addMenu = new QMenu(addButton_);
    addMenu->addAction(QStringLiteral("Add…"), this, [this] { buttonAddToFoldersClicked(); });
    addEmbeddedAction_ = addMenu->addAction(QStringLiteral("Add Including Hidden Items…"), this,
                                            [this] { buttonAddEmbeddedToFoldersClicked(); });
    addButton_->setMenu(addMenu);
    connect(addButton_, &QToolButton::clicked, this, [this] { buttonAddToFoldersClicked(); });

    addButton_->setProperty("listAction", true);
    removeButton_ = new QPushButton(QStringLiteral("Remove"), bar);
    removeButton_->setProperty("listAction", true);
    removeButton_->setToolTip(QStringLiteral("Take the selected rows off the list"));
    connect(removeButton_, &QPushButton::clicked, this,
            [this] { buttonRemoveFromFoldersClicked(); });
    removeAllButton_ = new QPushButton(QStringLiteral("Remove All"), bar);
    removeAllButton_->setProperty("listAction", true);
    removeAllButton_->setToolTip(QStringLiteral("Empty the list"));
    connect(removeAllButton_, &QPushButton::clicked, this,
            [this] { buttonShredderRemoveAllClicked(); });

    scanButton_ = new QPushButton(QStringLiteral("Scan"), bar);
    scanButton_->setObjectName(QStringLiteral("scanButton"));
    scanButton_->setToolTip(QStringLiteral("Measure what the listed files and folders hold"));
    connect(scanButton_, &QPushButton::clicked, this,
            [this] { driver_.buttonScanClicked(core::Sender::Button); });

    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(addButton_);
    row->addWidget(removeButton_);
    row->addWidget(removeAllButton_);
    row->addStretch(1);
    // The first selected path goes into the preset.
    addToPreset_ = new AddToPresetButton(
        presets::kFileEraser,
        [this] {
            const std::vector<int> rows = selectedRows();
            return rows.empty() ? nullptr : list_->model()->record(rows.front());
        },
        bar);
    row->addWidget(addToPreset_);
    row->addWidget(scanButton_);
    return bar;
}

QWidget* EraserPage::buildRowBar() {
    auto* bar = new QWidget(this);
    pathLabel_ = new EraserPathLabel(bar);
    pathLabel_->setObjectName(QStringLiteral("eraserPath"));
    auto* title = new QLabel(QStringLiteral("Delete Option:"), bar);
    title->setObjectName(QStringLiteral("deleteOptionTitle"));
    deleteOption_ = new QComboBox(bar);
    deleteOption_->addItem(QString::fromLatin1(kWholeFolder));
    deleteOption_->addItem(QString::fromLatin1(kContentsOnly));
    deleteOption_->setToolTip(QStringLiteral("What erasing the selected folder removes"));
    title->setBuddy(deleteOption_);
    connect(deleteOption_, &QComboBox::activated, this,
            [this](int index) { deleteOptionChosen(index == 1); });

    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(pathLabel_, 1);
    row->addWidget(title);
    row->addWidget(deleteOption_);
    return bar;
}

void EraserPage::buildRowMenu() {
    rowMenu_ = new QMenu(this);
    removeAction_ = rowMenu_->addAction(QStringLiteral("Remove"), this,
                                        [this] { buttonRemoveFromFoldersClicked(); });
    rowMenu_->addSeparator();
    auto* choice = new QActionGroup(rowMenu_);
    wholeFolderAction_ = rowMenu_->addAction(QString::fromLatin1(kWholeFolder), this,
                                             [this] { deleteOptionChosen(false); });
    contentsOnlyAction_ = rowMenu_->addAction(QString::fromLatin1(kContentsOnly), this,
                                              [this] { deleteOptionChosen(true); });
    for (QAction* option : {wholeFolderAction_, contentsOnlyAction_}) {
        option->setCheckable(true);
        choice->addAction(option);
    }
    QTableView* table = list_->table();
    connect(table, &QWidget::customContextMenuRequested, this, [this, table](const QPoint& at) {
        if (!controlsEnabled_ || !table->indexAt(at).isValid())
            return;
        rowMenu_->popup(table->viewport()->mapToGlobal(at));
    });
}

void EraserPage::wireList() {
    list_->onMasterClicked = [this](core::CheckState shown) {
        eraserList_.foldersCheckBoxButtonClicked(shown);
        reloadList();
    };
    list_->onMarkToggled = [this](int row, bool on) {
        // The model already changed the record; the list saves it.
        eraserList_.setRowMark(row, on);
        list_->showMasterState(eraserList_.reflectMarkStatusInFolders());
        enableOrDisableCleanButton();
    };
    list_->onSortChosen = [this](core::SortChoice choice) {
        eraserList_.foldersPopUpButtonClicked(choice);
        reloadList();
    };
    list_->onSelectionChanged = [this](int) {
        showSelection();
    };
}

void EraserPage::attach(MainWindow& window) {
    window_ = &window;
    attachPage(this, window, kEraserPageId);
}

core::PageHooks EraserPage::hooks() {
    return pageHooks(this, &EraserPage::reloadList);
}

void EraserPage::pageOpened() {
    pointCleanButton(cleanButton(), this, driver_);
    reloadList();
}

void EraserPage::reloadList() {
    // The selection follows its records through sorts and size updates. The records are the
    // ones taken when the selection was made: by now the engine may have moved them.
    const std::vector<core::DictRef> selected = selectedRecords_;
    list_->reload(eraserList_.arrayFolders());
    QItemSelection kept;
    for (const core::DictRef& rec : selected) {
        const int row = list_->model()->rowOf(rec);
        if (row >= 0)
            kept.select(list_->model()->index(row, 0), list_->model()->index(row, 0));
    }
    // One clearing selection also drops what a pending ctrl-click left half-applied.
    list_->table()->selectionModel()->select(kept, QItemSelectionModel::ClearAndSelect |
                                                       QItemSelectionModel::Rows);
    list_->showMasterState(eraserList_.reflectMarkStatusInFolders());
    list_->showSort(eraserList_.reflectPopUpButtonTitleInFolders());
    showSelection();
    enableOrDisableCleanButton();
}

void EraserPage::setControlsEnabled(bool enabled) {
    controlsEnabled_ = enabled;
    for (QWidget* control : std::initializer_list<QWidget*>{list_, addButton_, scanButton_})
        control->setEnabled(enabled);
    if (!enabled)
        rowMenu_->close();
    showSelection();
    enableOrDisableCleanButton();
}

void EraserPage::enableOrDisableCleanButton() {
    if (QPushButton* clean = cleanButton())
        clean->setEnabled(controlsEnabled_ && eraserList_.enableOrDisableFoldersCleanButton());
}

void EraserPage::buttonAddToFoldersClicked() {
    addChosenPaths(false);
}

void EraserPage::buttonAddEmbeddedToFoldersClicked() {
    addChosenPaths(true);
}

void EraserPage::addChosenPaths(bool embedded) {
    if (!controlsEnabled_ || !chooseFiles)
        return;
    const QStringList chosen = chooseFiles(embedded);
    if (chosen.isEmpty())
        return;
    std::vector<std::string> paths;
    paths.reserve(static_cast<std::size_t>(chosen.size()));
    std::string refused;
    for (const QString& path : chosen) {
        std::string problem;
        if (auto bytes = chosenLocalPath(path, problem))
            paths.push_back(std::move(*bytes));
        else
            refused += (refused.empty() ? "" : "\n") + problem;
    }
    if (!refused.empty()) {
        core::AlertRequest alert;
        alert.title = "Path(s) not added !";
        alert.message = refused;
        alert.defaultButton = "OK";
        ctx_.frontend.showAlert(alert);
    }
    // The driver alerts about paths it refused or replaced and starts measuring the new rows.
    if (!paths.empty())
        driver_.addPaths(paths);
    reloadList();
}

void EraserPage::buttonRemoveFromFoldersClicked() {
    const std::vector<int> rows = selectedRows();
    if (!controlsEnabled_ || rows.empty())
        return;
    eraserList_.removeRows(rows);
    reloadList();
}

void EraserPage::buttonShredderRemoveAllClicked() {
    if (!controlsEnabled_)
        return;
    eraserList_.removeAll();
    reloadList();
}

void EraserPage::deleteOptionChosen(bool contentsOnly) {
    const int row = selectedFolderRow();
    if (controlsEnabled_ && row >= 0)
        eraserList_.setDeleteOption(row, contentsOnly);
    showSelection();
}

std::vector<int> EraserPage::selectedRows() const {
    std::vector<int> rows;
    for (const QModelIndex& index : list_->table()->selectionModel()->selectedRows())
        rows.push_back(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

int EraserPage::selectedFolderRow() const {
    const std::vector<int> rows = selectedRows();
    if (rows.size() != 1)
        return -1;
    const core::DictRef rec = list_->model()->record(rows.front());
    return rec && rec->getBool(eraser::keys::IsAFolder) ? rows.front() : -1;
}

void EraserPage::showSelection() {
    const std::vector<int> rows = selectedRows();
    selectedRecords_.clear();
    for (int row : rows)
        selectedRecords_.push_back(list_->model()->record(row));
    const int folderRow = selectedFolderRow();
    const core::DictRef folder = list_->model()->record(folderRow);
    const bool contentsOnly = folder && folder->getBool(eraser::keys::DeleteOption);

    removeButton_->setEnabled(controlsEnabled_ && !rows.empty());
    removeAction_->setEnabled(controlsEnabled_ && !rows.empty());
    removeAllButton_->setEnabled(controlsEnabled_ && list_->model()->rowCount() > 0);
    // A file row shows the option it cannot have, greyed.
    deleteOption_->setCurrentIndex(contentsOnly ? 1 : 0);
    deleteOption_->setEnabled(controlsEnabled_ && folder != nullptr);
    wholeFolderAction_->setChecked(!contentsOnly);
    contentsOnlyAction_->setChecked(contentsOnly);
    for (QAction* option : {wholeFolderAction_, contentsOnlyAction_})
        option->setEnabled(controlsEnabled_ && folder != nullptr);

    const core::DictRef shown = rows.size() == 1 ? list_->model()->record(rows.front()) : nullptr;
    pathLabel_->showPath(shown ? QString::fromStdString(core::path(shown)) : QString());
}

QPushButton* EraserPage::cleanButton() const {
    return sharedCleanButton(window_, QLatin1String(kEraserPageId));
}

} // namespace tpc::ui
