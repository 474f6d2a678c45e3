#pragma once
// The Extensions manager's own record keys, category titles and the texts its tasks show.

namespace tpc::extensions {

namespace keys {
// A login item read from the session's login-item list: removing it takes it out of that list
// instead of deleting the application it starts.
inline constexpr const char* HasTargetFileDeleteOption = "Has Target File Delete Option";
// Carried along with the entry above; never consulted.
inline constexpr const char* DeleteOption = "Delete Option";
// Safari's extension registry ("Extensions.plist" beside the extension files).
inline constexpr const char* InstalledExtensions = "Installed Extensions";
inline constexpr const char* ArchiveFileName = "Archive File Name";
} // namespace keys

// Category titles ("Description" of the roots).
namespace titles {
inline constexpr const char* ContactsPlugins = "Contacts Plugins";
inline constexpr const char* Dictionaries = "Dictionaries";
inline constexpr const char* InternetPlugins = "Internet Plugins";
inline constexpr const char* QuickLookPlugins = "Quick Look Plugins";
inline constexpr const char* SpotlightPlugins = "Spotlight Plugins";
inline constexpr const char* SafariExtensions = "Safari Extensions";
inline constexpr const char* Widgets = "Widgets";
inline constexpr const char* LoginItems = "Login Items";
// The linux layout's own categories.
inline constexpr const char* FirefoxExtensions = "Firefox Extensions";
inline constexpr const char* ShellExtensions = "Shell Extensions";
} // namespace titles

// The pictures of the categories shown by "Icon" (file names of the program's artwork).
namespace icons {
inline constexpr const char* InternetPlugins = "Internet Plugins.png";
inline constexpr const char* QuickLookPlugins = "Quick Look Plugins.png";
inline constexpr const char* SpotlightPlugins = "Spotlight Plugins.png";
inline constexpr const char* DashboardWidgets = "Widgets.png";
inline constexpr const char* LoginItems = "Login Items.png";
inline constexpr const char* FirefoxExtensions = "Firefox Extensions.png";
inline constexpr const char* ShellExtensions = "Shell Extensions.png";
} // namespace icons

} // namespace tpc::extensions
