#pragma once
// Measuring what a clean would remove, the way every scan counts: a folder is walked at every
// depth and each entry under it (file, folder, link, anything) adds one item and its own size;
// the folder itself is not counted. Anything else counts as one item of its own size, and a
// missing path as nothing. Symbolic links are never followed: a link counts as itself, even when
// it is the measured path (links in the folders above the measured path are the caller's). Never
// throws.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tpc::fs {

struct TreeTotals {
    std::uint64_t count = 0;
    std::uint64_t bytes = 0;
    // False when `aborted` stopped the walk; the totals are then what was met so far.
    bool complete = true;
};

// Sizes are the entries' st_size as lstat reports them. `aborted`, when given, is asked before
// every entry. Folders that cannot be opened or listed (no permission) add nothing below them;
// an entry that vanishes while it is walked adds nothing, one whose attributes cannot be read
// adds one item of no size.
TreeTotals measureTreeNoFollow(const std::string& path, const std::function<bool()>& aborted = {});

// What emptying a folder would remove: every entry under `folder` at any depth, as
// measureTreeNoFollow counts them, leaving out the folder's own entries named in `skipped` and
// everything beneath them. Nothing when `folder` is missing, not a folder, or a link to one (its
// target is never looked at).
TreeTotals measureFolderNoFollow(const std::string& folder,
                                 const std::vector<std::string>& skipped = {},
                                 const std::function<bool()>& aborted = {});

} // namespace tpc::fs
