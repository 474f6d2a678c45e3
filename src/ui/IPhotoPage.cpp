#include "ui/IPhotoPage.h"

#include "photos/IPhotoPageState.h"
#include "photos/PhotosDriver.h"
#include "photos/PhotosModule.h"
#include "ui/IPhotoPictures.h"
#include "ui/IPhotoResultsTree.h"
#include "ui/MainWindow.h"
#include "ui/PageStyle.h"
#include "ui/PageWiring.h"

#include <QFile>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace tpc::ui {

namespace {

const char* const kIPhotoPageId = "15";
constexpr int kShownLibraryIconSide = 64;

const char* const kIPhotoPageStyle = R"(
QLabel#iPhotoLibraryName { font-size: 15px; font-weight: 600; color: #1f2933; }
QLabel#iPhotoLibraryLocation { color: #52606d; }
QFrame#iPhotoResultBox { background: #f7f9fb; border: 1px solid #dde3ea; border-radius: 8px; }
QLabel#iPhotoStatus { font-weight: 600; color: #1f2933; }
QLabel#iPhotoResult { color: #3d4852; }
QLabel#iPhotoDetailedTitle { font-weight: 600; color: #1f2933; }
QTreeWidget#iPhotoResults { border: 1px solid #dde3ea; border-radius: 6px; }
)";

QString textOf(const std::string& bytes) {
    return QFile::decodeName(QByteArray::fromStdString(bytes));
}

QPushButton* listActionButton(const QString& text, QWidget* parent) {
    auto* button = new QPushButton(text, parent);
    button->setProperty("listAction", true);
    return button;
}

} // namespace

IPhotoPage::IPhotoPage(photos::PhotosModule& module, QWidget* parent)
    : QWidget(parent), driver_(module.driver()) {
    setStyleSheet(pageStyleSheet() + QString::fromLatin1(kIPhotoPageStyle));
    chooseLibrary = [this](const QString& folder) -> std::optional<QString> {
        QFileDialog* panel = makeLibraryPanel(window(), folder);
        std::optional<QString> chosen;
        if (panel->exec() == QDialog::Accepted && !panel->selectedFiles().isEmpty())
            chosen = panel->selectedFiles().constFirst();
        panel->deleteLater();
        return chosen;
    };

    filler_ = new QWidget(this);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 10, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(buildLibraryRow());
    layout->addWidget(buildResultBox());
    layout->addWidget(buildDetailedBox(), 1);
    layout->addWidget(filler_, 1);

    showPageState();
    reloadIPhotoResultsView();
}

QWidget* IPhotoPage::buildLibraryRow() {
    auto* row = new QWidget(this);
    picture_ = new QLabel(row);
    picture_->setObjectName(QStringLiteral("iPhotoLibraryPicture"));
    picture_->setFixedSize(kShownLibraryIconSide, kShownLibraryIconSide);
    picture_->setAlignment(Qt::AlignCenter);

    name_ = new QLabel(row);
    name_->setObjectName(QStringLiteral("iPhotoLibraryName"));
    name_->setWordWrap(true);
    location_ = new QLabel(row);
    location_->setObjectName(QStringLiteral("iPhotoLibraryLocation"));
    location_->setWordWrap(true);
    location_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* fields = new QVBoxLayout;
    fields->setSpacing(2);
    fields->addStretch(1);
    fields->addWidget(name_);
    fields->addWidget(location_);
    fields->addStretch(1);

    changeLibrary_ = listActionButton(QStringLiteral("Change Library"), row);
    changeLibrary_->setObjectName(QStringLiteral("changeLibraryButton"));
    connect(changeLibrary_, &QPushButton::clicked, this, [this] { buttonChangeLibraryClicked(); });
    scanButton_ = new QPushButton(QStringLiteral("Scan"), row);
    scanButton_->setObjectName(QStringLiteral("scanButton"));
    scanButton_->setToolTip(QStringLiteral("Look for hidden service copies of edited photos"));
    connect(scanButton_, &QPushButton::clicked, this,
            [this] { driver_.buttonScanLibraryClicked(core::Sender::Button); });

    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    layout->addWidget(picture_);
    layout->addLayout(fields, 1);
    layout->addWidget(changeLibrary_, 0, Qt::AlignVCenter);
    layout->addWidget(scanButton_, 0, Qt::AlignVCenter);
    return row;
}

QWidget* IPhotoPage::buildResultBox() {
    auto* box = new QFrame(this);
    box->setObjectName(QStringLiteral("iPhotoResultBox"));
    status_ = new QLabel(box);
    status_->setObjectName(QStringLiteral("iPhotoStatus"));
    result_ = new QLabel(box);
    result_->setObjectName(QStringLiteral("iPhotoResult"));
    result_->setWordWrap(true);
    detailedButton_ = listActionButton(QStringLiteral("Detailed Results"), box);
    detailedButton_->setObjectName(QStringLiteral("detailedResultsButton"));
    connect(detailedButton_, &QPushButton::clicked, this,
            [this] { driver_.showDetailedResults(!driver_.pageState().detailedResultsShown); });

    auto* lines = new QVBoxLayout;
    lines->setSpacing(4);
    lines->addWidget(status_);
    lines->addWidget(result_);
    auto* layout = new QHBoxLayout(box);
    layout->setContentsMargins(12, 10, 12, 10);
    layout->addLayout(lines, 1);
    layout->addWidget(detailedButton_, 0, Qt::AlignVCenter);
    return box;
}

QWidget* IPhotoPage::buildDetailedBox() {
    detailedBox_ = new QWidget(this);
    detailedBox_->setObjectName(QStringLiteral("iPhotoDetailedResults"));
    detailedTitle_ =
        new QLabel(QString::fromLatin1(photos::texts::DetailedResultsTitle), detailedBox_);
    detailedTitle_->setObjectName(QStringLiteral("iPhotoDetailedTitle"));
    tree_ = new IPhotoResultsTree(driver_.results(), detailedBox_);
    tree_->onMarksChanged = [this] {
        enableOrDisableIPhotoCleanButton();
    };
    auto* layout = new QVBoxLayout(detailedBox_);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(detailedTitle_);
    layout->addWidget(tree_, 1);
    return detailedBox_;
}

QFileDialog* IPhotoPage::makeLibraryPanel(QWidget* parent, const QString& folder) {
    auto* panel =
        new QFileDialog(parent, QString::fromLatin1(photos::texts::OpenPanelTitle), folder);
    panel->setWindowModality(Qt::WindowModal);
    panel->setAcceptMode(QFileDialog::AcceptOpen);
    // A library is a folder: only folders are chosen, one at a time.
    panel->setFileMode(QFileDialog::Directory);
    panel->setOption(QFileDialog::ShowDirsOnly, true);
    panel->setLabelText(QFileDialog::Accept, QString::fromLatin1(photos::texts::OpenPanelPrompt));
    return panel;
}

void IPhotoPage::attach(MainWindow& window) {
    window_ = &window;
    attachPage(this, window, kIPhotoPageId);
}

core::PageHooks IPhotoPage::hooks() {
    QPointer<IPhotoPage> self(this);
    driver_.showPageState = [self] {
        if (self)
            self->showPageState();
    };
    driver_.setZeroOutlineViewIPhoto = [self](bool collapsed) {
        if (self)
            self->tree_->tree()->setVisible(!collapsed);
    };
    return pageHooks(this, &IPhotoPage::reloadIPhotoResultsView);
}

void IPhotoPage::pageOpened() {
    driver_.openPage();
    pointCleanButton(cleanButton(), this, driver_);
    enableOrDisableIPhotoCleanButton();
}

void IPhotoPage::showPageState() {
    const photos::IPhotoPageState& state = driver_.pageState();
    const QPixmap icon = libraryIcon(textOf(state.iconPath));
    picture_->setPixmap(icon.isNull() ? icon
                                      : icon.scaled(kShownLibraryIconSide, kShownLibraryIconSide,
                                                    Qt::KeepAspectRatio, Qt::SmoothTransformation));
    name_->setText(textOf(state.libraryName));
    location_->setText(textOf(state.libraryLocation));
    scanButton_->setEnabled(controlsEnabled_ && state.scanEnabled);
    detailedButton_->setEnabled(controlsEnabled_ && state.detailedResultsEnabled);
    status_->setText(textOf(state.statusLine));
    result_->setText(textOf(state.resultLine));
    detailedBox_->setVisible(state.detailedResultsShown);
    filler_->setVisible(!state.detailedResultsShown);
}

void IPhotoPage::reloadIPhotoResultsView() {
    tree_->reload();
    enableOrDisableIPhotoCleanButton();
}

void IPhotoPage::setControlsEnabled(bool enabled) {
    controlsEnabled_ = enabled;
    changeLibrary_->setEnabled(enabled);
    tree_->tree()->setEnabled(enabled);
    showPageState();
    tree_->showMarks();
    enableOrDisableIPhotoCleanButton();
}

void IPhotoPage::enableOrDisableIPhotoCleanButton() {
    if (QPushButton* clean = cleanButton())
        clean->setEnabled(controlsEnabled_ && driver_.results().enableOrDisableIPhotoCleanButton());
}

void IPhotoPage::buttonChangeLibraryClicked() {
    const auto start = driver_.buttonChangeLibraryClicked();
    if (!chooseLibrary)
        return;
    const auto chosen = chooseLibrary(textOf(start.string()));
    if (!chosen || chosen->isEmpty())
        return;
    driver_.libraryChosen(QFile::encodeName(*chosen).toStdString());
}

QPushButton* IPhotoPage::cleanButton() const {
    return sharedCleanButton(window_, QLatin1String(kIPhotoPageId));
}

} // namespace tpc::ui
