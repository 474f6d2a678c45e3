#pragma once
// The file side of the Chromium-family cleaners: recursive counts of cache folders and the
// top-level entries handed to the deletion engine. Existence and kind tests are the file-system
// layer's (fs/Entries.h): a profile folder may be reached through links (isFolderFollowingLinks),
// a database is opened only when it is a regular file at its own name (isRegularFileNoFollow). A
// folder that is counted or emptied is never reached through a symbolic link in its own place
// (links further up its path are the caller's), and entries inside it are handled as themselves.

#include "browsers/sqlite/SQLite.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace tpc::browsers::chromium {

namespace fs = std::filesystem;

// Adds `part` to `total`: counts add up, sizes wrap in unsigned 32 bits and read as signed 32.
void addPair(CountPair& total, const CountPair& part);

// Walks `folder` recursively: every entry adds 1 and its own size, except the folder's own
// entries named in `skipped` and everything beneath them. [0, 0] when the folder is missing,
// not a folder, or a symbolic link.
CountPair countFolderEntries(const fs::path& folder, const std::vector<std::string>& skipped = {});

// Absolute paths of the folder's top-level entries, sorted by name, leaving out `skipped` names;
// none when the folder is a symbolic link.
std::vector<std::string> topLevelEntries(const fs::path& folder,
                                         const std::vector<std::string>& skipped = {});

// Names of the folder's entries that satisfy `accept`, sorted (the profile's databases: links
// along the folder's path are followed).
std::vector<std::string> entryNames(const fs::path& folder,
                                    const std::function<bool(const std::string&)>& accept);

} // namespace tpc::browsers::chromium
