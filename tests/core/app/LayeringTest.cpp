// The engine's layering, read from the sources: each folder includes headers only of the folders
// below it. The build refuses a wrong-way include too (each library reaches only the folders it
// links); this names the rule where a reader of the tests looks for it.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kSources = fs::path(TPC_SOURCE_DIR) / "src";

// Folder → the other folders whose headers it may include.
const std::map<std::string, std::set<std::string>> kMayInclude = {
    {"core", {}},
    {"fs", {"core"}},
    {"platform", {"core", "fs"}},
    {"erase", {"core", "fs"}},
    {"helper", {"core", "fs", "erase"}},
    {"browsers", {"core", "fs", "platform", "erase"}},
    {"system", {"core", "fs", "platform", "erase"}},
    {"apps", {"core", "fs", "platform", "erase"}},
    {"eraser", {"core", "fs", "platform", "erase"}},
    {"presets", {"core"}},
};

// "folder/...": every quoted include of the folder's sources naming another folder.
std::vector<std::string> foreignIncludes(const std::string& folder) {
    static const std::regex include(R"re(^\s*#\s*include\s*"([a-z]+)/[^"]+")re");
    std::vector<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(kSources / folder)) {
        const auto ext = entry.path().extension();
        if (!entry.is_regular_file() || (ext != ".h" && ext != ".cpp" && ext != ".in"))
            continue;
        std::ifstream in(entry.path());
        std::string line;
        std::smatch m;
        while (std::getline(in, line))
            if (std::regex_search(line, m, include) && m[1] != folder)
                found.push_back(fs::relative(entry.path(), kSources).string() + ": " + line);
    }
    return found;
}

TEST(Layering, CoreIncludesNoOtherSubsystem) {
    ASSERT_TRUE(fs::is_directory(kSources / "core"));
    EXPECT_EQ(foreignIncludes("core"), std::vector<std::string>{});
}

TEST(Layering, EveryEngineFolderIncludesOnlyTheFoldersBelowIt) {
    for (const auto& [folder, allowed] : kMayInclude) {
        if (!fs::is_directory(kSources / folder))
            continue;
        std::vector<std::string> wrong;
        for (const auto& line : foreignIncludes(folder)) {
            static const std::regex named(R"re("([a-z]+)/)re");
            std::smatch m;
            std::regex_search(line, m, named);
            if (!allowed.count(m[1]))
                wrong.push_back(line);
        }
        EXPECT_EQ(wrong, std::vector<std::string>{}) << "in " << folder;
    }
}

} // namespace
