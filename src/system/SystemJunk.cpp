#include "system/SystemJunk.h"

#include "core/Keys.h"
#include "core/Record.h"
#include "core/SystemLog.h"
#include "erase/Deleter.h"
#include "fs/Entries.h"
#include "fs/Folders.h"
#include "fs/TreeMeasure.h"
#include "platform/Platform.h"
#include "platform/PreferenceDomains.h"
#include "platform/RecentFiles.h"
#include "platform/SharedFileList.h"
#include "system/FreedesktopTrash.h"

#include <charconv>

namespace tpc::system {

namespace {

namespace fs = std::filesystem;
using platform::RecentFiles;

// The system's recent applications and servers live in this preference domain.
constexpr const char* kRecentItemsDomain = "com.apple.recentitems";
constexpr const char* kRecentApplicationsKey = "RecentApplications";
constexpr const char* kRecentServersKey = "RecentServers";

struct CategoryRow {
    const char* description;
    const char* icon;
    bool marked;
};

// The list's rows in their default order. The Downloads folder holds the user's own files, so
// it is left for the user to choose.
constexpr CategoryRow kRows[] = {
    {kRecentDocuments, "recent docs.png", true},
    {kRecentPlaces, "Recent Places.png", true},
    {kLogs, "Logs.png", true},
    {kTrash, "Trash.png", true},
    {kUserDownloads, "User_Dl.png", false},
};

core::DictRef makeSystemRecord(const CategoryRow& row, std::int64_t position) {
    namespace k = core::keys;
    auto display = core::DictObj::make();
    display->set(k::Icon, row.icon);
    display->set(k::Description, row.description);
    auto rec = core::DictObj::make();
    rec->set(k::Mark, row.marked ? 1 : 0);
    rec->set(k::SizeFormattedString, "0.00 KB");
    rec->set(k::Size, std::uint64_t{0});
    rec->set(k::Count, "0 items");
    rec->set(k::SortedByItem, k::DefaultSort);
    rec->set(k::ValueForDefaultSort, position);
    rec->set(k::IsRootItem, true);
    rec->set(k::DescriptionDictionary, display);
    return rec;
}

// A script's answer read as a 32-bit integer: anything that is not a number reads as 0, and a
// wider number keeps its low 32 bits.
std::int32_t int32Answer(const std::string& output) {
    const auto first = output.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return 0;
    std::int64_t value = 0;
    const char* begin = output.data() + first;
    const auto [ptr, ec] = std::from_chars(begin, output.data() + output.size(), value);
    if (ec != std::errc() || ptr == begin)
        return 0;
    return static_cast<std::int32_t>(value);
}

} // namespace

SystemJunk::SystemJunk(platform::Platform& platform, erase::Deleter& deleter, core::SystemLog& log,
                       std::function<void()> bringWindowToFront)
    : platform_(platform), deleter_(deleter), log_(log),
      bringWindowToFront_(std::move(bringWindowToFront)) {}

core::ArrayRef SystemJunk::populateSystemData() const {
    auto list = core::ArrayObj::make();
    std::int64_t position = 0;
    for (const auto& row : kRows)
        list->append(makeSystemRecord(row, ++position));
    return list;
}

bool SystemJunk::linuxLayout() const {
    return platform_.layout() == platform::Layout::Linux;
}

std::optional<std::int32_t> SystemJunk::runScript(const std::string& source) {
    const auto result = platform_.scriptRunner().run(source);
    if (!result.compiled)
        return std::nullopt;
    // The script has activated the Finder; the user expects to be back in this window.
    if (bringWindowToFront_)
        bringWindowToFront_();
    if (!result.succeeded) {
        // Not for the user (a failing script just counts nothing), but worth a line when GUI
        // scripting is refused.
        log_.log("System junk script failed: " + result.error);
        return std::nullopt;
    }
    return int32Answer(result.output);
}

SystemCount SystemJunk::measure(const std::vector<fs::path>& paths,
                                const std::function<bool()>& aborted) const {
    SystemCount total;
    for (const auto& path : paths) {
        const auto totals = tpc::fs::measureTreeNoFollow(path.string(), aborted);
        total.count += totals.count;
        total.size += totals.bytes;
        if (!totals.complete)
            break;
    }
    return total;
}

SystemCount SystemJunk::measureContents(const fs::path& folder,
                                        const std::function<bool()>& aborted) const {
    // A link in the folder's place is neither walked nor emptied: it counts as nothing.
    if (tpc::fs::isLink(folder))
        return {};
    return measure({folder}, aborted);
}

SystemCount SystemJunk::recentBookmarks(bool folders) const {
    const RecentFiles recent(platform_.recentlyUsedFile());
    const auto totals = recent.count(folders ? RecentFiles::isFolder : RecentFiles::isFile);
    return {totals.count, totals.size};
}

SystemCount SystemJunk::sharedFileList(const char* listKey) const {
    if (linuxLayout())
        return {};
    const platform::PreferenceDomains domains(platform_.preferences());
    const auto plist = domains.read(kRecentItemsDomain);
    if (!plist)
        return {};
    const auto items = platform::controlledItems(plist, listKey);
    if (!items)
        return {};
    return {items->size(), platform::sizeofCustomListItemsArrayElements(items)};
}

SystemCount SystemJunk::countSystemDetailsToClear(const core::DictRef& record,
                                                  const std::function<bool()>& aborted) {
    const auto name = core::description(record);
    if (name == kRecentDocuments) {
        if (linuxLayout())
            return recentBookmarks(false);
        const auto answer = runScript(getRecentItemsCountScript());
        return {answer ? recentItemsCount(*answer) : 0u, 0};
    }
    if (name == kRecentPlaces) {
        if (linuxLayout())
            return recentBookmarks(true);
        const auto answer = runScript(getFinderCountLocationsScript());
        // A negative count is kept as the unsigned pattern the totals add up modulo 2^64.
        return {answer ? static_cast<std::uint64_t>(recentPlacesCount(*answer)) : 0u, 0};
    }
    if (name == kLogs) {
        // linux: log files, each removed as itself; macos: the Logs folder, emptied.
        if (linuxLayout())
            return measure(platform_.logs(), aborted);
        SystemCount total;
        for (const auto& folder : platform_.logs()) {
            const auto part = measureContents(folder, aborted);
            total.count += part.count;
            total.size += part.size;
        }
        return total;
    }
    if (name == kTrash) {
        if (linuxLayout()) {
            const auto totals = FreedesktopTrash(platform_.trash(), deleter_).measure(aborted);
            return {totals.count, totals.bytes};
        }
        return measureContents(platform_.trash(), aborted);
    }
    if (name == kUserDownloads)
        return measureContents(platform_.downloads(), aborted);
    if (name == kApplicationRecents)
        return sharedFileList(kRecentApplicationsKey);
    if (name == kRecentServerList)
        return sharedFileList(kRecentServersKey);
    return {};
}

void SystemJunk::deleteContents(const fs::path& folder) {
    const auto entries = tpc::fs::listFolderNoFollow(folder);
    if (!entries.empty())
        deleter_.deleteFiles(entries);
}

void SystemJunk::deleteSystemData(const core::DictRef& record) {
    const auto name = core::description(record);
    if (name == kRecentDocuments || name == kRecentPlaces) {
        const bool folders = name == kRecentPlaces;
        if (linuxLayout()) {
            RecentFiles recent(platform_.recentlyUsedFile());
            recent.remove(folders ? RecentFiles::isFolder : RecentFiles::isFile);
        } else {
            runScript(folders ? getFinderClearLocationsScript() : getRecentsClearScript());
        }
        return;
    }
    if (name == kLogs) {
        // Log files are only ever removed plainly, whatever the erase setting: they hold
        // nothing worth the time of an overwrite. The Logs folder itself stays.
        std::vector<std::string> paths;
        for (const auto& log : platform_.logs()) {
            if (linuxLayout()) {
                paths.push_back(log.string());
            } else {
                auto inside = tpc::fs::listFolderNoFollow(log);
                paths.insert(paths.end(), inside.begin(), inside.end());
            }
        }
        if (!paths.empty())
            deleter_.simpleDeleteFiles(paths);
        return;
    }
    if (name == kTrash) {
        if (linuxLayout())
            FreedesktopTrash(platform_.trash(), deleter_).empty();
        else
            deleteContents(platform_.trash());
        return;
    }
    if (name == kUserDownloads) {
        deleteContents(platform_.downloads());
        return;
    }
    if ((name == kApplicationRecents || name == kRecentServerList) && !linuxLayout()) {
        platform::PreferenceDomains domains(platform_.preferences());
        domains.deleteKey(kRecentItemsDomain,
                          name == kApplicationRecents ? kRecentApplicationsKey : kRecentServersKey);
    }
}

std::uint64_t SystemJunk::sizeofFXRecentFoldersArrayElements(const core::ArrayRef& items) {
    std::uint64_t total = 0;
    if (!items)
        return total;
    for (const auto& item : items->dicts())
        total +=
            platform::lengthOf(item->get("name")) + platform::lengthOf(item->get("file-bookmark"));
    return total;
}

} // namespace tpc::system
