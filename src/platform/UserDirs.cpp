#include "platform/UserDirs.h"

#include <sstream>

namespace tpc::platform {

namespace fs = std::filesystem;

namespace {

// The shell word at the start of `text`: a double-quoted string (backslash escapes the next
// character) or the characters up to the first blank.
std::optional<std::string> shellWord(const std::string& text) {
    if (text.empty() || text[0] != '"') {
        auto end = text.find_first_of(" \t\r");
        return text.substr(0, end);
    }
    std::string word;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == '"')
            return word;
        if (text[i] == '\\' && i + 1 < text.size())
            ++i;
        word += text[i];
    }
    return std::nullopt; // no closing quote
}

std::optional<fs::path> expandHome(const std::string& value, const fs::path& home) {
    for (const std::string prefix : {"$HOME", "${HOME}"}) {
        if (value.compare(0, prefix.size(), prefix) != 0)
            continue;
        auto rest = value.substr(prefix.size());
        if (!rest.empty() && rest[0] != '/')
            continue; // "$HOMEDIR/x" is another variable
        return (home / fs::path(rest).relative_path()).lexically_normal();
    }
    if (value.find('$') != std::string::npos)
        return std::nullopt;
    return fs::path(value).lexically_normal();
}

} // namespace

std::optional<fs::path> parseUserDir(const std::string& text, const std::string& variable,
                                     const fs::path& home) {
    std::optional<std::string> value;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        auto first = line.find_first_not_of(" \t");
        if (first == std::string::npos || line[first] == '#')
            continue;
        auto eq = line.find('=', first);
        if (eq == std::string::npos || line.substr(first, eq - first) != variable)
            continue;
        value = shellWord(line.substr(eq + 1));
    }
    if (!value)
        return std::nullopt;
    auto folder = expandHome(*value, home);
    if (!folder || !folder->is_absolute())
        return std::nullopt;
    // The home itself, or a folder holding it, is never a user folder.
    auto fromFolder = home.lexically_normal().lexically_relative(*folder);
    if (!fromFolder.empty() && *fromFolder.begin() != "..")
        return std::nullopt;
    return folder;
}

} // namespace tpc::platform
