#pragma once
// The platform options of a fake machine in a temporary folder: its home in `dir`/home and its
// file-system root in `dir`/root.

#include "platform/Platform.h"

#include <filesystem>

namespace tpc::test {

inline platform::PlatformOptions fakePlatformOptions(platform::Layout layout,
                                                     const std::filesystem::path& dir) {
    platform::PlatformOptions o;
    o.layout = layout;
    o.home = dir / "home";
    o.root = dir / "root";
    return o;
}

} // namespace tpc::test
