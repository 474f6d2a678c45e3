#include "apps/AppTraces.h"

#include "apps/AppKeys.h"
#include "apps/BundleInfo.h"
#include "core/Record.h"
#include "core/SystemLog.h"
#include "erase/Deleter.h"
#include "fs/Entries.h"
#include "fs/TreeMeasure.h"
#include "platform/DesktopApps.h"
#include "platform/Platform.h"
#include "platform/PreferenceDomains.h"
#include "platform/RecentFiles.h"
#include "platform/SharedFileList.h"

#include <algorithm>
#include <system_error>
#include <vector>

namespace tpc::apps {

namespace fs = std::filesystem;
using core::DictRef;

namespace {

constexpr const char* kRecentDocuments = "RecentDocuments";
constexpr const char* kRecentDocumentsLimit = "NSRecentDocumentsLimit";
constexpr const char* kOfficeDomain = "com.microsoft.office.plist";

// The sums are kept in 32 bits, as the lists' own numbers are: unsigned arithmetic wraps
// without overflow and is read back as the signed number it was.
struct Sum32 {
    std::uint32_t count = 0;
    std::uint32_t size = 0;
    void add(std::uint64_t c, std::uint64_t s) {
        count += static_cast<std::uint32_t>(c);
        size += static_cast<std::uint32_t>(s);
    }
    AppCount result() const {
        return {static_cast<std::int32_t>(count), static_cast<std::int32_t>(size)};
    }
};

bool flagOn(const DictRef& rec, const char* flag) {
    return rec->getInt(flag) == 1;
}

std::string bundleIdOf(const DictRef& rec) {
    return rec->getString(keys::BundleID);
}

std::string sharedListDomain(const std::string& id) {
    return id + ".LSSharedFileList";
}

std::string sandboxedListDomain(const std::string& id) {
    return id + ".SandboxedPersistentURLs.LSSharedFileList";
}

std::string lowered(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    });
    return s;
}

} // namespace

bool isOfficeBundle(const std::string& bundleId) {
    return bundleId == "com.microsoft.Word" || bundleId == "com.microsoft.Excel" ||
           bundleId == "com.microsoft.Powerpoint";
}

AppTraces::AppTraces(platform::Platform& platform, erase::Deleter& deleter, core::SystemLog& log)
    : platform_(platform), deleter_(deleter), log_(log) {}

bool AppTraces::linuxLayout() const {
    return platform_.layout() == platform::Layout::Linux;
}

std::optional<platform::DesktopApp> AppTraces::desktopApp(const DictRef& record) const {
    const std::string file = core::path(record);
    if (file.empty())
        return std::nullopt;
    return platform::readDesktopApp(platform_, file, bundleIdOf(record));
}

bool AppTraces::usableRecord(const DictRef& record) const {
    if (!record)
        return false;
    const std::string id = bundleIdOf(record);
    if (usableAsPathComponent(id))
        return true;
    log_.log("Skipping the application at path:" + core::path(record) +
             ", its Bundle Identifier cannot name a file:\"" + id + "\"");
    return false;
}

// ---- Counting ----

AppCount AppTraces::countAppDetailsToClear(const DictRef& record,
                                           const std::function<bool()>& aborted) {
    Sum32 sum;
    if (!usableRecord(record))
        return sum.result();

    if (flagOn(record, keys::Cache))
        if (auto cache = cachePath(record); cache && tpc::fs::entryExists(*cache)) {
            const auto totals = tpc::fs::measureTreeNoFollow(cache->string(), aborted);
            sum.add(totals.count, totals.bytes);
        }

    if (linuxLayout()) {
        if (flagOn(record, keys::ClearRecents)) {
            const auto totals =
                platform::RecentFiles(platform_.recentlyUsedFile()).count(bookmarkMatcher(record));
            sum.add(totals.count, totals.size);
        }
        return sum.result();
    }

    const bool recents =
        flagOn(record, keys::ClearRecents) || flagOn(record, keys::ClearDockRecents);
    if (!recents || !tpc::fs::isFolderFollowingLinks(platform_.preferences()))
        return sum.result();
    platform::PreferenceDomains domains(platform_.preferences());
    const std::string id = bundleIdOf(record);
    if (!isOfficeBundle(id)) {
        for (const auto& domain : {sharedListDomain(id), sandboxedListDomain(id)})
            if (auto items = platform::controlledItems(domains.read(domain), kRecentDocuments))
                sum.add(items->size(), platform::sizeofCustomListItemsArrayElements(items));
        return sum.result();
    }

    const auto key = officeMruKey(core::path(record));
    if (!key)
        return sum.result();
    if (auto office = domains.read(kOfficeDomain))
        if (auto mru = office->getArray(*key)) {
            std::uint64_t bytes = 0;
            for (const auto& entry : mru->dicts())
                bytes += platform::lengthOf(entry->get("Access Date")) +
                         platform::lengthOf(entry->get("File Alias"));
            sum.add(mru->size(), bytes);
        }
    return sum.result();
}

// ---- Removing ----

void AppTraces::deleteAppData(const DictRef& record) {
    if (!usableRecord(record))
        return;
    const std::string id = bundleIdOf(record);

    if (flagOn(record, keys::Cache))
        if (auto cache = cachePath(record); cache && tpc::fs::entryExists(*cache))
            deleter_.deleteFiles({cache->string()});

    if (linuxLayout()) {
        if (flagOn(record, keys::ClearRecents))
            platform::RecentFiles(platform_.recentlyUsedFile()).remove(bookmarkMatcher(record));
        if (flagOn(record, keys::AutoQuit))
            quitAppWithBundleID(processIdentifier(record));
        return;
    }

    platform::PreferenceDomains domains(platform_.preferences());
    const bool recents =
        flagOn(record, keys::ClearRecents) || flagOn(record, keys::ClearDockRecents);
    if (recents && tpc::fs::isFolderFollowingLinks(platform_.preferences())) {
        if (isOfficeBundle(id)) {
            if (auto key = officeMruKey(core::path(record)))
                domains.deleteKey(kOfficeDomain, *key);
        } else {
            domains.deleteKey(sharedListDomain(id), kRecentDocuments);
            domains.deleteKey(sandboxedListDomain(id), kRecentDocuments);
        }
    }

    // Quit before the switches are written, so the application does not write its own back.
    if (flagOn(record, keys::AutoQuit))
        quitAppWithBundleID(id);

    if (flagOn(record, keys::DisableRecents))
        domains.write(id, kRecentDocumentsLimit, "0");
    else
        domains.deleteKey(id, kRecentDocumentsLimit);

    if (flagOn(record, keys::DisableDockRecents))
        domains.dictAdd(sharedListDomain(id), kRecentDocuments, "MaxAmount", "0");
    else
        domains.deleteKey(sharedListDomain(id), kRecentDocuments);
}

void AppTraces::quitAppWithBundleID(const std::string& bundleId) {
    if (!bundleId.empty())
        platform_.runningApps().terminate(bundleId);
}

// ---- Paths and keys ----

std::optional<fs::path> AppTraces::cachePath(const DictRef& record) const {
    const fs::path caches = platform_.caches();
    if (!record || !tpc::fs::isFolderFollowingLinks(caches))
        return std::nullopt;
    const std::string id = bundleIdOf(record);
    if (!usableAsPathComponent(id))
        return std::nullopt;
    if (!linuxLayout())
        return isOfficeBundle(id) ? caches / "Microsoft" / "Office" : caches / id;

    const fs::path byId = caches / id;
    if (tpc::fs::entryExists(byId))
        return byId;
    if (auto app = desktopApp(record); app && usableAsPathComponent(app->executable)) {
        const fs::path byExecutable = caches / app->executable;
        if (tpc::fs::entryExists(byExecutable))
            return byExecutable;
    }
    return byId;
}

std::optional<std::string> AppTraces::officeMruKey(const std::string& bundlePath) const {
    auto info = readInfoPlist(bundlePath);
    if (!info)
        return std::nullopt;
    const std::string version = info->getString("CFBundleVersion");
    const std::string signature = info->getString("CFBundleSignature");
    const std::string major = version.substr(0, version.find('.'));
    if (major.empty() || signature.empty())
        return std::nullopt;
    return major + "\\File MRU\\" + signature;
}

std::function<bool(const platform::RecentBookmark&)>
AppTraces::bookmarkMatcher(const DictRef& record) const {
    // The names this application registers its bookmarks under: its desktop id, its program
    // and its shown name. A bookmark shared with another application is left alone.
    std::vector<std::string> names{lowered(bundleIdOf(record)), lowered(core::description(record))};
    if (auto app = desktopApp(record)) {
        names.push_back(lowered(app->executable));
        names.push_back(lowered(app->name));
    }
    std::erase(names, std::string());
    return [names](const platform::RecentBookmark& bookmark) {
        if (bookmark.applications.empty())
            return false;
        return std::all_of(bookmark.applications.begin(), bookmark.applications.end(),
                           [&](const std::string& application) {
                               return std::find(names.begin(), names.end(), lowered(application)) !=
                                      names.end();
                           });
    };
}

std::string AppTraces::processIdentifier(const DictRef& record) const {
    // A program name without dots is the process name itself; otherwise the desktop id, whose
    // last component usually is.
    if (auto app = desktopApp(record);
        app && !app->executable.empty() && app->executable.find('.') == std::string::npos)
        return app->executable;
    return bundleIdOf(record);
}

} // namespace tpc::apps
