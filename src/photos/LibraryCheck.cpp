#include "photos/LibraryCheck.h"

#include "core/PropertyList.h"
#include "fs/Entries.h"
#include "photos/PhotoKeys.h"

#include <cstdlib>
#include <vector>

namespace tpc::photos {

namespace {

// The integer at the start of a version component, read the forgiving way ("6b" is 6, "" 0).
long versionComponentValue(const std::string& text) {
    return std::strtol(text.c_str(), nullptr, 10);
}

std::vector<std::string> splitVersion(const std::string& text) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;) {
        const std::size_t dot = text.find('.', start);
        parts.push_back(text.substr(start, dot == std::string::npos ? dot : dot - start));
        if (dot == std::string::npos)
            return parts;
        start = dot + 1;
    }
}

} // namespace

std::filesystem::path resolveDatabasePath(const std::filesystem::path& library) {
    const auto link = library / keys::DatabaseLink;
    if (!tpc::fs::isLink(link))
        return {};
    std::error_code ec;
    const auto destination = std::filesystem::read_symlink(link, ec);
    if (ec || destination.empty() || destination.is_absolute())
        return {};
    return link.parent_path().string() + "/" + destination.string();
}

core::DictRef readLibraryPlist(const std::filesystem::path& file) {
    auto value = core::plist::readFile(file);
    return value ? value->dict() : nullptr;
}

CheckedLibrary checkIPhotoLibrary(const std::filesystem::path& library, bool checkVersion) {
    CheckedLibrary checked;
    const auto albumFile = library / keys::AlbumDataFile;
    checked.databasePath = resolveDatabasePath(library);
    if (!tpc::fs::existsFollowingLinks(albumFile) || checked.databasePath.empty() ||
        !tpc::fs::existsFollowingLinks(checked.databasePath)) {
        checked.failure = LibraryFailure::Missing;
        return checked;
    }
    auto albumData = readLibraryPlist(albumFile);
    auto info = readLibraryPlist(library / keys::InfoFile);
    if (!albumData || !info) {
        checked.failure = LibraryFailure::Corrupt;
        return checked;
    }
    if (checkVersion)
        if (const auto* version = info->get(keys::ShortVersion).string())
            if (isOldLibraryVersion(*version)) {
                checked.failure = LibraryFailure::Old;
                return checked;
            }
    checked.albumData = albumData;
    return checked;
}

bool isOldLibraryVersion(const std::string& shortVersion) {
    const auto parts = splitVersion(shortVersion);
    const long major = versionComponentValue(parts[0]);
    const long minor = parts.size() > 1 ? versionComponentValue(parts[1]) : 0;
    return major < 9 || (major == 9 && minor <= 5);
}

LibraryFailureTexts libraryFailureTexts(LibraryFailure failure) {
    switch (failure) {
    case LibraryFailure::Missing:
        return {"Library Corrupt...", "! Library Corrupt",
                "The selected iPhoto Library is corrupt as an important file is missing inside "
                "it. This feature can only process a healthy Library."};
    case LibraryFailure::Corrupt:
        return {"Library Corrupt...", "! Library Corrupt",
                "The selected iPhoto Library is corrupt as an important file is corrupt inside "
                "it. This feature can only process a healthy Library."};
    case LibraryFailure::Old:
        return {"Library Version is Old...", "! Library Version is Old",
                "The selected iPhoto Library version is old. It is recommended to update your "
                "iPhoto software to the latest available and to open this iPhoto Library with "
                "the latest version of iPhoto software once to upgrade it."};
    case LibraryFailure::None:
        break;
    }
    return {};
}

} // namespace tpc::photos
