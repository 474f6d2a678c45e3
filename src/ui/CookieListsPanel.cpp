#include "ui/CookieListsPanel.h"

#include "browsers/BrowserCleaners.h"
#include "browsers/BrowserLocations.h"
#include "browsers/BrowsersModule.h"
#include "core/Context.h"
#include "platform/Platform.h"

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStringListModel>
#include <QVBoxLayout>

#include <algorithm>

namespace tpc::ui {

namespace {

// The chooser keeps each entry's cookie browser under this role (its text is the browser name).
constexpr int kCookieBrowserRole = Qt::UserRole + 1;

const char* const kCookieListsStyleSheet = R"(
QListView {
    border: 1px solid #dde3ea; border-radius: 6px; background: #ffffff;
    alternate-background-color: #f6f8fb; selection-background-color: #dbe8f6;
    selection-color: #1f2933; outline: 0;
}
QListView::item { padding: 2px 4px; }
QLabel#cookieListTitle { font-weight: 600; color: #3d4852; }
)";

QStringList toStringList(const std::vector<std::string>& domains) {
    QStringList list;
    list.reserve(static_cast<qsizetype>(domains.size()));
    for (const auto& domain : domains)
        list.append(QString::fromStdString(domain));
    return list;
}

QListView* makeTable(QStringListModel* model, QWidget* parent) {
    auto* table = new QListView(parent);
    table->setModel(model);
    table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setAlternatingRowColors(true);
    table->setUniformItemSizes(true);
    return table;
}

QLineEdit* makeSearchField(QWidget* parent) {
    auto* field = new QLineEdit(parent);
    field->setPlaceholderText(QStringLiteral("Search"));
    field->setClearButtonEnabled(true);
    return field;
}

QLabel* makeTitle(const QString& text, QWidget* parent) {
    auto* title = new QLabel(text, parent);
    title->setObjectName(QStringLiteral("cookieListTitle"));
    return title;
}

} // namespace

CookieListsPanel::CookieListsPanel(browsers::BrowsersModule& module, core::Context& ctx,
                                   QWidget* parent)
    : QWidget(parent), module_(module), ctx_(ctx) {
    setStyleSheet(QString::fromLatin1(kCookieListsStyleSheet));

    chooser_ = new QComboBox(this);
    chooser_->setPlaceholderText(QStringLiteral("No browser installed"));
    chooser_->setMinimumWidth(150);
    refreshButton_ = new QPushButton(QStringLiteral("Refresh"), this);
    refreshButton_->setToolTip(QStringLiteral("Read the browser's cookies again"));
    auto* top = new QHBoxLayout;
    top->addWidget(new QLabel(QStringLiteral("Browser:"), this));
    top->addWidget(chooser_);
    top->addStretch(1);
    top->addWidget(refreshButton_);

    deleteSearch_ = makeSearchField(this);
    keepSearch_ = makeSearchField(this);
    deleteModel_ = new QStringListModel(this);
    keepModel_ = new QStringListModel(this);
    deleteTable_ = makeTable(deleteModel_, this);
    keepTable_ = makeTable(keepModel_, this);
    keepButton_ = new QPushButton(QStringLiteral("Keep \u2192"), this);
    keepButton_->setToolTip(QStringLiteral("Keep the cookies of the selected sites"));
    deleteButton_ = new QPushButton(QStringLiteral("\u2190 Delete"), this);
    deleteButton_->setToolTip(QStringLiteral("Delete the cookies of the selected sites"));
    auto* moves = new QVBoxLayout;
    moves->addStretch(1);
    moves->addWidget(keepButton_);
    moves->addWidget(deleteButton_);
    moves->addStretch(1);

    auto* lists = new QGridLayout;
    lists->setHorizontalSpacing(10);
    lists->setVerticalSpacing(6);
    lists->addWidget(makeTitle(QStringLiteral("Cookies to delete"), this), 0, 0);
    lists->addWidget(makeTitle(QStringLiteral("Cookies to keep"), this), 0, 2);
    lists->addWidget(deleteSearch_, 1, 0);
    lists->addWidget(keepSearch_, 1, 2);
    lists->addWidget(deleteTable_, 2, 0);
    lists->addLayout(moves, 2, 1);
    lists->addWidget(keepTable_, 2, 2);
    lists->setColumnStretch(0, 1);
    lists->setColumnStretch(2, 1);
    lists->setRowStretch(2, 1);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addLayout(top);
    layout->addLayout(lists, 1);

    connect(chooser_, &QComboBox::currentIndexChanged, this, [this] { showBrowser(); });
    connect(refreshButton_, &QPushButton::clicked, this, [this] { refreshCookiesList(); });
    connect(keepButton_, &QPushButton::clicked, this, [this] { sendCookieToKeep(); });
    connect(deleteButton_, &QPushButton::clicked, this, [this] { sendCookieToDelete(); });
    connect(deleteSearch_, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (auto b = currentBrowser()) {
            module_.cookies().searchCookiesToDelete(*b, text.toStdString());
            deleteModel_->setStringList(toStringList(module_.cookies().disAllowedActive(*b)));
            enableMoveButtons();
        }
    });
    connect(keepSearch_, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (auto b = currentBrowser()) {
            module_.cookies().searchCookiesToKeep(*b, text.toStdString());
            keepModel_->setStringList(toStringList(module_.cookies().allowedActive(*b)));
            enableMoveButtons();
        }
    });
    for (QListView* table : {deleteTable_, keepTable_})
        connect(table->selectionModel(), &QItemSelectionModel::selectionChanged, this,
                [this] { enableMoveButtons(); });

    reloadBrowsers();
}

void CookieListsPanel::reloadBrowsers() {
    const QString chosen = chooser_->currentText();
    {
        const QSignalBlocker quiet(chooser_);
        chooser_->clear();
        std::vector<browsers::CookieBrowser> listed;
        for (const auto& entry : module_.cleaners().entries()) {
            // Browsers sharing one pair of lists (the Chrome family) are offered once.
            if (!browsers::BrowserLocations(ctx_.platform).browserInstalled(entry.browser) ||
                std::find(listed.begin(), listed.end(), entry.cookieBrowser) != listed.end())
                continue;
            listed.push_back(entry.cookieBrowser);
            chooser_->addItem(QString::fromStdString(entry.name));
            chooser_->setItemData(chooser_->count() - 1, static_cast<int>(entry.cookieBrowser),
                                  kCookieBrowserRole);
        }
        const int index = chooser_->findText(chosen);
        chooser_->setCurrentIndex(index >= 0 ? index : (chooser_->count() > 0 ? 0 : -1));
    }
    showBrowser();
}

std::optional<browsers::CookieBrowser> CookieListsPanel::currentBrowser() const {
    const QVariant data = chooser_->currentData(kCookieBrowserRole);
    if (!data.isValid())
        return std::nullopt;
    return static_cast<browsers::CookieBrowser>(data.toInt());
}

void CookieListsPanel::showBrowser() {
    const auto b = currentBrowser();
    {
        const QSignalBlocker quietDelete(deleteSearch_);
        const QSignalBlocker quietKeep(keepSearch_);
        deleteSearch_->setText(b ? QString::fromStdString(module_.cookies().deleteSearchText(*b))
                                 : QString());
        keepSearch_->setText(b ? QString::fromStdString(module_.cookies().keepSearchText(*b))
                               : QString());
    }
    for (QWidget* control : std::initializer_list<QWidget*>{chooser_, refreshButton_, deleteSearch_,
                                                            keepSearch_, deleteTable_, keepTable_})
        control->setEnabled(b.has_value());
    reload();
}

void CookieListsPanel::reload() {
    const auto b = currentBrowser();
    deleteModel_->setStringList(b ? toStringList(module_.cookies().disAllowedActive(*b))
                                  : QStringList());
    keepModel_->setStringList(b ? toStringList(module_.cookies().allowedActive(*b))
                                : QStringList());
    enableMoveButtons();
}

std::vector<std::size_t> CookieListsPanel::selectedRows(const QListView* table) {
    std::vector<std::size_t> rows;
    for (const QModelIndex& index : table->selectionModel()->selectedIndexes())
        rows.push_back(static_cast<std::size_t>(index.row()));
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

void CookieListsPanel::sendCookieToKeep() {
    const auto b = currentBrowser();
    const std::vector<std::size_t> rows = selectedRows(deleteTable_);
    if (!b || rows.empty())
        return;
    keepButton_->setEnabled(false);
    deleteTable_->clearSelection();
    module_.cookies().sendCookieToKeep(*b, rows);
    reload();
}

void CookieListsPanel::sendCookieToDelete() {
    const auto b = currentBrowser();
    const std::vector<std::size_t> rows = selectedRows(keepTable_);
    if (!b || rows.empty())
        return;
    deleteButton_->setEnabled(false);
    keepTable_->clearSelection();
    module_.cookies().sendCookieToDelete(*b, rows);
    reload();
}

void CookieListsPanel::refreshCookiesList() {
    if (!currentBrowser())
        return;
    const auto* entry = module_.cleaners().find(chooser_->currentText().toStdString());
    if (!entry || !entry->refreshCookies)
        return;
    deleteTable_->clearSelection();
    keepTable_->clearSelection();
    entry->refreshCookies();
    reload();
}

void CookieListsPanel::enableMoveButtons() {
    const bool enabled = currentBrowser().has_value();
    keepButton_->setEnabled(enabled && deleteTable_->selectionModel()->hasSelection());
    deleteButton_->setEnabled(enabled && keepTable_->selectionModel()->hasSelection());
}

} // namespace tpc::ui
