#include "eraser/EraserPaths.h"

#include "core/Utf8.h"

#include <filesystem>

namespace tpc::eraser {

std::string normalisedPath(const std::string& path) {
    std::string out = std::filesystem::path(path).lexically_normal().string();
    while (out.size() > 1 && out.back() == '/')
        out.pop_back();
    return out;
}

bool liesInside(const std::string& inner, const std::string& outer) {
    if (outer.empty() || inner.size() <= outer.size())
        return false;
    if (outer == "/")
        return inner.front() == '/';
    return inner.compare(0, outer.size(), outer) == 0 && inner[outer.size()] == '/';
}

bool storablePath(const std::string& path) {
    return path.find('\0') == std::string::npos && core::isValidUtf8(path);
}

std::string lastComponent(const std::string& path) {
    const auto name = std::filesystem::path(path).filename().string();
    return name.empty() ? path : name;
}

} // namespace tpc::eraser
