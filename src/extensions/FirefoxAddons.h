#pragma once
// Firefox's add-on registry, "extensions.json" in the profile: its "addons" array holds one
// object per add-on. An add-on installed in the profile ("location" "app-profile") lives in
// "<profile>/extensions/<id>.xpi" and is shown by "defaultLocale"."name".

#include <filesystem>
#include <map>
#include <string>

namespace tpc::extensions {

// The shown names of the profile's add-ons by their file name ("<id>.xpi"). Nothing when the
// registry is missing, too large or not JSON of that shape.
std::map<std::string, std::string> firefoxAddonNames(const std::filesystem::path& registry);

// Takes the add-on of file `xpi` out of the registry "extensions.json" of the profile holding its
// extensions folder, rewriting the registry atomically with its owner, group and mode kept and
// every other entry as it was. A registry that is missing, not a regular file, unreadable, or
// without that add-on is left untouched (false).
bool removeFirefoxAddonFromRegistry(const std::filesystem::path& xpi);

} // namespace tpc::extensions
