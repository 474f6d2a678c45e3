#pragma once
// Writing a whole buffer to a file descriptor.

#include <cstddef>

namespace tpc::core {

// Writes every byte of `data` to `fd`, going on after interruptions and short writes. False, with
// errno set, on an error or a write that makes no progress.
bool writeAll(int fd, const void* data, std::size_t size);

} // namespace tpc::core
