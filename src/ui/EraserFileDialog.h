#pragma once
// The open panel of the File Eraser page: files AND folders, several at once. A plain file dialog
// in a files mode opens a selected folder instead of returning it; this one returns whatever is
// selected in its list, folders included, and opens a folder only on a double click or when its
// name is typed. Symbolic links are returned as themselves, never as their targets.

#include <QFileDialog>
#include <QStringList>

#include <optional>
#include <string>

namespace tpc::ui {

// A path an open panel handed back, as the bytes that name it on disk. A panel's paths are text:
// a name whose bytes are not UTF-8 comes back with U+FFFD in their place, and its text then names
// a missing file or another one. The path is taken only when its bytes name an existing entry,
// are valid UTF-8 (the lists are kept in property lists, whose strings are), and no other entry
// of a folder along it reads as the same text. Otherwise nothing, with `problem` set to a message
// naming the path (through core::displayText).
std::optional<std::string> chosenLocalPath(const QString& chosen, std::string& problem);

class EraserFileDialog : public QFileDialog {
    Q_OBJECT
public:
    // `embedded` also shows hidden entries, where applications keep what they hold inside.
    EraserFileDialog(QWidget* parent, const QString& directory, bool embedded);

    // The absolute paths chosen by the last accept, in the order the dialog lists them.
    QStringList chosenPaths() const { return chosen_; }

    // Runs the dialog modally; empty when cancelled.
    static QStringList choose(QWidget* parent, const QString& directory, bool embedded);

    void accept() override;

private:
    // The dialog renames its accept button "Open" while a folder is selected; it stays "Add Items".
    void keepAcceptLabel();

    QStringList chosen_;
};

} // namespace tpc::ui
