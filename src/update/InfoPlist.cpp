#include "update/InfoPlist.h"

#include "core/PropertyList.h"

#include <system_error>

namespace tpc::update {

namespace fs = std::filesystem;

std::optional<fs::path> runningProgramFolder() {
    std::error_code ec;
    const auto exe = fs::read_symlink("/proc/self/exe", ec);
    if (ec || !exe.is_absolute())
        return std::nullopt;
    return exe.parent_path();
}

std::optional<fs::path> findInfoPlist(const fs::path& programFolder) {
    for (const auto& candidate :
         {programFolder / "Info.plist",
          programFolder.parent_path() / "share" / "tavrin-privacy-cleaner" / "Info.plist"}) {
        std::error_code ec;
        if (fs::is_regular_file(candidate, ec))
            return candidate;
    }
    return std::nullopt;
}

ProgramInfo readProgramInfo(const fs::path& infoPlist) {
    ProgramInfo info;
    const auto list = core::plist::readFile(infoPlist);
    const auto dict = list ? list->dict() : nullptr;
    if (!dict)
        return info;
    if (const std::string* version = dict->get(kShortVersionKey).string())
        info.version = *version;
    if (const std::string* url = dict->get(kCloudPlistUrlKey).string())
        info.cloudPlistUrl = *url;
    return info;
}

} // namespace tpc::update
