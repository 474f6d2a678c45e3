#pragma once
// Rewriting other programs' small files in place of the old ones, so that a reader sees the old
// contents or the new ones and never a part: temporary file in the same folder, fsync, rename,
// fsync of the folder.

#include <filesystem>
#include <string>
#include <sys/types.h>

namespace tpc::extensions {

// The owner and permission attributes a rewrite keeps (newPartAtrribsRelatedToOwnerAndPerms-
// ForAttribs): owner, group and mode bits.
struct OwnerAndMode {
    uid_t owner = 0;
    gid_t group = 0;
    mode_t mode = 0;
};

// Replaces the regular file `file` (never a link: one in its place is refused) with `bytes`,
// giving the new file the old one's owner, group and mode before it takes the old one's place
// (an owner this user may not give is left as it comes). False with `error` set when nothing was
// replaced; no temporary file is left behind.
bool replaceKeepingOwner(const std::filesystem::path& file, const std::string& bytes,
                         std::string* error = nullptr);

// Creates `file` with `bytes` and `mode` only if nothing is at that name: the complete file
// appears at once or not at all, and whatever is there already (a file, a link) stays as it is.
bool createNewFile(const std::filesystem::path& file, const std::string& bytes, mode_t mode,
                   std::string* error = nullptr);

} // namespace tpc::extensions
