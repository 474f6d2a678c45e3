#pragma once
// The desktop's list of recently used files ($XDG_DATA_HOME/recently-used.xbel): bookmarks of
// files and of folders (MIME type "inode/directory"), each with the applications that registered
// it. Only a file that is wholly well-formed XML (core::plist::checkXml) with an <xbel> root is
// read; it is rewritten atomically with mode 0600, only when something was removed, and only when
// the new text is itself a whole xbel holding every bookmark that stays: a file this cannot fully
// read is never touched.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tpc::platform {

struct RecentBookmark {
    std::string href;
    std::string mimeType;
    // The "name" of every bookmark:application element, in file order.
    std::vector<std::string> applications;

    bool isFolder() const { return mimeType == "inode/directory"; }
};

class RecentFiles {
public:
    explicit RecentFiles(std::filesystem::path file);

    const std::filesystem::path& file() const { return file_; }

    // Every bookmark in file order; nullopt when the file is missing or not a readable xbel.
    std::optional<std::vector<RecentBookmark>> read() const;

    struct Totals {
        std::uint64_t count = 0;
        // The bytes of the bookmarks' addresses (href), the part of the file they take.
        std::uint64_t size = 0;
    };
    // The bookmarks `which` selects; nothing for a missing or unreadable file.
    Totals count(const std::function<bool(const RecentBookmark&)>& which) const;
    // Removes the bookmarks `which` selects and rewrites the file when any went. Answers how many
    // were removed (0 also when the file could not be read or written; a write failure keeps the
    // old file).
    std::size_t remove(const std::function<bool(const RecentBookmark&)>& which);

    static bool isFile(const RecentBookmark& b) { return !b.isFolder(); }
    static bool isFolder(const RecentBookmark& b) { return b.isFolder(); }

private:
    std::filesystem::path file_;
};

} // namespace tpc::platform
