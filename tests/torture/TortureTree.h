#pragma once
// The torture fixtures: a victim tree that nothing may change, targets full of what removal code
// trips over (links out to the victim, dangling links, hard links to victim files, a fifo, a
// socket, an unreadable folder, 255-byte names, deep nesting, names that are not UTF-8), and a
// fingerprint of a tree to compare before and after.

#include <filesystem>
#include <string>
#include <vector>

namespace tpc::test::torture {

// Every entry under `root` (not followed through links): relative name bytes, kind, permission
// bits, and a regular file's content, a link's target, a folder's entries in name order. Times
// and link counts are left out (removing a hard link changes the count of the file it shares).
std::string fingerprint(const std::filesystem::path& root);

// The victim: <root>/file.txt, hard.txt, dir/ (with many entries named as a target's are),
// a link inside it and a read-only file.
void buildVictim(const std::filesystem::path& root);

// The names of the victim's "dir": a target's subfolder holds some of them, so that a removal
// that followed a link would hit the victim's files of the same names.
std::vector<std::string> victimDirNames();

// The target at `root` (created), pointing into `victim`. What the current user cannot list
// (the mode-000 folder, unless root) is named by lockedName().
void buildTarget(const std::filesystem::path& root, const std::filesystem::path& victim);
const char* lockedName();

// Relative paths of what is left under `root` (root itself not included), without following
// links and without entering folders that cannot be listed.
std::vector<std::string> leftovers(const std::filesystem::path& root);

// Gives every folder under `root` its owner's permissions back so that it can be removed.
void unlock(const std::filesystem::path& root);

// Whether permissions stop this process (not when running as root).
bool permissionsApply();

} // namespace tpc::test::torture
