#include "ui/RecentsPage.h"

#include "apps/AppCatalogue.h"
#include "apps/AppsModule.h"
#include "apps/RecentsDriver.h"
#include "core/Context.h"
#include "core/Frontend.h"
#include "core/Record.h"
#include "platform/Platform.h"
#include "presets/PresetModel.h"
#include "ui/AddToPresetButton.h"
#include "ui/CheckListModel.h"
#include "ui/CheckListPanel.h"
#include "ui/EraserFileDialog.h"
#include "ui/MainWindow.h"
#include "ui/MasterCheckBox.h"
#include "ui/PageStyle.h"
#include "ui/PageWiring.h"
#include "ui/RecentsOptionsMenu.h"
#include "ui/RecordNameDelegate.h"

#include <QComboBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

#include <filesystem>

namespace tpc::ui {

namespace {

const char* const kRecentsPageId = "4";

QPushButton* listActionButton(const QString& title, const QString& tip, QWidget* parent) {
    auto* button = new QPushButton(title, parent);
    button->setProperty("listAction", true);
    button->setToolTip(tip);
    return button;
}

} // namespace

RecentsPage::RecentsPage(apps::AppsModule& module, core::Context& ctx, QWidget* parent)
    : QWidget(parent), catalogue_(module.catalogue()), driver_(module.driver()),
      platform_(ctx.platform), frontend_(ctx.frontend) {
    setStyleSheet(pageStyleSheet());
    chooseFiles = [this](const FileRequest& request) {
        return runOpenPanel(request);
    };

    auto* intro = new QLabel(
        QStringLiteral("Recent-document lists and caches of the applications below."), this);
    intro->setObjectName(QStringLiteral("pageIntro"));
    intro->setWordWrap(true);

    scanButton_ = new QPushButton(QStringLiteral("Scan"), this);
    scanButton_->setObjectName(QStringLiteral("scanButton"));
    scanButton_->setToolTip(QStringLiteral("Count what each marked application left behind"));
    connect(scanButton_, &QPushButton::clicked, this,
            [this] { driver_.buttonScanClicked(core::Sender::Button); });

    list_ = new CheckListPanel(QStringLiteral("Applications"), this);
    auto* delegate = new RecordNameDelegate(*list_->model(), list_);
    list_->table()->setItemDelegateForColumn(CheckListModel::NameColumn, delegate);
    list_->table()->setContextMenuPolicy(Qt::CustomContextMenu);

    auto* top = new QHBoxLayout;
    top->setContentsMargins(0, 0, 0, 0);
    top->addWidget(intro, 1);
    addToPreset_ = new AddToPresetButton(
        presets::kCleanAppJunk, [this] { return list_->model()->record(list_->selectedRow()); },
        this);
    top->addWidget(addToPreset_, 0, Qt::AlignTop);
    top->addWidget(scanButton_, 0, Qt::AlignTop);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 10, 0, 0);
    layout->setSpacing(10);
    layout->addLayout(top);
    layout->addWidget(list_, 1);
    layout->addWidget(buildButtonRow());

    wireList();
    reloadLists();
}

QWidget* RecentsPage::buildButtonRow() {
    auto* row = new QWidget(this);
    addButton_ = listActionButton(QStringLiteral("Add\u2026"),
                                  QStringLiteral("Add an application to the list"), row);
    addEmbeddedButton_ =
        listActionButton(QStringLiteral("Add embedded\u2026"),
                         QStringLiteral("Add an application kept inside another one"), row);
    optionsButton_ = listActionButton(QStringLiteral("Options"),
                                      QStringLiteral("What is cleaned for this application"), row);
    removeButton_ =
        listActionButton(QStringLiteral("Remove"),
                         QStringLiteral("Take the selected application off the list"), row);
    removeAllButton_ =
        listActionButton(QStringLiteral("Remove All"), QStringLiteral("Empty the list"), row);
    connect(addButton_, &QPushButton::clicked, this, [this] { addChosen(false); });
    connect(addEmbeddedButton_, &QPushButton::clicked, this, [this] { addChosen(true); });
    connect(removeButton_, &QPushButton::clicked, this, [this] { removeSelected(); });
    connect(removeAllButton_, &QPushButton::clicked, this, [this] { removeAll(); });
    connect(optionsButton_, &QPushButton::clicked, this, [this] {
        showOptionsMenu(list_->selectedRow(),
                        optionsButton_->mapToGlobal(QPoint(0, optionsButton_->height())));
    });

    auto* buttons = new QHBoxLayout(row);
    buttons->setContentsMargins(0, 0, 0, 0);
    buttons->setSpacing(8);
    buttons->addWidget(addButton_);
    buttons->addWidget(addEmbeddedButton_);
    buttons->addStretch(1);
    buttons->addWidget(optionsButton_);
    buttons->addWidget(removeButton_);
    buttons->addWidget(removeAllButton_);
    return row;
}

void RecentsPage::wireList() {
    list_->onMasterClicked = [this](core::CheckState shown) {
        catalogue_.recentsCheckBoxButtonClicked(shown);
        reloadLists();
    };
    list_->onMarkToggled = [this](int row, bool on) {
        // The model stored the click already; the list makes (and saves) the change itself.
        core::setMark(list_->model()->record(row), !on);
        catalogue_.setRowMark(row, on);
        list_->showMasterState(catalogue_.reflectMarkStatusInRecents());
        enableOrDisableCleanButton();
    };
    list_->onSortChosen = [this](core::SortChoice choice) {
        catalogue_.recentsPopUpButtonClicked(choice);
        reloadLists();
    };
    list_->onSelectionChanged = [this](int) {
        enableOrDisableListButtons();
    };
    QTableView* table = list_->table();
    connect(table, &QWidget::customContextMenuRequested, this, [this, table](const QPoint& pos) {
        const QModelIndex index = table->indexAt(pos);
        if (!index.isValid())
            return;
        list_->selectRow(index.row());
        showOptionsMenu(index.row(), table->viewport()->mapToGlobal(pos));
    });
}

void RecentsPage::attach(MainWindow& window) {
    window_ = &window;
    attachPage(this, window, kRecentsPageId);
}

core::PageHooks RecentsPage::hooks() {
    return pageHooks(this, &RecentsPage::reloadLists);
}

void RecentsPage::pageOpened() {
    pointCleanButton(cleanButton(), this, driver_);
    driver_.buttonScanClicked(core::Sender::Button);
}

void RecentsPage::reloadLists() {
    const core::DictRef kept = list_->model()->record(list_->selectedRow());
    list_->reload(catalogue_.arrayRecents());
    list_->selectRow(list_->model()->rowOf(kept));
    list_->showMasterState(catalogue_.reflectMarkStatusInRecents());
    list_->showSort(catalogue_.reflectPopUpButtonTitleInRecents());
    enableOrDisableListButtons();
    enableOrDisableCleanButton();
}

void RecentsPage::setControlsEnabled(bool enabled) {
    controlsEnabled_ = enabled;
    if (!enabled && optionsMenu_)
        optionsMenu_->close();
    for (QWidget* control :
         std::initializer_list<QWidget*>{list_, scanButton_, addButton_, addEmbeddedButton_})
        control->setEnabled(enabled);
    enableOrDisableListButtons();
    enableOrDisableCleanButton();
}

void RecentsPage::enableOrDisableListButtons() {
    const bool selected = list_->selectedRow() >= 0;
    const bool rows = list_->model()->rowCount() > 0;
    removeButton_->setEnabled(controlsEnabled_ && selected);
    optionsButton_->setEnabled(controlsEnabled_ && selected);
    removeAllButton_->setEnabled(controlsEnabled_ && rows);
    // Marking all and sorting need rows to work on.
    list_->masterBox()->setEnabled(rows);
    list_->sortPopUp()->setEnabled(rows);
}

void RecentsPage::enableOrDisableCleanButton() {
    if (QPushButton* clean = cleanButton())
        clean->setEnabled(controlsEnabled_ &&
                          catalogue_.enableOrDisableRecentsScanAndCleanButton());
}

FileRequest RecentsPage::addRequest(bool embedded) const {
    FileRequest request;
    request.title = QStringLiteral("Locate App to add");
    request.acceptLabel = QStringLiteral("Add");
    request.allowFolders = embedded;
    if (platform_.layout() == platform::Layout::MacOS) {
        request.startFolder = QString::fromStdString((platform_.root() / "Applications").string());
        request.nameFilters = {QStringLiteral("Applications (*.app)")};
#ifndef Q_OS_MACOS
        request.bundlesAreFolders = true;
#endif
    } else {
        std::filesystem::path folder = platform_.xdgDataHome() / "applications";
        std::error_code ec;
        if (!std::filesystem::is_directory(folder, ec))
            folder = platform_.root() / "usr/share/applications";
        request.startFolder = QString::fromStdString(folder.string());
        request.nameFilters = {QStringLiteral("Desktop entries (*.desktop)")};
    }
    return request;
}

QStringList RecentsPage::runOpenPanel(const FileRequest& request) {
    QFileDialog panel(this, request.title, request.startFolder);
    panel.setLabelText(QFileDialog::Accept, request.acceptLabel);
    panel.setNameFilters(request.nameFilters);
    panel.setAcceptMode(QFileDialog::AcceptOpen);
    // An application that is a folder here is chosen as a folder; otherwise it is one file.
    panel.setFileMode(request.bundlesAreFolders ? QFileDialog::Directory
                                                : QFileDialog::ExistingFile);
    if (request.bundlesAreFolders)
        panel.setOption(QFileDialog::ShowDirsOnly, false);
    if (panel.exec() != QDialog::Accepted)
        return {};
    return panel.selectedFiles();
}

void RecentsPage::addChosen(bool embedded) {
    if (!chooseFiles)
        return;
    const QStringList chosen = chooseFiles(addRequest(embedded));
    // One application at a time.
    if (chosen.isEmpty() || chosen.first().isEmpty())
        return;
    std::string problem;
    if (auto path = chosenLocalPath(chosen.first(), problem)) {
        catalogue_.addApplication(*path);
    } else {
        core::AlertRequest alert;
        alert.title = "! Application Not Added";
        alert.message = problem;
        alert.defaultButton = "OK";
        frontend_.showAlert(alert);
    }
    reloadLists();
}

void RecentsPage::removeSelected() {
    const int row = list_->selectedRow();
    if (row < 0)
        return;
    list_->clearSelection();
    catalogue_.removeRow(row);
    reloadLists();
}

void RecentsPage::removeAll() {
    list_->clearSelection();
    catalogue_.removeAll();
    reloadLists();
}

void RecentsPage::showOptionsMenu(int row, const QPoint& globalPos) {
    if (row < 0 || row >= list_->model()->rowCount() || !controlsEnabled_)
        return;
    if (optionsMenu_)
        optionsMenu_->close();
    auto* menu = new RecentsOptionsMenu(catalogue_, row, this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    optionsMenu_ = menu;
    menu->popup(globalPos);
}

RecentsOptionsMenu* RecentsPage::optionsMenu() const {
    return optionsMenu_;
}

QPushButton* RecentsPage::cleanButton() const {
    return sharedCleanButton(window_, QLatin1String(kRecentsPageId));
}

} // namespace tpc::ui
