#include "extensions/ExtensionRemoval.h"

#include "core/SystemLog.h"
#include "core/Utf8.h"
#include "erase/Deleter.h"
#include "extensions/AutostartEntries.h"
#include "extensions/ExtensionKeys.h"
#include "extensions/ExtensionPlaces.h"
#include "extensions/FirefoxAddons.h"
#include "extensions/SafariRegistry.h"
#include "platform/Platform.h"

#include <algorithm>
#include <filesystem>
#include <vector>

namespace tpc::extensions {

namespace fs = std::filesystem;

namespace {

bool isOneOf(const std::string& value, std::initializer_list<const char*> choices) {
    return std::any_of(choices.begin(), choices.end(),
                       [&](const char* choice) { return value == choice; });
}

// The item lies directly in `folder` (compared as text, as the scan built it).
bool directlyIn(const std::string& path, const fs::path& folder) {
    return !path.empty() && fs::path(path).parent_path() == folder;
}

} // namespace

void ExtensionRemoval::removeItem(const std::string& category, const MarkedItem& item) {
    if (!fs::path(item.path).is_absolute())
        return;
    if (platform_.layout() == platform::Layout::MacOS)
        removeMacItem(category, item);
    else
        removeLinuxItem(category, item);
}

void ExtensionRemoval::deletePath(const std::string& path) {
    deleter_.deleteFiles({path});
}

void ExtensionRemoval::leaveSystemFile(const std::string& path) {
    log_.log("Not removing item:" + core::displayText(path) +
             ", reason: it belongs to the system's packages");
}

void ExtensionRemoval::removeMacItem(const std::string& category, const MarkedItem& item) {
    if (isOneOf(category, {titles::ContactsPlugins, titles::Dictionaries, titles::InternetPlugins,
                           titles::QuickLookPlugins, titles::SpotlightPlugins, titles::Widgets})) {
        deletePath(item.path);
        return;
    }
    if (category == titles::SafariExtensions) {
        deletePath(item.path);
        removeSafariExtensionFromPListAtPath(item.path);
        return;
    }
    if (category != titles::LoginItems)
        return;
    // Startup items, launch agents and daemons are files of their own (inside those folders:
    // an application merely named like one of them is a login item like any other).
    for (const auto& folder : ExtensionPlaces(platform_).loginItemFileFolders())
        if (item.path.starts_with(folder.string() + "/")) {
            deletePath(item.path);
            return;
        }
    // Any other login item starts an application, which stays: only the list entry goes.
    platform::LoginItems& list = platform_.loginItems();
    if (item.sessionLoginItem && list.available())
        list.disable(item.path);
}

void ExtensionRemoval::removeLinuxItem(const std::string& category, const MarkedItem& item) {
    const ExtensionPlaces places(platform_);
    if (category == titles::InternetPlugins) {
        if (directlyIn(item.path, places.userPlugins()))
            deletePath(item.path);
        else
            leaveSystemFile(item.path);
        return;
    }
    if (category == titles::ShellExtensions) {
        if (directlyIn(item.path, places.shellExtensions()))
            deletePath(item.path);
        return;
    }
    if (category == titles::FirefoxExtensions) {
        const auto folder = places.firefoxExtensions();
        if (folder && directlyIn(item.path, *folder)) {
            deletePath(item.path);
            removeFirefoxAddonFromRegistry(item.path);
        }
        return;
    }
    if (category != titles::LoginItems)
        return;
    if (directlyIn(item.path, places.userAutostart())) {
        deletePath(item.path);
        return;
    }
    for (const auto& folder : places.systemAutostart())
        if (directlyIn(item.path, folder)) {
            std::string error;
            if (!hideSystemAutostartEntry(item.path, places.userAutostart(), &error))
                log_.log("Cannot switch off autostart entry:" + core::displayText(item.path) +
                         ", reason: " + core::displayText(error));
            return;
        }
}

} // namespace tpc::extensions
