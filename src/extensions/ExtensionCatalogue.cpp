#include "extensions/ExtensionCatalogue.h"

#include "core/Keys.h"
#include "extensions/AutostartEntries.h"
#include "extensions/BundleRules.h"
#include "extensions/ExtensionKeys.h"
#include "extensions/ExtensionPlaces.h"
#include "extensions/FirefoxAddons.h"
#include "extensions/ShellExtensions.h"
#include "fs/Entries.h"
#include "platform/Platform.h"

#include <map>
#include <memory>

namespace tpc::extensions {

namespace fs = std::filesystem;

namespace {

using NameRule = std::function<std::optional<std::string>(const fs::path&, const std::string&)>;

CategorySource withIcon(const char* title, const char* progressText, const char* icon) {
    CategorySource source;
    source.title = title;
    source.progressText = progressText;
    source.pictureKey = core::keys::Icon;
    source.picture = icon;
    return source;
}

// A category shown by the icon of the application bundle `app`, offered while it is installed.
CategorySource withApplication(const char* title, const char* progressText, const fs::path& app) {
    CategorySource source;
    source.title = title;
    source.progressText = progressText;
    source.pictureKey = core::keys::Path;
    source.picture = app.string();
    source.offered = tpc::fs::existsFollowingLinks(app);
    return source;
}

// Entries taken by an inclusion rule and named by a name rule, both on the entry's full path.
NameRule bundleRule(bool (*included)(const fs::path&),
                    std::optional<std::string> (*named)(const fs::path&)) {
    return [included, named](const fs::path& folder, const std::string& name) {
        const fs::path path = folder / name;
        return included(path) ? named(path) : std::nullopt;
    };
}

// Entries whose last extension is exactly `extension`, named by the file name without it.
NameRule byExtension(std::string extension) {
    return [extension](const fs::path&, const std::string& name) -> std::optional<std::string> {
        if (extensionOf(name) != extension)
            return std::nullopt;
        return nameWithoutExtension(name);
    };
}

std::vector<CategorySource> macosCategories(const ExtensionPlaces& places) {
    std::vector<CategorySource> out;
    const fs::path library = places.userLibrary();
    const fs::path system = places.systemLibrary();

    auto contacts = withApplication(titles::ContactsPlugins, "Scanning Contacts Plugins...",
                                    places.application("Contacts"));
    contacts.folders = {library / "Address Book Plug-Ins"};
    contacts.itemName = [](const fs::path&, const std::string& name) {
        return std::optional<std::string>(name);
    };
    out.push_back(std::move(contacts));

    auto dictionaries = withApplication(titles::Dictionaries, "Scanning Dictionaries...",
                                        places.application("Dictionary"));
    dictionaries.folders = {system / "Dictionaries"};
    dictionaries.itemName = bundleRule(dictionaryCanBeIncludedAtPath, dictionaryNameAtPath);
    out.push_back(std::move(dictionaries));

    auto internet =
        withIcon(titles::InternetPlugins, "Scanning Internet Plugins...", icons::InternetPlugins);
    internet.folders = {library / "Internet Plug-Ins", system / "Internet Plug-Ins"};
    internet.itemName = bundleRule(internetPluginCanBeIncludedAtPath, internetPluginNameAtPath);
    out.push_back(std::move(internet));

    auto quickLook = withIcon(titles::QuickLookPlugins, "Scanning QuickLook Plugins...",
                              icons::QuickLookPlugins);
    quickLook.folders = {system / "QuickLook"};
    quickLook.itemName = bundleRule(quickLookPluginCanBeIncludedAtPath, quickLookPluginNameAtPath);
    out.push_back(std::move(quickLook));

    auto spotlight = withIcon(titles::SpotlightPlugins, "Scanning Spotlight Plugins...",
                              icons::SpotlightPlugins);
    spotlight.folders = {system / "Spotlight"};
    spotlight.itemName = bundleRule(spotlightPluginCanBeIncludedAtPath, spotlightPluginNameAtPath);
    out.push_back(std::move(spotlight));

    auto safari = withApplication(titles::SafariExtensions, "Scanning Safari Extensions...",
                                  places.application("Safari"));
    safari.folders = {library / "Safari" / "Extensions"};
    safari.itemName = byExtension("safariextz");
    out.push_back(std::move(safari));

    auto widgets = withIcon(titles::Widgets, "Scanning Widgets...", icons::DashboardWidgets);
    widgets.folders = {library / "Widgets"};
    widgets.itemName = byExtension("wdgt");
    out.push_back(std::move(widgets));

    auto login = withIcon(titles::LoginItems, "Scanning Login Items...", icons::LoginItems);
    login.alwaysListed = true;
    login.folders = {system / "StartupItems"};
    login.itemName = [](const fs::path&, const std::string& name) {
        return std::optional<std::string>(name + " Startup Item");
    };
    login.sessionLoginItems = true;
    out.push_back(std::move(login));
    return out;
}

// Autostart entries: every "*.desktop" that does not switch itself off. A system entry is listed
// only while no user entry (or entry of a more important system folder) of its name hides it.
NameRule autostartRule(const fs::path& user, const std::vector<fs::path>& system) {
    return [user, system](const fs::path& folder,
                          const std::string& name) -> std::optional<std::string> {
        if (extensionOf(name) != "desktop" || autostartEntryDisabled(folder / name))
            return std::nullopt;
        if (folder != user) {
            if (tpc::fs::entryExists(user / name))
                return std::nullopt;
            for (const auto& earlier : system) {
                if (earlier == folder)
                    break;
                if (tpc::fs::entryExists(earlier / name))
                    return std::nullopt;
            }
        }
        return nameWithoutExtension(name);
    };
}

std::vector<CategorySource> linuxCategories(const ExtensionPlaces& places) {
    std::vector<CategorySource> out;

    auto plugins =
        withIcon(titles::InternetPlugins, "Scanning Internet Plugins...", icons::InternetPlugins);
    plugins.folders = {places.userPlugins(), places.systemPlugins()};
    plugins.itemName = byExtension("so");
    out.push_back(std::move(plugins));

    auto firefox = withIcon(titles::FirefoxExtensions, "Scanning Firefox Extensions...",
                            icons::FirefoxExtensions);
    const auto extensions = places.firefoxExtensions();
    firefox.offered = extensions.has_value();
    if (extensions) {
        firefox.folders = {*extensions};
        auto names = std::make_shared<const std::map<std::string, std::string>>(
            firefoxAddonNames(extensions->parent_path() / "extensions.json"));
        firefox.itemName = [names](const fs::path&,
                                   const std::string& name) -> std::optional<std::string> {
            if (extensionOf(name) != "xpi")
                return std::nullopt;
            const auto found = names->find(name);
            return found != names->end() ? found->second : name;
        };
    }
    out.push_back(std::move(firefox));

    auto shell =
        withIcon(titles::ShellExtensions, "Scanning Shell Extensions...", icons::ShellExtensions);
    shell.folders = {places.shellExtensions()};
    shell.itemName = [](const fs::path& folder, const std::string& name) {
        return shellExtensionNameAtPath(folder / name);
    };
    out.push_back(std::move(shell));

    auto login = withIcon(titles::LoginItems, "Scanning Login Items...", icons::LoginItems);
    login.alwaysListed = true;
    login.folders = {places.userAutostart()};
    const auto system = places.systemAutostart();
    login.folders.insert(login.folders.end(), system.begin(), system.end());
    login.itemName = autostartRule(places.userAutostart(), system);
    out.push_back(std::move(login));
    return out;
}

} // namespace

std::vector<CategorySource> extensionCategories(const platform::Platform& platform) {
    const ExtensionPlaces places(platform);
    return platform.layout() == platform::Layout::MacOS ? macosCategories(places)
                                                        : linuxCategories(places);
}

} // namespace tpc::extensions
