#include "ui/EraserFileDialog.h"

#include <QAbstractItemView>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QPushButton>

namespace tpc::ui {

namespace {

const char* const kTitle = "Locate Folders/Files to add";
const char* const kAcceptLabel = "Add Items";

// The dialog's own list of entries (its list and detail views share one selection).
QAbstractItemView* entryView(const QFileDialog& dialog) {
    return dialog.findChild<QAbstractItemView*>(QStringLiteral("listView"));
}

} // namespace

EraserFileDialog::EraserFileDialog(QWidget* parent, const QString& directory, bool embedded)
    : QFileDialog(parent, QString::fromLatin1(kTitle), directory) {
    // Only the widget dialog lets one panel return files and folders alike.
    setOptions(QFileDialog::DontUseNativeDialog | QFileDialog::DontResolveSymlinks |
               QFileDialog::ReadOnly);
    setFileMode(QFileDialog::ExistingFiles);
    setAcceptMode(QFileDialog::AcceptOpen);
    setLabelText(QFileDialog::Accept, QString::fromLatin1(kAcceptLabel));
    QDir::Filters entries = QDir::AllEntries | QDir::AllDirs | QDir::NoDotAndDotDot | QDir::System;
    if (embedded)
        entries |= QDir::Hidden;
    setFilter(entries);

    // The dialog updates its button on these; the label is put back once it has.
    if (QAbstractItemView* view = entryView(*this))
        connect(view->selectionModel(), &QItemSelectionModel::selectionChanged, this,
                &EraserFileDialog::keepAcceptLabel, Qt::QueuedConnection);
    if (auto* nameField = findChild<QLineEdit*>(QStringLiteral("fileNameEdit")))
        connect(nameField, &QLineEdit::textChanged, this, &EraserFileDialog::keepAcceptLabel,
                Qt::QueuedConnection);
    connect(this, &QFileDialog::directoryEntered, this, &EraserFileDialog::keepAcceptLabel,
            Qt::QueuedConnection);
    // Typed names are accepted by the dialog itself.
    connect(this, &QFileDialog::filesSelected, this,
            [this](const QStringList& files) { chosen_ = files; });
}

QStringList EraserFileDialog::choose(QWidget* parent, const QString& directory, bool embedded) {
    EraserFileDialog dialog(parent, directory, embedded);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    return dialog.chosenPaths();
}

void EraserFileDialog::accept() {
    chosen_.clear();
    const QAbstractItemView* view = entryView(*this);
    const bool pickedInList = !view || view->selectionModel()->hasSelection();
    if (!pickedInList) {
        // A typed name: the dialog opens a folder so named, or warns about a missing one.
        QFileDialog::accept();
        return;
    }
    QStringList chosen;
    for (const QString& file : selectedFiles()) {
        const QFileInfo info(file);
        // A link to nothing is still a path the user may want gone.
        if (info.exists() || info.isSymLink())
            chosen << info.absoluteFilePath();
    }
    if (chosen.isEmpty())
        return;
    chosen_ = chosen;
    QDialog::accept();
}

void EraserFileDialog::keepAcceptLabel() {
    auto* buttons = findChild<QDialogButtonBox*>(QStringLiteral("buttonBox"));
    QPushButton* acceptButton = buttons ? buttons->button(QDialogButtonBox::Open) : nullptr;
    if (acceptButton && acceptButton->text() != QLatin1String(kAcceptLabel))
        acceptButton->setText(QString::fromLatin1(kAcceptLabel));
}

} // namespace tpc::ui
