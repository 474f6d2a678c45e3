#pragma once
// A temporary folder for one test, removed with everything in it afterwards.

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tpc::test {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& rel) const { return path_ / rel; }

private:
    std::filesystem::path path_;
};

// Writes `content` to `file`, creating its folders.
void writeFile(const std::filesystem::path& file, const std::string& content);
std::string readFile(const std::filesystem::path& file);

// The size of the entry itself (a link is not followed); -1 when it cannot be read.
std::int64_t ownSize(const std::filesystem::path& path);
// The names in `folder`, sorted.
std::vector<std::string> namesIn(const std::filesystem::path& folder);
// The bytes of a text.
std::vector<std::uint8_t> bytesOf(const std::string& text);

} // namespace tpc::test
