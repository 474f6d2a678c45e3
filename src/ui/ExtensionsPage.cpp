#include "ui/ExtensionsPage.h"

#include "core/Keys.h"
#include "core/Record.h"
#include "extensions/ExtensionsDriver.h"
#include "extensions/ExtensionsModule.h"
#include "ui/CheckListModel.h"
#include "ui/CheckListPanel.h"
#include "ui/MainWindow.h"
#include "ui/MasterCheckBox.h"
#include "ui/PageStyle.h"
#include "ui/PageWiring.h"
#include "ui/Resources.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHash>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QVBoxLayout>

namespace tpc::ui {

namespace {

const char* const kExtensionsPageId = "13";
const char* const kItemsTitle = "Items";
constexpr int kExtIconSize = 18;

// The category's picture before its name in the main list.
class ExtCategoryIconDelegate : public QStyledItemDelegate {
public:
    ExtCategoryIconDelegate(const CheckListModel& model, QObject* parent)
        : QStyledItemDelegate(parent), model_(model) {}

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        const QIcon picture = ExtensionsPage::categoryIcon(model_.record(index.row()));
        if (!picture.isNull()) {
            option->icon = picture;
            option->features |= QStyleOptionViewItem::HasDecoration;
            option->decorationSize = QSize(kExtIconSize, kExtIconSize);
        }
    }

private:
    const CheckListModel& model_;
};

} // namespace

ExtensionsPage::ExtensionsPage(extensions::ExtensionsModule& module, QWidget* parent)
    : QWidget(parent), driver_(module.driver()) {
    setStyleSheet(pageStyleSheet());

    auto* intro = new QLabel(QStringLiteral("Plug-ins, browser and desktop extensions, and the "
                                            "programs that start with your session. Mark a "
                                            "category and the items in it to remove them."),
                             this);
    intro->setObjectName(QStringLiteral("pageIntro"));
    intro->setWordWrap(true);

    scanButton_ = new QPushButton(QStringLiteral("Scan"), this);
    scanButton_->setObjectName(QStringLiteral("scanButton"));
    scanButton_->setToolTip(QStringLiteral("Look again for installed add-ons"));
    connect(scanButton_, &QPushButton::clicked, this,
            [this] { driver_.buttonScanClicked(core::Sender::Button); });

    mainList_ = new CheckListPanel(QStringLiteral("Categories"), this);
    mainList_->table()->setItemDelegateForColumn(
        CheckListModel::NameColumn, new ExtCategoryIconDelegate(*mainList_->model(), mainList_));
    subList_ = new CheckListPanel(QString::fromLatin1(kItemsTitle), this);

    auto* top = new QHBoxLayout;
    top->setContentsMargins(0, 0, 0, 0);
    top->addWidget(intro, 1);
    top->addWidget(scanButton_, 0, Qt::AlignTop);
    auto* lists = new QHBoxLayout;
    lists->setContentsMargins(0, 0, 0, 0);
    lists->setSpacing(12);
    // Category names are short but carry a picture; item names can be long: equal halves.
    lists->addWidget(mainList_, 1);
    lists->addWidget(subList_, 1);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 10, 0, 0);
    layout->setSpacing(10);
    layout->addLayout(top);
    layout->addLayout(lists, 1);

    wireMainList();
    wireSubList();
    reloadLists();
}

QIcon ExtensionsPage::categoryIcon(const core::DictRef& root) {
    static QHash<QString, QIcon> loaded;
    const core::DictRef dd = core::descriptionDictionary(root);
    if (!dd)
        return {};
    const std::string* icon = dd->get(core::keys::Icon).string();
    const QString name =
        icon ? QString::fromStdString(*icon)
             : QString::fromStdString(core::description(root)) + QStringLiteral(".png");
    auto found = loaded.constFind(name);
    if (found != loaded.constEnd())
        return *found;
    const QImage picture = image(name);
    const QIcon made = picture.isNull() ? QIcon() : QIcon(QPixmap::fromImage(picture));
    loaded.insert(name, made);
    return made;
}

void ExtensionsPage::wireMainList() {
    mainList_->onMasterClicked = [this](core::CheckState shown) {
        driver_.extMainListCheckBoxButtonClicked(shown);
        reloadLists();
    };
    mainList_->onMarkToggled = [this](int, bool) {
        mainList_->showMasterState(driver_.reflectMarkStatusInExtMainList());
        enableOrDisableCleanButton();
    };
    mainList_->onSortChosen = [this](core::SortChoice choice) {
        driver_.extMainListPopUpButtonClicked(choice);
        reloadLists();
    };
    mainList_->onSelectionChanged = [this](int row) {
        driver_.selectMainRow(row);
        if (row >= 0)
            selectedTitle_ =
                QString::fromStdString(core::description(mainList_->model()->record(row)));
        showSubList();
    };
}

void ExtensionsPage::wireSubList() {
    subList_->onMasterClicked = [this](core::CheckState shown) {
        driver_.extSubListCheckBoxButtonClicked(shown);
        showSubList();
    };
    subList_->onMarkToggled = [this](int, bool) {
        subList_->showMasterState(driver_.reflectMarkStatusInExtSubList());
    };
    subList_->onSortChosen = [this](core::SortChoice choice) {
        driver_.extSubListPopUpButtonClicked(choice);
        showSubList();
    };
}

void ExtensionsPage::showSubList() {
    const int row = driver_.selectedMainRow();
    const core::DictRef root = row >= 0 ? mainList_->model()->record(row) : nullptr;
    subList_->reload(driver_.subList());
    subList_->showMasterState(driver_.reflectMarkStatusInExtSubList());
    subList_->showSort(driver_.reflectPopUpButtonTitleInExtSubList());
    MasterCheckBox* box = subList_->masterBox();
    box->setText(root ? QString::fromStdString(core::description(root))
                      : QString::fromLatin1(kItemsTitle));
    box->setIcon(root ? categoryIcon(root) : QIcon());
    // Marking all and sorting need a category whose items are shown.
    box->setEnabled(root != nullptr);
    subList_->sortPopUp()->setEnabled(root != nullptr);
}

void ExtensionsPage::selectCategoryAfterScan() {
    if (driver_.selectedMainRow() >= 0)
        return;
    const core::ArrayRef roots = driver_.list();
    if (!roots || roots->empty())
        return;
    int row = 0;
    for (std::size_t i = 0; i < roots->size(); ++i)
        if (QString::fromStdString(core::description(roots->at(i).dict())) == selectedTitle_)
            row = static_cast<int>(i);
    driver_.selectMainRow(row);
}

void ExtensionsPage::attach(MainWindow& window) {
    window_ = &window;
    attachPage(this, window, QLatin1String(kExtensionsPageId));
}

core::PageHooks ExtensionsPage::hooks() {
    core::PageHooks h = pageHooks(this, &ExtensionsPage::reloadLists);
    QPointer<ExtensionsPage> self(this);
    const auto enableAfter = [self] {
        if (!self)
            return;
        self->setControlsEnabled(true);
        self->selectCategoryAfterScan();
    };
    h.enableAfterScan = enableAfter;
    h.enableAfterClean = enableAfter;
    return h;
}

void ExtensionsPage::pageOpened() {
    pointCleanButton(cleanButton(), this, driver_);
    driver_.extManagerPageOpened();
}

void ExtensionsPage::reloadLists() {
    mainList_->reload(driver_.list(), driver_.selectedMainRow());
    mainList_->showMasterState(driver_.reflectMarkStatusInExtMainList());
    mainList_->showSort(driver_.reflectPopUpButtonTitleInExtMainList());
    showSubList();
    enableOrDisableCleanButton();
}

void ExtensionsPage::setControlsEnabled(bool enabled) {
    controlsEnabled_ = enabled;
    for (QWidget* control : std::initializer_list<QWidget*>{mainList_, subList_, scanButton_})
        control->setEnabled(enabled);
    enableOrDisableCleanButton();
}

void ExtensionsPage::enableOrDisableCleanButton() {
    if (QPushButton* clean = cleanButton())
        clean->setEnabled(controlsEnabled_ && driver_.enableOrDisableExtScanAndCleanButton());
}

QPushButton* ExtensionsPage::cleanButton() const {
    return sharedCleanButton(window_, QLatin1String(kExtensionsPageId));
}

} // namespace tpc::ui
