#include "platform/KeyFile.h"

#include <sstream>

namespace tpc::platform {

namespace {

std::string trim(const std::string& text) {
    const char* space = " \t\r\n";
    auto first = text.find_first_not_of(space);
    if (first == std::string::npos)
        return {};
    auto last = text.find_last_not_of(space);
    return text.substr(first, last - first + 1);
}

} // namespace

std::optional<std::string> KeyFile::Group::value(const std::string& key) const {
    for (const auto& [k, v] : entries)
        if (k == key)
            return v;
    return std::nullopt;
}

KeyFile KeyFile::parse(const std::string& text) {
    KeyFile file;
    std::istringstream in(text);
    std::string raw;
    // False before the first group and inside a malformed group header's lines.
    bool inGroup = false;
    while (std::getline(in, raw)) {
        auto line = trim(raw);
        if (line.empty() || line[0] == '#' || line[0] == ';')
            continue;
        if (line.front() == '[') {
            inGroup = line.size() >= 2 && line.back() == ']';
            if (inGroup)
                file.groups_.push_back({line.substr(1, line.size() - 2), {}});
            continue;
        }
        auto eq = line.find('=');
        if (eq == std::string::npos || !inGroup)
            continue;
        auto key = trim(line.substr(0, eq));
        if (!key.empty())
            file.groups_.back().entries.emplace_back(key, trim(line.substr(eq + 1)));
    }
    return file;
}

const KeyFile::Group* KeyFile::group(const std::string& name) const {
    for (const auto& g : groups_)
        if (g.name == name)
            return &g;
    return nullptr;
}

} // namespace tpc::platform
