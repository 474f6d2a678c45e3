// Safari's history, cache and download items, and quitting Safari.

#include "browsers/safari/SafariCleaner.h"

#include "browsers/safari/SafariFiles.h"
#include "core/PropertyList.h"
#include "core/SystemLog.h"
#include "core/Value.h"
#include "erase/Deleter.h"
#include "fs/Entries.h"
#include "platform/Platform.h"

namespace tpc::browsers {

namespace fs = std::filesystem;
using namespace safari;

namespace {

constexpr const char* kHistoryDb = "History.db";
constexpr const char* kHistoryPlist = "History.plist";
constexpr const char* kHistoryIndex = "HistoryIndex.sk";
constexpr const char* kDownloadsPlist = "Downloads.plist";

// The number of entries of the array under `key` of a property-list file's top dictionary; 0
// when the file cannot be read, is not a dictionary, or has no such array.
std::int64_t arrayEntries(const fs::path& file, const char* key) {
    auto top = core::plist::readFile(file);
    if (!top || !top->isDict())
        return 0;
    auto array = top->dict()->getArray(key);
    return array ? static_cast<std::int64_t>(array->size()) : 0;
}

} // namespace

SafariCleaner::SafariCleaner(CleanerEnv env) : env_(env) {}

std::optional<fs::path> SafariCleaner::safariFolder() const {
    auto folder = env_.locations().safariFolder();
    if (!tpc::fs::isFolderFollowingLinks(folder))
        return std::nullopt;
    return folder;
}

std::optional<fs::path> SafariCleaner::store(const char* name) const {
    auto folder = safariFolder();
    if (!folder || !tpc::fs::isRegularFileNoFollow(*folder / name))
        return std::nullopt;
    return *folder / name;
}

// The database stands for its rows as a whole: its size is the history's size whenever it holds
// at least one row. Only without a database is the older property-list store looked at.
CountPair SafariCleaner::countSafariHistory() {
    if (!safariFolder())
        return {};
    if (auto db = store(kHistoryDb)) {
        SQLite sqlite;
        sqlite.setfileName(kHistoryDb);
        sqlite.setfilePath(db->string());
        SQLiteResult result;
        const auto counted = sqlite.countRows("SELECT * FROM history_items;", &result);
        if (!result.ok())
            return {};
        const auto rows = static_cast<std::uint32_t>(counted.count);
        const auto size =
            rows > 0 ? static_cast<std::uint32_t>(tpc::fs::entrySizeNoFollow(*db)) : 0u;
        return {static_cast<std::int32_t>(rows), static_cast<std::int32_t>(size)};
    }
    if (auto plist = store(kHistoryPlist)) {
        std::uint64_t size = tpc::fs::entrySizeNoFollow(*plist);
        if (auto index = store(kHistoryIndex))
            size += tpc::fs::entrySizeNoFollow(*index);
        return {arrayEntries(*plist, "WebHistoryDates"), static_cast<std::int64_t>(size)};
    }
    return {};
}

void SafariCleaner::deleteSafariHistory() {
    auto folder = safariFolder();
    if (!folder)
        return;
    if (auto db = store(kHistoryDb)) {
        const std::vector<std::string> batch = {
            "DELETE FROM history_items;", "DELETE FROM history_visits;",
            "DELETE FROM history_tombstones;", "DELETE FROM metadata;"};
        SQLite sqlite;
        sqlite.setfileName(kHistoryDb);
        sqlite.setfilePath(db->string());
        SQLiteResult result;
        sqlite.queryMultiple(batch, result);
        if (!result.ok())
            env_.log.log("SQLite failed query: " + batch.back() +
                         " errorCode: " + result.errorCode());
    }
    for (const char* name : {kHistoryPlist, kHistoryIndex})
        if (tpc::fs::entryExists(*folder / name))
            env_.deleter.deleteFiles({(*folder / name).string()});
}

CountPair SafariCleaner::countSafariCaches() {
    const auto cache = env_.locations().safariCaches();
    if (!tpc::fs::isFolderFollowingLinks(cache.parent_path()) || !tpc::fs::isFolderNoFollow(cache))
        return {};
    return countFolder(cache);
}

void SafariCleaner::deleteSafariCaches() {
    const auto cache = env_.locations().safariCaches();
    if (tpc::fs::entryExists(cache))
        env_.deleter.deleteFiles({cache.string()});
}

CountPair SafariCleaner::countSafariDownloadsHistory() {
    auto plist = store(kDownloadsPlist);
    if (!plist)
        return {};
    return {arrayEntries(*plist, "DownloadHistory"),
            static_cast<std::int64_t>(tpc::fs::entrySizeNoFollow(*plist))};
}

void SafariCleaner::deleteSafariDownloadHistory() {
    auto folder = safariFolder();
    if (folder && tpc::fs::entryExists(*folder / kDownloadsPlist))
        env_.deleter.deleteFiles({(*folder / kDownloadsPlist).string()});
}

void SafariCleaner::quitSafari() {
    env_.platform.runningApps().terminate(kBundleIdentifier);
}

} // namespace tpc::browsers
