#include "support/TempDir.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>

namespace tpc::test {

TempDir::TempDir() {
    auto pattern = (std::filesystem::temp_directory_path() / "tpc-test-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("cannot create a temporary folder");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ec;
    // Tests may leave read-only folders behind; make them writable so removal succeeds.
    for (auto it = std::filesystem::recursive_directory_iterator(
             path_, std::filesystem::directory_options::skip_permission_denied, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
        if (it->is_directory(ec) && !it->is_symlink(ec))
            std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                         std::filesystem::perm_options::add, ec);
    }
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ec);
    std::filesystem::remove_all(path_, ec);
}

void writeFile(const std::filesystem::path& file, const std::string& content) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary);
    out << content;
}

std::string readFile(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::int64_t ownSize(const std::filesystem::path& path) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0)
        return -1;
    return st.st_size;
}

std::vector<std::string> namesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::uint8_t> bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

} // namespace tpc::test
