#pragma once
// What removing a marked item of a category does. macos: add-on bundles and startup items go
// through the deletion engine; a Safari extension also leaves Safari's registry; a login item of
// the session's list is taken out of that list and the application it starts stays. linux: only
// the user's own files are deleted (a Firefox add-on also leaves Firefox's registry); a system
// autostart entry is switched off by a hidden user entry of its name, and any other file of the
// system (owned by its packages) is never removed.

#include <string>

namespace tpc::core {
class SystemLog;
}
namespace tpc::erase {
class Deleter;
}
namespace tpc::platform {
class Platform;
}

namespace tpc::extensions {

// A marked item as the clean reads it from its record.
struct MarkedItem {
    std::string path;
    // The record carries "Has Target File Delete Option": an entry of the session's login items.
    bool sessionLoginItem = false;
};

class ExtensionRemoval {
public:
    ExtensionRemoval(platform::Platform& platform, erase::Deleter& deleter, core::SystemLog& log)
        : platform_(platform), deleter_(deleter), log_(log) {}

    // Removes one marked item of the category titled `category`; an unknown title does nothing.
    // Failures are logged and never thrown.
    void removeItem(const std::string& category, const MarkedItem& item);

private:
    void removeMacItem(const std::string& category, const MarkedItem& item);
    void removeLinuxItem(const std::string& category, const MarkedItem& item);
    void deletePath(const std::string& path);
    void leaveSystemFile(const std::string& path);

    platform::Platform& platform_;
    erase::Deleter& deleter_;
    core::SystemLog& log_;
};

} // namespace tpc::extensions
