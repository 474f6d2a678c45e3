#pragma once
// Reading the small text files the platform layer looks at (profiles.ini, user-dirs.dirs,
// desktop entries, /proc entries).

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace tpc::platform {

// The file's content, at most `limit` bytes of it; nullopt when it is not a regular file (a link
// to one is followed) or cannot be read. Never blocks on a FIFO or a device.
std::optional<std::string> readTextFile(const std::filesystem::path& file,
                                        std::size_t limit = 1 << 20);

} // namespace tpc::platform
