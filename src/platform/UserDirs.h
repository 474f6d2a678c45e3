#pragma once
// The user's special folders from "user-dirs.dirs": shell-style lines such as
// XDG_DOWNLOAD_DIR="$HOME/Downloads" (only "$HOME" is expanded; other values must be absolute).

#include <filesystem>
#include <optional>
#include <string>

namespace tpc::platform {

// The folder the last line assigning `variable` names, with "$HOME" replaced by `home`. nullopt
// when there is no such line, the result is not absolute, or it is the home itself or a folder
// holding it (setting a folder to $HOME switches it off, and cleaning it would mean cleaning the
// whole home).
std::optional<std::filesystem::path> parseUserDir(const std::string& text,
                                                  const std::string& variable,
                                                  const std::filesystem::path& home);

} // namespace tpc::platform
