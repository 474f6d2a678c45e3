#pragma once
// Reading a category's folder without ever following a symbolic link: a folder that is a link
// is not listed, and entries are reported as they are, links included.

#include <filesystem>
#include <string>
#include <vector>

namespace tpc::erase {

// True when something (anything, a dangling link too) is at `path`.
bool entryExists(const std::filesystem::path& path);

// True when `path` itself is a folder, not a link to one.
bool isRealFolder(const std::filesystem::path& path);

// "<folder>/<name>" for every entry of `folder`, hidden ones included, in name order; nothing
// when `folder` is missing, not a folder, or a link.
std::vector<std::string> topLevelEntries(const std::filesystem::path& folder);

} // namespace tpc::erase
