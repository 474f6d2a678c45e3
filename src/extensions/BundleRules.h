#pragma once
// Which bundles the Extensions manager lists, and under which name: each rule takes the full path
// of a folder entry and reads the bundle's information property list. A missing or unreadable
// property list, or a missing key, always answers "leave it out" (or no name); nothing here
// throws. Unless a rule says otherwise it first resolves a symbolic link one step (the bundle a
// link points at is judged; a link whose destination cannot be read is judged as itself).

#include "core/Value.h"

#include <filesystem>
#include <optional>
#include <string>

namespace tpc::extensions {

// The destination of a link at `path` (a relative one taken from the link's folder); `path`
// itself when it is no link or its destination cannot be read.
std::filesystem::path resolvedLinkPath(const std::filesystem::path& path);

// The top dictionary of the property list `file` when it is a regular file (links followed)
// that reads as one; null otherwise.
core::DictRef readInfoDictionary(const std::filesystem::path& file);

// Dictionaries (no link resolution): "Contents/Info.plist" is there, its "CFBundleName" is not
// exactly "Apple" and its "DCSDictionaryPrimaryLanguage" does not begin with "en". So an English
// dictionary is never listed, whoever made it; both choices are deliberate.
bool dictionaryCanBeIncludedAtPath(const std::filesystem::path& path);
std::optional<std::string> dictionaryNameAtPath(const std::filesystem::path& path);

// Internet plug-ins: "Contents/Info.plist" is a regular file with a "WebPluginName" that does
// not begin with "Java", and no "CFBundleIdentifier" or one that does not begin with "com.apple".
// Named by "WebPluginName".
bool internetPluginCanBeIncludedAtPath(const std::filesystem::path& path);
std::optional<std::string> internetPluginNameAtPath(const std::filesystem::path& path);

// Quick Look and Spotlight plug-ins: "Contents/Info.plist" is a regular file whose
// "CFBundleDocumentTypes" holds an entry with "CFBundleTypeRole" "QLGenerator" (Quick Look) or
// "MDImporter" (Spotlight). Named by "CFBundleName".
bool quickLookPluginCanBeIncludedAtPath(const std::filesystem::path& path);
std::optional<std::string> quickLookPluginNameAtPath(const std::filesystem::path& path);
bool spotlightPluginCanBeIncludedAtPath(const std::filesystem::path& path);
std::optional<std::string> spotlightPluginNameAtPath(const std::filesystem::path& path);

// Widgets: "CFBundleName" of "Info.plist" directly inside the bundle (not under Contents).
std::optional<std::string> widgetNameAtPath(const std::filesystem::path& path);

// The file name without its last extension ("Foo.safariextz" gives "Foo"); the whole name when
// it has none.
std::string nameWithoutExtension(const std::string& fileName);
// The last extension without its dot ("Foo.safariextz" gives "safariextz"); empty for none.
std::string extensionOf(const std::string& fileName);

} // namespace tpc::extensions
