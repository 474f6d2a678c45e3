#include "platform/TextFile.h"

#include "fs/Entries.h"

#include <algorithm>
#include <array>
#include <fstream>

namespace tpc::platform {

std::optional<std::string> readTextFile(const std::filesystem::path& file, std::size_t limit) {
    if (!tpc::fs::isRegularFileFollowingLinks(file))
        return std::nullopt;
    std::ifstream in(file, std::ios::binary);
    if (!in)
        return std::nullopt;
    // Read in chunks: /proc files report a size of 0, and most files are far below the limit.
    std::string text;
    std::array<char, 4096> chunk{};
    while (text.size() < limit && in) {
        auto want = std::min(chunk.size(), limit - text.size());
        in.read(chunk.data(), static_cast<std::streamsize>(want));
        text.append(chunk.data(), static_cast<std::size_t>(in.gcount()));
    }
    if (in.bad())
        return std::nullopt;
    return text;
}

} // namespace tpc::platform
