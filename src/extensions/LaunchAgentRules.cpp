#include "extensions/LaunchAgentRules.h"

#include "core/Value.h"
#include "extensions/BundleRules.h"
#include "fs/Entries.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace tpc::extensions {

namespace fs = std::filesystem;

namespace {

std::optional<std::string> agentString(const core::DictRef& agent, const char* key) {
    if (!agent)
        return std::nullopt;
    if (const std::string* text = agent->get(key).string())
        return *text;
    return std::nullopt;
}

bool mentionsJava(const std::optional<std::string>& text) {
    if (!text)
        return false;
    std::string lower = *text;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower.find("java") != std::string::npos;
}

std::vector<std::string> slashComponents(const std::string& text) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;) {
        const auto slash = text.find('/', start);
        parts.push_back(text.substr(start, slash - start));
        if (slash == std::string::npos)
            return parts;
        start = slash + 1;
    }
}

// The program the agent starts, where an application bundle can be found: "Program", else the
// first element of "ProgramArguments" that contains ".app".
std::optional<std::string> agentProgram(const core::DictRef& agent) {
    if (auto program = agentString(agent, "Program"))
        return program;
    const auto arguments = agent ? agent->getArray("ProgramArguments") : nullptr;
    if (!arguments)
        return std::nullopt;
    for (const auto& argument : *arguments)
        if (const std::string* text = argument.string();
            text && text->find(".app") != std::string::npos)
            return *text;
    return std::nullopt;
}

// The components of `program` up to and including the first one ending in ".app"; empty when
// none does.
std::vector<std::string> upToBundle(const std::string& program) {
    std::vector<std::string> kept;
    for (const auto& part : slashComponents(program)) {
        kept.push_back(part);
        if (part.size() > 4 && part.ends_with(".app"))
            return kept;
    }
    return {};
}

core::DictRef readAgent(const fs::path& path) {
    return readInfoDictionary(resolvedLinkPath(path));
}

} // namespace

bool userLaunchAgentCanBeIncludedAtPath(const fs::path& path) {
    const fs::path file = resolvedLinkPath(path);
    if (!tpc::fs::isRegularFileFollowingLinks(file))
        return false;
    // A file that does not read as a property list has neither key to exclude it by.
    const auto agent = readInfoDictionary(file);
    return !mentionsJava(agentString(agent, "Label")) &&
           !mentionsJava(agentString(agent, "Program"));
}

std::optional<std::string> userLaunchAgentNameAtPath(const fs::path& path) {
    const auto agent = readAgent(path);
    const auto label = agentString(agent, "Label");
    const auto program = agentProgram(agent);
    if (!program || !label)
        return label;
    const auto parts = upToBundle(*program);
    if (parts.empty())
        return label;
    return nameWithoutExtension(parts.back()) + " " + extensionOf(*label);
}

std::optional<std::string> userLaunchAgentIconAtPath(const fs::path& path) {
    const auto program = agentProgram(readAgent(path));
    if (!program)
        return std::nullopt;
    const auto parts = upToBundle(*program);
    if (parts.empty())
        return std::nullopt;
    std::string joined;
    for (const auto& part : parts)
        if (!part.empty())
            joined += "/" + part;
    return joined;
}

} // namespace tpc::extensions
