#pragma once
// Desktop shell extensions: one folder per extension in "$XDG_DATA_HOME/gnome-shell/extensions",
// described by the "metadata.json" inside it.

#include <filesystem>
#include <optional>
#include <string>

namespace tpc::extensions {

// The "name" of the folder's "metadata.json" (a link to a folder is judged by that folder);
// nothing when the entry is no folder or the file is missing, not JSON or has no text "name".
std::optional<std::string> shellExtensionNameAtPath(const std::filesystem::path& path);

} // namespace tpc::extensions
