#pragma once
// XDG autostart entries as the Extensions manager lists and removes them: the user's entries in
// "$XDG_CONFIG_HOME/autostart", the system's in "<config dir>/autostart". The user's file of a
// name wins over the system's; "Hidden=true" in it switches the system entry off.

#include <filesystem>
#include <string>

namespace tpc::extensions {

// The entry switches itself off ("Hidden=true" or "X-GNOME-Autostart-enabled=false" in its
// "[Desktop Entry]" group). An entry that cannot be read does not.
bool autostartEntryDisabled(const std::filesystem::path& entry);

// Switches the system entry `systemEntry` off for this user without touching it: a user entry
// of the same name in `userFolder` (made if missing) with "Hidden=true". Never replaces a user
// entry already there (false then, as for any failure, with `error` set).
bool hideSystemAutostartEntry(const std::filesystem::path& systemEntry,
                              const std::filesystem::path& userFolder,
                              std::string* error = nullptr);

} // namespace tpc::extensions
