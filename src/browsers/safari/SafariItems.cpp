// Safari (macos layout): visit history (History.db, or the older History.plist with its
// full-text index HistoryIndex.sk), the web cache folder, cookies not kept, the download list.
// The cookie store is the Cookies.binarycookies files themselves (the one in ~/Library/Cookies
// and the one in Safari's container, whichever exist). A file that cannot be read whole is
// damaged: it counts nothing and is never rewritten. A clean rewrites a file atomically, without
// the cookies whose domain is not kept, and leaves every other cookie exactly as it was. Steps
// on the cache base run whether or not the Safari folder exists.

#include "browsers/ItemRunner.h"
#include "browsers/safari/BinaryCookies.h"
#include "core/PropertyList.h"
#include "core/SystemLog.h"
#include "core/Value.h"
#include "fs/Entries.h"
#include "fs/FileSnapshot.h"
#include "fs/TreeMeasure.h"

namespace tpc::browsers {

namespace fs = std::filesystem;
using namespace safari;

namespace {

// Entry `name` of the Safari folder when it is a regular file (a link counts as missing).
std::optional<fs::path> safariStore(const StepContext& c, const char* name) {
    const auto path = c.place.profile / name;
    return tpc::fs::isRegularFileNoFollow(path) ? std::optional(path) : std::nullopt;
}

// The number of entries of the array under `key` of a property-list file's top dictionary; 0
// when the file cannot be read, is not a dictionary, or has no such array.
std::int64_t arrayEntries(const fs::path& file, const char* key) {
    auto top = core::plist::readFile(file);
    auto array = top && top->isDict() ? top->dict()->getArray(key) : nullptr;
    return array ? static_cast<std::int64_t>(array->size()) : 0;
}

// The database stands for its rows as a whole: its size is the history's size whenever it holds
// at least one row (both in 32 bits). Only without a database is the older property-list store
// looked at: the entries of "WebHistoryDates", sized with History.plist and HistoryIndex.sk.
CountPair countSafariHistory(const StepContext& c) {
    if (auto db = safariStore(c, "History.db")) {
        const auto sqlite = stores::storeDb(*db);
        SQLiteResult result;
        const auto rows = static_cast<std::uint32_t>(
            sqlite.countRows("SELECT * FROM history_items;", &result).count);
        if (!result.ok())
            return {};
        const auto size =
            rows > 0 ? static_cast<std::uint32_t>(tpc::fs::entrySizeNoFollow(*db)) : 0u;
        return {static_cast<std::int32_t>(rows), static_cast<std::int32_t>(size)};
    }
    auto plist = safariStore(c, "History.plist");
    if (!plist)
        return {};
    std::uint64_t size = tpc::fs::entrySizeNoFollow(*plist);
    if (auto index = safariStore(c, "HistoryIndex.sk"))
        size += tpc::fs::entrySizeNoFollow(*index);
    return {arrayEntries(*plist, "WebHistoryDates"), static_cast<std::int64_t>(size)};
}

// Every entry below the cache folder, at any depth, adds 1 and its size; the folder's own size
// counts too.
CountPair countSafariCaches(const StepContext& c) {
    const auto& cache = c.place.cache;
    if (!tpc::fs::isFolderFollowingLinks(cache.parent_path()) || !tpc::fs::isFolderNoFollow(cache))
        return {};
    const auto totals = tpc::fs::measureFolderNoFollow(cache.string());
    return {static_cast<std::int64_t>(totals.count),
            static_cast<std::int64_t>(tpc::fs::entrySizeNoFollow(cache) + totals.bytes)};
}

CountPair countSafariDownloads(const StepContext& c) {
    auto plist = safariStore(c, "Downloads.plist");
    return plist ? CountPair{arrayEntries(*plist, "DownloadHistory"),
                             static_cast<std::int64_t>(tpc::fs::entrySizeNoFollow(*plist))}
                 : CountPair{};
}

// Far beyond any real cookie file; a larger one is not read at all.
constexpr std::uint64_t kLargestCookieFile = 256ull << 20;

struct LoadedCookies {
    tpc::fs::FileSnapshot file;
    std::optional<CookieFile> cookies; // nullopt: damaged (a zero-length file too)
};

std::optional<LoadedCookies> loadCookieFile(const fs::path& path) {
    auto snapshot = tpc::fs::isRegularFileNoFollow(path)
                        ? tpc::fs::readSnapshot(path, kLargestCookieFile)
                        : std::nullopt;
    if (!snapshot)
        return std::nullopt;
    LoadedCookies loaded{std::move(*snapshot), std::nullopt};
    loaded.cookies = safari::read(loaded.file.bytes);
    return loaded;
}

// Each file answers its cookies and its size; a file without cookies (damaged or empty) answers
// [0, 0] whatever its size.
CountPair countSafariCookies(const StepContext& c) {
    CountPair total;
    for (const auto& path : c.env.locations().safariCookieFiles()) {
        auto loaded = loadCookieFile(path);
        if (!loaded || !loaded->cookies || loaded->cookies->cookieCount() == 0)
            continue;
        const auto size = static_cast<std::int64_t>(loaded->file.size);
        total.count += size == 0 ? 0 : static_cast<std::int64_t>(loaded->cookies->cookieCount());
        total.size += size;
    }
    return total;
}

void refreshSafariCookies(const CleanerEnv& env, const BrowserDef&) {
    std::vector<std::string> domains;
    for (const auto& path : env.locations().safariCookieFiles())
        if (auto loaded = loadCookieFile(path); loaded && loaded->cookies)
            for (const auto& page : loaded->cookies->pages)
                for (const auto& cookie : page.cookies)
                    domains.push_back(cookie.domain);
    env.cookies.refreshCookiesList(CookieBrowser::Safari, domains);
}

// Rewrites one cookie file without the cookies that are not kept.
void deleteSafariCookiesIn(const CleanerEnv& env, const fs::path& path) {
    auto loaded = loadCookieFile(path);
    if (!loaded)
        return;
    if (!loaded->cookies || !safari::isWhole(loaded->file.bytes)) {
        // Rewritten only from a complete reading: a file with bytes the reader does not account
        // for (or a wrong checksum) would lose them.
        if (!loaded->file.bytes.empty())
            env.log.log("Safari cookie file is damaged and was left as it is: " + path.string());
        return;
    }
    CookieFile kept = *loaded->cookies;
    bool removed = false;
    for (auto& page : kept.pages)
        std::erase_if(page.cookies, [&](const Cookie& cookie) {
            const auto domain = CookieLists::stripLeadingDots(cookie.domain);
            if (env.cookies.allowedListContains(CookieBrowser::Safari, domain))
                return false;
            env.cookies.removeFromDeleteList(CookieBrowser::Safari, domain);
            return removed = true;
        });
    if (!removed)
        return;
    std::erase_if(kept.pages, [](const CookiePage& page) { return page.cookies.empty(); });
    std::vector<std::uint8_t> bytes;
    try {
        bytes = safari::write(kept);
    } catch (const std::exception& e) {
        env.log.log("Safari cookie file could not be written: " + path.string() + ", " + e.what());
        return;
    }
    if (!tpc::fs::unchangedSince(path, loaded->file)) {
        env.log.log("Safari cookie file changed while it was being cleaned and was left as it "
                    "is: " +
                    path.string());
        return;
    }
    std::string error;
    if (!core::plist::writeFileAtomically(path, bytes, loaded->file.mode & 07777, &error))
        env.log.log("Safari cookie file could not be written: " + path.string() + ", " + error);
}

void deleteSafariCookies(const StepContext& c) {
    if (!c.env.cookies.cookieDeletesAllowed()) {
        c.env.log.log("Safari cookies were not deleted: the list of cookies to keep could not be "
                      "read");
        return;
    }
    for (const auto& path : c.env.locations().safariCookieFiles())
        deleteSafariCookiesIn(c.env, path);
    refreshSafariCookies(c.env, c.browser);
}

// Empties the four History.db tables (the file stays), and removes History.plist and
// HistoryIndex.sk.
std::vector<Step> safariHistorySteps() {
    auto tables = steps::sql(
        {"History.db"},
        steps::tables({"history_items", "history_visits", "history_tombstones", "metadata"}),
        SqlMode::Logged);
    tables.counts = false;
    return {steps::custom(countSafariHistory, nullptr), tables,
            steps::files({"History.plist", "HistoryIndex.sk"}, false)};
}

std::vector<Place> safariPlaces(const CleanerEnv& env, Browser) {
    const auto folder = env.locations().safariFolder();
    return {{tpc::fs::isFolderFollowingLinks(folder) ? folder : fs::path(),
             env.locations().safariCaches()}};
}

} // namespace

const BrowserDef& safariDef() {
    using enum Layouts;
    static const BrowserDef def{
        "Safari",
        Browser::Safari,
        CookieBrowser::Safari,
        "com.apple.Safari",
        "Safari",
        5,
        {{"Internet History", Both, 1, safariHistorySteps()},
         {"Internet Cache",
          Both,
          2,
          {steps::custom(
              countSafariCaches,
              [](const StepContext& c) { items::deleteEntries(c.env, {c.place.cache}); },
              Base::Cache)}},
         {"Cookies",
          Both,
          0,
          {steps::custom(countSafariCookies, deleteSafariCookies, Base::Cache)}},
         {"Download History",
          Both,
          3,
          {steps::custom(countSafariDownloads, nullptr),
           steps::files({"Downloads.plist"}, false)}}},
        safariPlaces,
        {},
        refreshSafariCookies};
    return def;
}

} // namespace tpc::browsers
