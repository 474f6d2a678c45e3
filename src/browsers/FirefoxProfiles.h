#pragma once
// Finding the Firefox profiles inside a profiles folder (profiles.ini), for the browser locations.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tpc::browsers::firefox {

// Profiles are real folders only: a link is never taken for a profile, so no cleaner walks
// through one. `folder` itself may be reached through links.

// The first entry of `folder`, in name order, that is a folder whose extension is exactly
// ".default" ("abcd.default"; "abcd.default-release" is not one).
std::optional<std::filesystem::path> firstDefaultProfile(const std::filesystem::path& folder);

// The profile profiles.ini names, in this order: an [Install...] group's Default=, the
// [ProfileN] with Default=1, the only [ProfileN]. Relative paths (IsRelative=1, or any path that
// is not absolute) are taken under `folder`. Only existing folders count: a choice that is not
// one falls through to the next.
std::optional<std::filesystem::path> profileFromIni(const std::string& iniText,
                                                    const std::filesystem::path& folder);

// profiles.ini inside `folder`, else firstDefaultProfile(folder).
std::optional<std::filesystem::path> findFirefoxProfile(const std::filesystem::path& folder);

// Every [ProfileN] of profiles.ini that is an existing folder, in the file's order, with the one
// findFirefoxProfile picks first (each once).
std::vector<std::filesystem::path> profilesFromIni(const std::string& iniText,
                                                   const std::filesystem::path& folder);
// Every profile of `folder`: the profile in use first, then the others profiles.ini lists.
std::vector<std::filesystem::path> allFirefoxProfiles(const std::filesystem::path& folder);

} // namespace tpc::browsers::firefox
