#pragma once
// The program's own information property list: its version ("CFBundleShortVersionString") and
// the address where newer versions are published ("cloudPlistUrl"). The build writes it next to
// each program, and installs it as <prefix>/share/tavrin-privacy-cleaner/Info.plist.

#include <filesystem>
#include <optional>
#include <string>

namespace tpc::update {

inline constexpr const char* kShortVersionKey = "CFBundleShortVersionString";
inline constexpr const char* kCloudPlistUrlKey = "cloudPlistUrl";

// The folder holding the running program; nullopt when the system does not say.
std::optional<std::filesystem::path> runningProgramFolder();

// The information property list of a program in `programFolder`: "Info.plist" beside it (the
// build tree), else "../share/tavrin-privacy-cleaner/Info.plist" (a program installed in
// <prefix>/bin). nullopt when neither is a file.
std::optional<std::filesystem::path> findInfoPlist(const std::filesystem::path& programFolder);

// The two keys the update check reads from an information property list; a key that is absent
// or not a string is nullopt, and so are both when the file is not a readable property list.
struct ProgramInfo {
    std::optional<std::string> version;
    std::optional<std::string> cloudPlistUrl;
};
ProgramInfo readProgramInfo(const std::filesystem::path& infoPlist);

} // namespace tpc::update
