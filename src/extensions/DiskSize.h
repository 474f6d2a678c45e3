#pragma once
// What an add-on takes on disk: every size the Extensions manager shows is rounded up to whole
// blocks of the file system that holds it, file by file.

#include <cstdint>
#include <filesystem>

namespace tpc::core {
class SystemLog;
}

namespace tpc::extensions {

// `size` rounded up to a whole number of `block`-byte blocks (a multiple stays as it is; a block
// size of 0 leaves the size alone).
std::uint64_t roundUpToBlocks(std::uint64_t size, std::uint64_t block);

// The block size of the file system holding `path` (statfs). A path that is not UTF-8 text of
// fewer than 512 bytes counts with 4096-byte blocks. When statfs fails, "statfs failed" and the
// reason go to `log` (when given) and 0 is answered: sizes are then not rounded.
std::uint64_t blockSizeForPath(const std::filesystem::path& path, core::SystemLog* log = nullptr);

// onDiskSizeForPath: nothing at the path (a dangling link included) is 0; a symbolic link counts
// as the link itself; a folder is walked at every depth without following links, each entry that
// is not a folder adding its own size rounded up to whole blocks (folders add nothing); anything
// else is its own size rounded up. The block size is the one of the file system holding `path`.
std::uint64_t onDiskSizeForPath(const std::filesystem::path& path, core::SystemLog* log = nullptr);

} // namespace tpc::extensions
