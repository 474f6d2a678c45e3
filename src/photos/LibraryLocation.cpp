#include "photos/LibraryLocation.h"

#include "fs/Entries.h"

namespace tpc::photos {

std::optional<std::filesystem::path>
findDefaultIPhotoLibrary(const std::filesystem::path& pictures) {
    if (pictures.empty() || !tpc::fs::isFolderFollowingLinks(pictures))
        return std::nullopt;
    for (const char* name : {"iPhoto Library", "iPhoto Library.photolibrary"}) {
        auto candidate = pictures / name;
        if (tpc::fs::isFolderFollowingLinks(candidate))
            return candidate;
    }
    return std::nullopt;
}

std::optional<std::size_t>
libraryIconRepresentation(const std::vector<IconRepresentation>& representations) {
    std::optional<std::size_t> chosen;
    for (std::size_t i = 0; i < representations.size(); ++i) {
        const auto& rep = representations[i];
        if (rep.width != kLibraryIconSide || rep.height != kLibraryIconSide)
            continue;
        if (!chosen || rep.pixelsHigh > representations[*chosen].pixelsHigh)
            chosen = i;
    }
    return chosen;
}

} // namespace tpc::photos
