#include "extensions/BundleRules.h"

#include "core/PropertyList.h"
#include "fs/Entries.h"

namespace tpc::extensions {

namespace fs = std::filesystem;

namespace {

core::DictRef bundleInfo(const fs::path& bundle) {
    return readInfoDictionary(bundle / "Contents" / "Info.plist");
}

// A string value of the dictionary; nullopt when absent or of another kind.
std::optional<std::string> stringOf(const core::DictRef& dict, const char* key) {
    if (!dict)
        return std::nullopt;
    if (const std::string* text = dict->get(key).string())
        return *text;
    return std::nullopt;
}

// Some entry of "CFBundleDocumentTypes" plays `role`.
bool hasDocumentRole(const core::DictRef& info, const std::string& role) {
    const auto types = info ? info->getArray("CFBundleDocumentTypes") : nullptr;
    if (!types || types->empty())
        return false;
    for (const auto& type : types->dicts())
        if (stringOf(type, "CFBundleTypeRole") == role)
            return true;
    return false;
}

bool playsRole(const fs::path& path, const std::string& role) {
    return hasDocumentRole(bundleInfo(resolvedLinkPath(path)), role);
}

} // namespace

fs::path resolvedLinkPath(const fs::path& path) {
    if (!tpc::fs::isLink(path))
        return path;
    std::error_code ec;
    fs::path target = fs::read_symlink(path, ec);
    if (ec || target.empty())
        return path;
    return target.is_absolute() ? target : path.parent_path() / target;
}

core::DictRef readInfoDictionary(const fs::path& file) {
    // Only a regular file is opened: a pipe or a device in its place would block the scan.
    if (!tpc::fs::isRegularFileFollowingLinks(file))
        return nullptr;
    auto value = core::plist::readFile(file);
    return value ? value->dict() : nullptr;
}

bool dictionaryCanBeIncludedAtPath(const fs::path& path) {
    const auto info = bundleInfo(path);
    const auto name = stringOf(info, "CFBundleName");
    const auto language = stringOf(info, "DCSDictionaryPrimaryLanguage");
    return name && *name != "Apple" && language && !language->starts_with("en");
}

std::optional<std::string> dictionaryNameAtPath(const fs::path& path) {
    return stringOf(bundleInfo(path), "CFBundleName");
}

bool internetPluginCanBeIncludedAtPath(const fs::path& path) {
    const auto info = bundleInfo(resolvedLinkPath(path));
    const auto name = stringOf(info, "WebPluginName");
    if (!name || name->starts_with("Java"))
        return false;
    const auto identifier = stringOf(info, "CFBundleIdentifier");
    return !identifier || !identifier->starts_with("com.apple");
}

std::optional<std::string> internetPluginNameAtPath(const fs::path& path) {
    return stringOf(bundleInfo(resolvedLinkPath(path)), "WebPluginName");
}

bool quickLookPluginCanBeIncludedAtPath(const fs::path& path) {
    return playsRole(path, "QLGenerator");
}

std::optional<std::string> quickLookPluginNameAtPath(const fs::path& path) {
    return stringOf(bundleInfo(resolvedLinkPath(path)), "CFBundleName");
}

bool spotlightPluginCanBeIncludedAtPath(const fs::path& path) {
    return playsRole(path, "MDImporter");
}

std::optional<std::string> spotlightPluginNameAtPath(const fs::path& path) {
    return stringOf(bundleInfo(resolvedLinkPath(path)), "CFBundleName");
}

std::optional<std::string> widgetNameAtPath(const fs::path& path) {
    return stringOf(readInfoDictionary(resolvedLinkPath(path) / "Info.plist"), "CFBundleName");
}

std::string nameWithoutExtension(const std::string& fileName) {
    const auto dot = fileName.rfind('.');
    return dot == std::string::npos || dot == 0 ? fileName : fileName.substr(0, dot);
}

std::string extensionOf(const std::string& fileName) {
    const auto dot = fileName.rfind('.');
    return dot == std::string::npos || dot == 0 ? std::string() : fileName.substr(dot + 1);
}

} // namespace tpc::extensions
