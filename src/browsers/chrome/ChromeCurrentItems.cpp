// The Chrome family's items on the linux layout, as today's releases keep their stores: sessions
// in "Sessions" and "Sessions_Encrypted", history wherever the profile records visited pages,
// form data without the search engines, both login stores, and the top-sites table. Tables are
// looked up before they are counted or emptied, and a store the running browser holds locked is
// reported instead of being taken for empty.

#include "browsers/chrome/ChromeCleaner.h"

#include "browsers/chrome/ChromiumFiles.h"
#include "erase/Deleter.h"
#include "fs/Entries.h"
#include "fs/Folders.h"
#include "platform/Platform.h"

#include <algorithm>
#include <charconv>

namespace tpc::browsers {

namespace fs = std::filesystem;
using stores::TableRows;

namespace {

// The History tables that record visited pages, searches, visit-derived annotations and
// downloads ("meta" and the sync metadata stay, so the store keeps its version).
const std::vector<std::string> kCurrentHistoryTables = {"urls",
                                                        "visits",
                                                        "visit_source",
                                                        "visited_links",
                                                        "keyword_search_terms",
                                                        "segments",
                                                        "segment_usage",
                                                        "content_annotations",
                                                        "context_annotations",
                                                        "clusters",
                                                        "clusters_and_visits",
                                                        "cluster_keywords",
                                                        "cluster_visit_duplicates",
                                                        "downloads",
                                                        "downloads_url_chains",
                                                        "downloads_slices"};

// Form entries, addresses and cards; "keywords" (the search engines) is not form data and
// "token_service" (sign-in) neither.
const std::vector<std::string> kCurrentFormTables = {"autofill",
                                                     "autofill_dates",
                                                     "credit_cards",
                                                     "addresses",
                                                     "address_type_tokens",
                                                     "local_addresses",
                                                     "local_addresses_type_tokens",
                                                     "contact_info",
                                                     "contact_info_type_tokens",
                                                     "autofill_profiles",
                                                     "autofill_profile_names",
                                                     "autofill_profile_emails",
                                                     "autofill_profile_phones",
                                                     "autofill_profile_addresses",
                                                     "autofill_profiles_trash"};

// Saved logins with what hangs on them: per-site statistics (sites and user names), notes and
// compromised-credential records.
const std::vector<std::string> kCurrentLoginTables = {"logins", "stats", "insecure_credentials",
                                                      "password_notes"};

const char* const kSessionFolders[] = {"Sessions", "Sessions_Encrypted"};

// The time a "Session_<time>" or "Tabs_<time>" file was written, from its name; 0 when the
// name carries none.
std::uint64_t chromiumSessionTime(const std::string& name, const std::string& prefix) {
    std::uint64_t time = 0;
    const char* first = name.data() + prefix.size();
    const char* last = name.data() + name.size();
    const auto [end, ec] = std::from_chars(first, last, time);
    return ec == std::errc() && end == last ? time : 0;
}

} // namespace

bool ChromeCleaner::currentLayout() const {
    return env_.platform.layout() == platform::Layout::Linux;
}

std::vector<std::pair<fs::path, std::vector<TableRows>>>
ChromeCleaner::currentStores(Current kind, const fs::path& profile) const {
    std::vector<std::pair<fs::path, std::vector<TableRows>>> list;
    switch (kind) {
    case Current::History:
        for (const auto& [store, tables] : historyStores(profile))
            list.emplace_back(
                store,
                stores::allRowsOf(store.filename() == "History" ? kCurrentHistoryTables : *tables));
        // Which pages had which icon, and the sites the bounce tracking mitigation saw.
        list.emplace_back(profile / "Favicons", stores::allRowsOf({"icon_mapping"}));
        list.emplace_back(profile / "DIPS", stores::allRowsOf({"bounces", "popups"}));
        break;
    case Current::FormData:
        list.emplace_back(profile / "Web Data", stores::allRowsOf(kCurrentFormTables));
        break;
    case Current::Passwords:
        for (const char* name : {"Login Data", "Login Data For Account"})
            list.emplace_back(profile / name, stores::allRowsOf(kCurrentLoginTables));
        break;
    case Current::SiteIcons:
        list.emplace_back(profile / "Favicons", stores::allRowsOf(faviconsTables()));
        break;
    case Current::TopSites:
        list.emplace_back(profile / "Top Sites", stores::allRowsOf({"top_sites", "thumbnails"}));
        break;
    }
    return list;
}

CountPair ChromeCleaner::countCurrent(Current kind) {
    CountPair total;
    for (const auto& folder : profiles())
        for (const auto& [store, rows] : currentStores(kind, folder))
            chromium::addPair(total, stores::countStore(env_, browserName(), store, rows));
    return total;
}

void ChromeCleaner::emptyCurrent(Current kind) {
    for (const auto& folder : profiles())
        for (const auto& [store, rows] : currentStores(kind, folder))
            stores::emptyStore(env_, browserName(), store, rows);
}

std::vector<fs::path> ChromeCleaner::sessionFiles(SessionFile which) const {
    std::vector<fs::path> files;
    for (const auto& folder : profiles())
        addSessionFiles(which, folder, files);
    return files;
}

void ChromeCleaner::addSessionFiles(SessionFile which, const fs::path& profile,
                                    std::vector<fs::path>& files) const {
    const bool tabs = which == SessionFile::CurrentTabs || which == SessionFile::LastTabs;
    const bool current = which == SessionFile::CurrentSession || which == SessionFile::CurrentTabs;
    static const char* const legacy[] = {"Current Session", "Current Tabs", "Last Session",
                                         "Last Tabs"};
    if (tpc::fs::entryExists(profile / legacy[static_cast<int>(which)]))
        files.push_back(profile / legacy[static_cast<int>(which)]);

    const std::string prefix = tabs ? "Tabs_" : "Session_";
    for (const char* sessions : kSessionFolders) {
        const auto dir = profile / sessions;
        if (!tpc::fs::isFolderNoFollow(dir))
            continue;
        std::vector<std::string> names;
        for (const auto& path : tpc::fs::listFolderNoFollow(dir)) {
            auto name = fs::path(path).filename().string();
            if (name.rfind(prefix, 0) == 0 && tpc::fs::isRegularFileNoFollow(path))
                names.push_back(std::move(name));
        }
        if (names.empty())
            continue;
        // The newest by the time in its name is the session being written.
        const auto newest = std::max_element(names.begin(), names.end(),
                                             [&](const std::string& a, const std::string& b) {
                                                 const auto ta = chromiumSessionTime(a, prefix);
                                                 const auto tb = chromiumSessionTime(b, prefix);
                                                 return ta != tb ? ta < tb : a < b;
                                             });
        for (auto it = names.begin(); it != names.end(); ++it)
            if ((it == newest) == current)
                files.push_back(dir / *it);
    }
}

CountPair ChromeCleaner::countSessionFiles(SessionFile which) {
    CountPair total;
    for (const auto& file : sessionFiles(which))
        chromium::addPair(total, {1, static_cast<std::int64_t>(tpc::fs::entrySizeNoFollow(file))});
    return total;
}

void ChromeCleaner::deleteSessionFiles(SessionFile which) {
    std::vector<std::string> paths;
    for (const auto& file : sessionFiles(which))
        paths.push_back(file.string());
    if (!paths.empty())
        env_.deleter.deleteFiles(paths);
}

} // namespace tpc::browsers
