#pragma once
// The user's freedesktop trash ($XDG_DATA_HOME/Trash): the trashed items in "files/", one
// "info/<name>.trashinfo" per item, and the optional "directorysizes" cache. Emptying keeps the
// three consistent, so a file manager never shows an item whose data is gone or the size of a
// folder that no longer exists.

#include "fs/TreeMeasure.h"

#include <filesystem>
#include <functional>

namespace tpc::erase {
class Deleter;
}

namespace tpc::system {

class FreedesktopTrash {
public:
    FreedesktopTrash(std::filesystem::path folder, erase::Deleter& deleter);

    // Every entry under "files/" at any depth ("files" that is not a folder counts once); nothing
    // when the trash is not a folder or "files" is a link.
    tpc::fs::TreeTotals measure(const std::function<bool()>& aborted = {}) const;

    // Removes every item of "files/" through the deletion engine (which follows the erase
    // setting and removes a link as a link), the "info/" entry of every item that went, the
    // "info/" entries whose item is missing, and brings "directorysizes" in line. Does nothing
    // when "files" or "info" is there but is not a folder (a link to one, say).
    void empty();

private:
    std::filesystem::path files() const { return folder_ / "files"; }
    std::filesystem::path info() const { return folder_ / "info"; }
    void removeInfoOf(const std::string& name);
    void removeOrphanInfo();
    void refreshDirectorySizes();

    std::filesystem::path folder_;
    erase::Deleter& deleter_;
};

// Decodes the %XX escapes of a name as the trash cache writes it; a malformed escape is kept as
// it is.
std::string percentDecode(const std::string& text);

} // namespace tpc::system
