#pragma once
// Reading a whole file together with what identifies it, so that a rewrite can make sure it
// replaces the very file it read. The file is opened without following a link at its own name,
// so a symbolic link is never mistaken for the file it stands in for.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <sys/types.h>
#include <vector>

namespace tpc::fs {

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
std::optional<FileSnapshot> readSnapshot(const std::filesystem::path& path, std::uint64_t limit);
// The entry at `path` is still the file of `snapshot`: same inode, size and modification time.
bool unchangedSince(const std::filesystem::path& path, const FileSnapshot& snapshot);

} // namespace tpc::fs
