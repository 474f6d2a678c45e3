#pragma once
// The user's preference domains as property-list files in the preferences folder, edited the
// way the defaults tool edits them: delete a key, write a value, add to a dictionary. Domain "D"
// is the file "<folder>/D.plist"; a domain that already ends in ".plist" names the file itself.
// Files are read whether binary or XML and written back as binary, atomically, keeping their
// permission bits (0600 for a new file). A file that is not wholly readable as a property-list
// dictionary (see core::plist::parse) is never rewritten, nor one whose content would not come
// back unchanged from the binary form, and neither is anything but a regular file: a link at the
// domain's place is neither followed nor replaced.

#include "core/Value.h"

#include <filesystem>
#include <optional>
#include <string>

namespace tpc::platform {

class PreferenceDomains {
public:
    explicit PreferenceDomains(std::filesystem::path folder);

    const std::filesystem::path& folder() const { return folder_; }
    std::filesystem::path fileFor(const std::string& domain) const;

    // The domain's dictionary; null when the file is missing, a folder, or not a dictionary.
    core::DictRef read(const std::string& domain) const;

    // "defaults delete DOMAIN KEY": removes the key. A missing file or key changes nothing.
    // True when the file was rewritten.
    bool deleteKey(const std::string& domain, const std::string& key);
    // "defaults write DOMAIN KEY VALUE": stores the string value, creating the file (and the
    // folder) when missing. The tool stores a plain word such as "0" as a string; so does this.
    bool write(const std::string& domain, const std::string& key, const std::string& value);
    // "defaults write DOMAIN KEY -dict-add SUBKEY VALUE": sets SUBKEY in the dictionary under
    // KEY, making that dictionary when it is missing or not a dictionary.
    bool dictAdd(const std::string& domain, const std::string& key, const std::string& subKey,
                 const std::string& value);

private:
    std::filesystem::path folder_;
};

} // namespace tpc::platform
