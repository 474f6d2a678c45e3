#pragma once
// The file side of the Safari cleaner: reading a file together with what identifies it, so that a
// rewrite can make sure it replaces the very file it read. Existence and kind tests are the
// file-system layer's (fs/Entries.h): a store is read or written only when it is a regular file at
// its own name (isRegularFileNoFollow), so a symbolic link is never mistaken for the store it
// stands in for.

#include "browsers/sqlite/SQLite.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <sys/types.h>
#include <vector>

namespace tpc::browsers::safari {

namespace fs = std::filesystem;

// A regular file's bytes and identity, read without following a link at its name.
struct FileSnapshot {
    std::vector<std::uint8_t> bytes;
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    std::int64_t mtimeSeconds = 0;
    std::int64_t mtimeNanoseconds = 0;
    mode_t mode = 0;
};
// nullopt when the file is missing, not a regular file, cannot be read, or is larger than
// `limit` bytes.
std::optional<FileSnapshot> readSnapshot(const fs::path& path, std::uint64_t limit);
// The entry at `path` is still the file of `snapshot`: same inode, size and modification time.
bool unchangedSince(const fs::path& path, const FileSnapshot& snapshot);

} // namespace tpc::browsers::safari
