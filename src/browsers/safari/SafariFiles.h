#pragma once
// The file side of the Safari cleaner: existence tests that never mistake a symbolic link for the
// store it stands in for, sizes, the recursive count of the cache folder, and reading a file
// together with what identifies it, so that a rewrite can make sure it replaces the very file it
// read.

#include "browsers/sqlite/SQLite.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <sys/types.h>
#include <vector>

namespace tpc::browsers::safari {

namespace fs = std::filesystem;

// Anything at that name, a dangling link included.
bool entryExists(const fs::path& path);
// A folder, reached through links along its path and at its own name.
bool isFolder(const fs::path& path);
// A folder at its own name (a link to one is not).
bool isRealFolder(const fs::path& path);
// A regular file at its own name (a link to one is not): the only kind of store that is read or
// written.
bool isStoreFile(const fs::path& path);
// The entry's own size (a link's, not its target's); 0 when it cannot be read.
std::uint64_t entrySize(const fs::path& path);

// The folder's own size plus, for every entry below it at any depth, 1 and the entry's size
// (unsigned 64-bit). Links inside are counted as themselves and never followed.
CountPair countFolder(const fs::path& folder);

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
