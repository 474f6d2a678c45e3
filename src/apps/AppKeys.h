#pragma once
// The keys of the application list's records and settings file.

namespace tpc::apps::keys {

inline constexpr const char* BundleID = "Bundle ID";
inline constexpr const char* Cache = "Cache";
inline constexpr const char* ClearRecents = "Clear Recents";
inline constexpr const char* DisableRecents = "Disable Recents";
inline constexpr const char* ClearDockRecents = "Clear Dock Recents";
inline constexpr const char* DisableDockRecents = "Disable Dock Recents";
inline constexpr const char* AutoQuit = "Auto Quit";
inline constexpr const char* ArrayOfRecents = "Array Of Recents";

// The six per-application options, in the order the options pop-up lists them.
inline constexpr const char* kOptionFlags[] = {
    Cache, ClearRecents, DisableRecents, ClearDockRecents, DisableDockRecents, AutoQuit};

} // namespace tpc::apps::keys
