#pragma once
// A temporary folder for one test, removed with everything in it afterwards.

#include <filesystem>
#include <string>

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

} // namespace tpc::test
