#pragma once
// What is at a path, each question named by how it treats a symbolic link:
// - "NoFollow": the entry at the path's own name is looked at as it is, so a link is a link
//   (a link to a folder is no folder, a dangling link still exists). Links in the folders above
//   it are followed: that part of the path is the caller's.
// - "FollowingLinks": the question is asked of what the path finally leads to, as stat(2) sees it.
// None of them throws. A missing path, a path that cannot be looked at (a folder above it that
// may not be searched, a name too long, a loop of links) and a dangling link where links are
// followed all answer false, or 0 for a size.

#include <cstdint>
#include <filesystem>

namespace tpc::fs {

// Something is at the path itself: a file, a folder, any link, a dangling one included.
bool entryExists(const std::filesystem::path& path);
// Something is at the end of the path's links; a dangling link does not count.
bool existsFollowingLinks(const std::filesystem::path& path);

// The entry itself is a symbolic link, wherever it points (or does not).
bool isLink(const std::filesystem::path& path);

// The entry itself is a folder; a link to a folder is not one.
bool isFolderNoFollow(const std::filesystem::path& path);
// The path leads to a folder, through links at its own name too.
bool isFolderFollowingLinks(const std::filesystem::path& path);

// The entry itself is a regular file; a link to one is not (the only kind of file a cleaner
// opens to read or rewrite, so nothing is ever written through a link).
bool isRegularFileNoFollow(const std::filesystem::path& path);
// The path leads to a regular file, through links at its own name too.
bool isRegularFileFollowingLinks(const std::filesystem::path& path);

// The entry's own size as lstat(2) gives it (a link's, not its target's); 0 when it cannot be
// looked at.
std::uint64_t entrySizeNoFollow(const std::filesystem::path& path);

} // namespace tpc::fs
