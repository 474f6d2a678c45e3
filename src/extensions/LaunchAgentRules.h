#pragma once
// The rules a launch-agents category would use: each takes the path of a launchd property list
// (a link resolved one step, as the bundle rules do). No category lists launch agents today; the
// rules are kept ready for one.

#include <filesystem>
#include <optional>
#include <string>

namespace tpc::extensions {

// The file is a regular file whose "Label" and "Program" (each when present) do not contain
// "Java", in any case.
bool userLaunchAgentCanBeIncludedAtPath(const std::filesystem::path& path);

// From "Program", else from the first "ProgramArguments" element containing ".app": the first
// "/"-separated component ending in ".app", without that extension, a blank and the last dotted
// part of "Label" ("Foo agent" for ".../Foo.app/..." and "com.foo.agent"). Without such a
// component, or without a "Label" to finish the name, the name is the "Label" or nothing.
std::optional<std::string> userLaunchAgentNameAtPath(const std::filesystem::path& path);

// The same search, answering the path up to and including the ".app" component
// ("/Applications/Foo.app"); nothing when there is none.
std::optional<std::string> userLaunchAgentIconAtPath(const std::filesystem::path& path);

} // namespace tpc::extensions
