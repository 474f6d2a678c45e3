#pragma once
// Safari's extension registry: "Extensions.plist" in the folder of the extension files, whose
// "Installed Extensions" array holds one dictionary per installed extension, named by its
// "Archive File Name" (the file name with its ".safariextz"). Everything else in the file is kept
// as read.

#include <filesystem>

namespace tpc::extensions {

// removeSafariExtensionFromPListAtPath: takes the first entry whose "Archive File Name" is the
// extension's file name out of the registry beside it and rewrites the registry atomically in
// the format it was read in, keeping its owner, group and mode. A registry that is missing, is
// not a regular file, cannot be read, has no "Installed Extensions" or no such entry is left
// untouched (false).
bool removeSafariExtensionFromPListAtPath(const std::filesystem::path& extension);

} // namespace tpc::extensions
