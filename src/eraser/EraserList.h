#pragma once
// The File Eraser page's list: files and folders the user wants destroyed, kept in the settings
// file "File Eraser" and saved after every change. No listed path lies inside another and no
// path is listed twice.
//
// Main thread only.

#include "core/CheckList.h"
#include "core/Context.h"
#include "core/Value.h"

#include <string>
#include <vector>

namespace tpc::eraser {

namespace keys {
inline constexpr const char* ArrayOfFolders = "Array Of Folders";
inline constexpr const char* IsAFolder = "Is A Folder";
inline constexpr const char* DeleteOption = "Delete Option";
} // namespace keys

class EraserList {
public:
    explicit EraserList(core::Context& ctx);

    // Loads "File Eraser", or creates and saves the empty list.
    void loadShredder();

    core::DictRef dictFolders() const { return dictFolders_; }
    core::ArrayRef arrayFolders() const { return arrayFolders_; }

    struct AddOutcome {
        std::size_t added = 0;
        // A chosen path was already listed, or lay inside a listed folder.
        bool alreadyAdded = false;
        // Listed paths lay inside a chosen folder and were replaced by it.
        bool replaced = false;
        // Chosen paths left out because the list cannot keep them (see storablePath).
        std::vector<std::string> refused;
    };
    // The add rule, path by path in the given order (absolute paths as an open panel returns
    // them; anything else is ignored, and paths the list cannot keep are refused); then
    // re-sorts and saves. Alerts and the sizes update are the caller's.
    AddOutcome addPaths(const std::vector<std::string>& paths);
    // The "Path(s) inconsistencies !" message for an outcome; empty when no flag is set.
    static std::string inconsistencyMessage(const AddOutcome& outcome);
    // The message naming the refused paths (shown through core::displayText); empty when none.
    static std::string refusalMessage(const AddOutcome& outcome);

    // Remove the given rows / every row (emptying sets changes-made), renumber, re-sort, save.
    void removeRows(std::vector<int> rows);
    void removeAll();
    void sortFoldersArrayAfterDeletion();

    // Marking; every change is saved.
    void foldersCheckBoxButtonClicked(core::CheckState shown);
    void markAllFolders(bool on);
    void setRowMark(int row, bool on);
    core::CheckState reflectMarkStatusInFolders() const;
    bool enableOrDisableFoldersCleanButton() const;

    // "Delete Option" of a folder row: true erases the contents and keeps the folder. False for
    // a row that is not a folder (nothing changes).
    bool setDeleteOption(int row, bool contentsOnly);

    // Sorting.
    void foldersPopUpButtonClicked(core::SortChoice choice);
    core::SortChoice reflectPopUpButtonTitleInFolders() const;

    // The row listing exactly `path` (compared after lexical normalisation); -1 when none.
    int findRow(const std::string& path) const;

    void save();

private:
    core::Context& ctx_;
    core::DictRef dictFolders_;
    core::ArrayRef arrayFolders_;
};

} // namespace tpc::eraser
