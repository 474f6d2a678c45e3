#include "platform/DesktopApps.h"

#include "platform/DesktopExec.h"
#include "platform/KeyFile.h"
#include "platform/Platform.h"
#include "platform/TextFile.h"

#include <algorithm>
#include <functional>
#include <map>

namespace tpc::platform {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kExtension = ".desktop";

struct Entry {
    std::optional<DesktopApp> app;
    bool visible = false;
};

std::string baseName(const std::string& program) {
    const auto slash = program.rfind('/');
    return slash == std::string::npos ? program : program.substr(slash + 1);
}

std::string stripExtension(std::string name) {
    if (name.ends_with(kExtension))
        name.resize(name.size() - kExtension.size());
    return name;
}

// "<folder>/a/b.desktop" → "a-b"; nullopt when the file is not under the folder.
std::optional<std::string> idUnder(const fs::path& folder, const fs::path& file) {
    const auto relative = file.lexically_normal().lexically_relative(folder.lexically_normal());
    if (relative.empty() || *relative.begin() == "..")
        return std::nullopt;
    auto id = stripExtension(relative.generic_string());
    std::replace(id.begin(), id.end(), '/', '-');
    return id;
}

std::string deriveId(const Platform& platform, const fs::path& file) {
    for (const auto& folder : applicationFolders(platform))
        if (auto id = idUnder(folder, file))
            return *id;
    return stripExtension(file.filename().string());
}

Entry readEntry(const fs::path& file, const std::function<std::string()>& id) {
    Entry entry;
    auto text = readTextFile(file);
    if (!text)
        return entry;
    const auto keys = KeyFile::parse(*text);
    const auto* group = keys.group("Desktop Entry");
    if (!group)
        return entry;
    entry.visible = group->value("NoDisplay") != "true" && group->value("Hidden") != "true";
    if (group->value("Type") != "Application")
        return entry;
    DesktopApp app;
    app.id = id();
    app.name = unescapeString(group->value("Name").value_or(""));
    if (app.name.empty())
        app.name = app.id;
    app.file = file;
    if (auto exec = group->value("Exec"))
        app.executable = baseName(execProgram(*exec));
    entry.app = std::move(app);
    return entry;
}

// The desktop files under `folder` at any depth, by id; the first file found for an id wins.
void collect(const fs::path& folder, std::map<std::string, fs::path>& files) {
    std::vector<fs::path> found;
    std::error_code ec;
    fs::recursive_directory_iterator it(folder, fs::directory_options::skip_permission_denied, ec);
    for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        const auto& path = it->path();
        std::error_code typeError;
        if (path.filename().string().ends_with(kExtension) && it->is_regular_file(typeError))
            found.push_back(path);
    }
    std::sort(found.begin(), found.end());
    for (const auto& file : found)
        if (auto id = idUnder(folder, file))
            files.emplace(*id, file);
}

} // namespace

std::vector<std::filesystem::path> applicationFolders(const Platform& platform) {
    return {platform.xdgDataHome() / "applications", platform.underRoot("/usr/share/applications")};
}

std::optional<DesktopApp> readDesktopApp(const Platform& platform,
                                         const std::filesystem::path& file, const std::string& id) {
    return readEntry(file, [&] { return id.empty() ? deriveId(platform, file) : id; }).app;
}

bool desktopAppVisible(const std::filesystem::path& file) {
    return readEntry(file, [] { return std::string(); }).visible;
}

std::vector<DesktopApp> listDesktopApps(const Platform& platform) {
    // The user's folder comes first, so its file takes the id before the system's.
    std::map<std::string, fs::path> files;
    for (const auto& folder : applicationFolders(platform))
        collect(folder, files);
    std::vector<DesktopApp> apps;
    for (const auto& [id, file] : files) {
        auto entry = readEntry(file, [&id = id] { return id; });
        if (entry.app && entry.visible)
            apps.push_back(std::move(*entry.app));
    }
    return apps;
}

} // namespace tpc::platform
