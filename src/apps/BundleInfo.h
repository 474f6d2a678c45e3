#pragma once
// What the recents engine reads from an application bundle, and the names it builds paths from.

#include "core/Value.h"

#include <string>

namespace tpc::apps {

// "<bundle>/Contents/Info.plist" as a dictionary; null when it is missing or not a dictionary.
core::DictRef readInfoPlist(const std::string& bundlePath);

// Whether `name` can stand as one component of a path (a cache folder, a preference domain):
// not empty, not "." or "..", without '/' or NUL. Identifiers come from files anyone can write,
// and a path built from one must stay inside the folder it is built under.
bool usableAsPathComponent(const std::string& name);

} // namespace tpc::apps
