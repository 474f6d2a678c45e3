#pragma once
// Which paths the helper acts on: absolute, normalised, below the root, of bounded length, and
// reached without passing through a symbolic link.

#include <cstddef>
#include <optional>
#include <string>

namespace tpc::helper {

// Bytes of a path, without its terminating zero.
inline constexpr std::size_t kMaxPathLength = 4095;
inline constexpr std::size_t kMaxNameLength = 255;

// Why the text of `path` is not acceptable, or none: it must begin with "/", have no empty, "."
// or ".." components, no trailing "/", no zero byte, must be valid UTF-8 and must not be "/"
// itself.
std::optional<std::string> pathTextProblem(const std::string& path);

// Why a folder above `path` is not acceptable, or none: every folder from the root down to the
// item's parent must exist and be a real folder, not a symbolic link. (The item itself may be a
// link: the deletion engine removes links as links.) This only turns such requests away early:
// the folders may change after the check, so the removal reaches them again without links.
std::optional<std::string> parentFolderProblem(const std::string& path);

} // namespace tpc::helper
