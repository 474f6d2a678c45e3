#include "system/FreedesktopTrash.h"

#include "core/PropertyList.h"
#include "erase/Deleter.h"
#include "fs/Entries.h"
#include "fs/Folders.h"
#include "fs/TreeMeasure.h"

#include <fstream>
#include <sys/stat.h>

namespace tpc::system {

namespace fs = std::filesystem;
using tpc::fs::entryExists;
using tpc::fs::isFolderNoFollow;
using tpc::fs::listFolderNoFollow;

namespace {

constexpr const char* kInfoSuffix = ".trashinfo";

int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// A name that can only mean an entry directly inside "files/".
bool plainName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

std::string fileName(const std::string& path) {
    return fs::path(path).filename().string();
}

} // namespace

std::string percentDecode(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            const int hi = hexDigit(text[i + 1]);
            const int lo = hexDigit(text[i + 2]);
            if (hi >= 0 && lo >= 0) {
                out.push_back(static_cast<char>(hi * 16 + lo));
                i += 2;
                continue;
            }
        }
        out.push_back(text[i]);
    }
    return out;
}

FreedesktopTrash::FreedesktopTrash(fs::path folder, erase::Deleter& deleter)
    : folder_(std::move(folder)), deleter_(deleter) {}

tpc::fs::TreeTotals FreedesktopTrash::measure(const std::function<bool()>& aborted) const {
    if (!isFolderNoFollow(folder_))
        return {};
    // A link in the place of "files" is neither walked nor emptied: it counts as nothing.
    if (tpc::fs::isLink(files()))
        return {};
    return tpc::fs::measureTreeNoFollow(files().string(), aborted);
}

void FreedesktopTrash::empty() {
    if (!isFolderNoFollow(folder_))
        return;
    // A link (or anything but a folder) in the place of "files" or "info" leaves the whole trash
    // alone: its items and their info entries go together or not at all, and nothing is reached
    // through such a link.
    if ((entryExists(files()) && !isFolderNoFollow(files())) ||
        (entryExists(info()) && !isFolderNoFollow(info())))
        return;
    // One item at a time, so that an item's info goes only once the item itself has gone.
    for (const auto& item : listFolderNoFollow(files())) {
        deleter_.deleteFiles({item});
        if (!entryExists(item))
            removeInfoOf(fileName(item));
    }
    removeOrphanInfo();
    refreshDirectorySizes();
}

void FreedesktopTrash::removeInfoOf(const std::string& name) {
    const auto infoFile = info() / (name + kInfoSuffix);
    // Checked again for every item: "info" may have been swapped for a link meanwhile.
    if (isFolderNoFollow(info()) && entryExists(infoFile) && !isFolderNoFollow(infoFile))
        deleter_.simpleDeleteFiles({infoFile.string()});
}

void FreedesktopTrash::removeOrphanInfo() {
    const std::string suffix = kInfoSuffix;
    std::vector<std::string> orphans;
    for (const auto& entry : listFolderNoFollow(info())) {
        const auto name = fileName(entry);
        if (name.size() <= suffix.size() || !name.ends_with(suffix) || isFolderNoFollow(entry))
            continue;
        if (!entryExists(files() / name.substr(0, name.size() - suffix.size())))
            orphans.push_back(entry);
    }
    if (!orphans.empty())
        deleter_.simpleDeleteFiles(orphans);
}

void FreedesktopTrash::refreshDirectorySizes() {
    const auto cache = folder_ / "directorysizes";
    struct stat st {};
    if (::lstat(cache.c_str(), &st) != 0 || S_ISDIR(st.st_mode))
        return;
    if (listFolderNoFollow(files()).empty()) {
        deleter_.simpleDeleteFiles({cache.string()});
        return;
    }
    // Only a regular file is read and rewritten; the rename replaces it, never a link target.
    if (!S_ISREG(st.st_mode))
        return;
    std::ifstream in(cache, std::ios::binary);
    if (!in)
        return;
    // One line per trashed folder: "<size> <mtime> <percent-encoded name>".
    std::string kept;
    bool dropped = false;
    for (std::string line; std::getline(in, line);) {
        const auto space = line.rfind(' ');
        const auto name =
            percentDecode(space == std::string::npos ? std::string() : line.substr(space + 1));
        if (plainName(name) && entryExists(files() / name))
            kept += line + "\n";
        else
            dropped = true;
    }
    if (!dropped)
        return;
    const std::vector<std::uint8_t> bytes(kept.begin(), kept.end());
    core::plist::writeFileAtomically(cache, bytes, st.st_mode & 07777);
}

} // namespace tpc::system
