#include "helper/PathPolicy.h"

#include "core/Utf8.h"

#include <sys/stat.h>

namespace tpc::helper {

std::optional<std::string> pathTextProblem(const std::string& path) {
    if (path.empty())
        return "empty path";
    if (path.size() > kMaxPathLength)
        return "path too long";
    if (path.find('\0') != std::string::npos)
        return "zero byte inside the path";
    // The client sends only UTF-8; anything else was mangled on the way or crafted.
    if (!core::isValidUtf8(path))
        return "the path is not valid UTF-8";
    if (path.front() != '/')
        return "not an absolute path";
    if (path == "/")
        return "the root folder";
    std::size_t start = 1;
    for (;;) {
        const std::size_t end = path.find('/', start);
        const std::string name = path.substr(start, end == std::string::npos ? end : end - start);
        if (name.empty())
            return end == std::string::npos ? "trailing slash" : "empty path component";
        if (name == "." || name == "..")
            return "\".\" or \"..\" in the path";
        if (name.size() > kMaxNameLength)
            return "path component too long";
        if (end == std::string::npos)
            return std::nullopt;
        start = end + 1;
    }
}

std::optional<std::string> parentFolderProblem(const std::string& path) {
    // Each prefix ending before a "/" (after the first) names one folder above the item.
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        const std::string folder = path.substr(0, slash);
        struct stat st {};
        if (::lstat(folder.c_str(), &st) != 0)
            return "folder " + folder + " is missing";
        if (S_ISLNK(st.st_mode))
            return "folder " + folder + " is a symbolic link";
        if (!S_ISDIR(st.st_mode))
            return folder + " is not a folder";
    }
    return std::nullopt;
}

} // namespace tpc::helper
