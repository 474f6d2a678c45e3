#pragma once
// The "[Group]" / "Key=Value" text files of the desktop: desktop entries and Firefox's
// profiles.ini. Groups and keys keep their file order; comment lines ('#', ';'), blank lines,
// lines before the first group and lines without '=' are skipped. Values are kept raw (no
// unescaping): callers apply the rules of their own format.

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tpc::platform {

class KeyFile {
public:
    struct Group {
        std::string name;
        std::vector<std::pair<std::string, std::string>> entries;

        // The first value of `key`; nullopt when the group has none.
        std::optional<std::string> value(const std::string& key) const;
    };

    static KeyFile parse(const std::string& text);

    const std::vector<Group>& groups() const { return groups_; }
    // The first group of that name.
    const Group* group(const std::string& name) const;

private:
    std::vector<Group> groups_;
};

} // namespace tpc::platform
