#include "ui/EraserFileDialog.h"

#include "core/Utf8.h"
#include "fs/Folders.h"

#include <QAbstractItemView>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileInfo>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QPushButton>

#include <fcntl.h>
#include <sys/stat.h>
#include <vector>

namespace tpc::ui {

namespace {

const char* const kTitle = "Locate Folders/Files to add";
const char* const kAcceptLabel = "Add Items";

// The dialog's own list of entries (its list and detail views share one selection).
QAbstractItemView* entryView(const QFileDialog& dialog) {
    return dialog.findChild<QAbstractItemView*>(QStringLiteral("listView"));
}

// True when `name` is the only entry of folder `folder` (bytes) whose name reads as `shown`.
bool onlyEntryShownAs(const std::string& folder, const std::string& name, const QString& shown) {
    tpc::fs::UniqueFd fd(
        ::open(folder.empty() ? "/" : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::vector<std::string> names;
    int error = 0;
    if (!fd || !tpc::fs::listOpenFolder(fd.get(), names, error))
        return false;
    for (const auto& entry : names)
        if (entry != name && QFile::decodeName(QByteArray::fromStdString(entry)) == shown)
            return false;
    return true;
}

} // namespace

std::optional<std::string> chosenLocalPath(const QString& chosen, std::string& problem) {
    const QByteArray encoded = QFile::encodeName(chosen);
    const std::string bytes = encoded.toStdString();
    const std::string shown = "\"" + core::displayText(bytes) + "\"";
    problem.clear();
    if (bytes.empty() || bytes.front() != '/' || bytes.find('\0') != std::string::npos ||
        !core::isValidUtf8(bytes) || QFile::decodeName(encoded) != chosen) {
        problem = shown + " cannot be added: its name is not valid UTF-8 text.";
        return std::nullopt;
    }
    struct stat st {};
    if (::lstat(bytes.c_str(), &st) != 0) {
        problem = shown + " cannot be added: no file or folder has exactly this name (a name "
                          "that is not valid UTF-8 text reads differently once shown).";
        return std::nullopt;
    }
    // A name shown with U+FFFD may be that very character, or bytes that are not UTF-8 and read
    // the same: the path is taken only when no other entry along it reads the same.
    if (chosen.contains(QChar(QChar::ReplacementCharacter))) {
        std::size_t start = 1;
        while (start < bytes.size()) {
            std::size_t end = bytes.find('/', start);
            if (end == std::string::npos)
                end = bytes.size();
            const std::string name = bytes.substr(start, end - start);
            if (!name.empty() && name.find("\xEF\xBF\xBD") != std::string::npos &&
                !onlyEntryShownAs(bytes.substr(0, start - 1), name,
                                  QFile::decodeName(QByteArray::fromStdString(name)))) {
                problem = shown + " cannot be added: another file or folder beside it has a "
                                  "name that is not valid UTF-8 text and reads the same.";
                return std::nullopt;
            }
            start = end + 1;
        }
    }
    return bytes;
}

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
