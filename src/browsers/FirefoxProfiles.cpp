#include "browsers/FirefoxProfiles.h"

#include "fs/Entries.h"
#include "fs/Folders.h"
#include "platform/KeyFile.h"
#include "platform/TextFile.h"

#include <algorithm>
#include <vector>

namespace tpc::browsers::firefox {

namespace fs = std::filesystem;

using platform::KeyFile;

namespace {

fs::path resolve(const std::string& path, bool relative, const fs::path& folder) {
    fs::path p(path);
    if (relative || !p.is_absolute())
        p = folder / p.relative_path();
    return p.lexically_normal();
}

} // namespace

std::optional<fs::path> firstDefaultProfile(const fs::path& folder) {
    // The names come sorted, so the first match is the first in name order.
    for (const auto& name : tpc::fs::folderNamesFollowingLinks(folder))
        if (fs::path(name).extension() == ".default" && tpc::fs::isFolderNoFollow(folder / name))
            return folder / name;
    return std::nullopt;
}

std::vector<fs::path> profilesFromIni(const std::string& iniText, const fs::path& folder) {
    std::vector<fs::path> list;
    if (auto chosen = profileFromIni(iniText, folder))
        list.push_back(*chosen);
    const auto ini = KeyFile::parse(iniText);
    for (const auto& group : ini.groups()) {
        auto path = group.value("Path");
        if (!group.name.starts_with("Profile") || !path || path->empty())
            continue;
        auto resolved = resolve(*path, group.value("IsRelative") == "1", folder);
        if (tpc::fs::isFolderNoFollow(resolved) &&
            std::find(list.begin(), list.end(), resolved) == list.end())
            list.push_back(resolved);
    }
    return list;
}

std::vector<fs::path> allFirefoxProfiles(const fs::path& folder) {
    std::vector<fs::path> list;
    if (auto text = platform::readTextFile(folder / "profiles.ini"))
        list = profilesFromIni(*text, folder);
    if (list.empty())
        if (auto profile = firstDefaultProfile(folder))
            list.push_back(*profile);
    return list;
}

std::optional<fs::path> profileFromIni(const std::string& iniText, const fs::path& folder) {
    auto ini = KeyFile::parse(iniText);
    std::vector<fs::path> choices;
    for (const auto& group : ini.groups())
        if (group.name.starts_with("Install"))
            if (auto path = group.value("Default"); path && !path->empty())
                choices.push_back(resolve(*path, false, folder));

    std::vector<fs::path> profiles;
    std::optional<fs::path> markedDefault;
    for (const auto& group : ini.groups()) {
        if (!group.name.starts_with("Profile"))
            continue;
        auto path = group.value("Path");
        if (!path || path->empty())
            continue;
        auto resolved = resolve(*path, group.value("IsRelative") == "1", folder);
        profiles.push_back(resolved);
        if (!markedDefault && group.value("Default") == "1")
            markedDefault = resolved;
    }
    if (markedDefault)
        choices.push_back(*markedDefault);
    if (profiles.size() == 1)
        choices.push_back(profiles.front());

    for (const auto& choice : choices)
        if (tpc::fs::isFolderNoFollow(choice))
            return choice;
    return std::nullopt;
}

std::optional<fs::path> findFirefoxProfile(const fs::path& folder) {
    if (auto text = platform::readTextFile(folder / "profiles.ini"))
        if (auto profile = profileFromIni(*text, folder))
            return profile;
    return firstDefaultProfile(folder);
}

} // namespace tpc::browsers::firefox
