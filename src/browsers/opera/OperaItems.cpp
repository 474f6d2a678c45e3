// Opera: the Chrome family's stores in one data folder (no profile level). On macos they are
// counted on fewer tables than are emptied, with the session database; on linux they are the
// family's stores as today's releases keep them. Both have the stash and the thumbnails database.

#include "browsers/ItemRunner.h"
#include "fs/Entries.h"

namespace tpc::browsers {

namespace fs = std::filesystem;
using stores::TableRows;

namespace {

Step operaTables(const char* store, std::vector<TableRows> count, std::vector<TableRows> remove,
                 SqlMode mode) {
    return steps::sql({store}, std::move(count), mode, std::move(remove));
}

// The windows, sized with both session tables; nothing unless both answer.
CountPair operaSessionCount(const StepContext& c) {
    const auto store = c.place.profile / "session.db";
    if (!tpc::fs::isRegularFileNoFollow(store))
        return CountPair{};
    const auto db = stores::storeDb(store);
    SQLiteResult windows, attrs;
    const auto pair = db.countRows("SELECT * FROM windows;", &windows);
    const auto attrsPair = db.countRows("SELECT * FROM window_attrs;", &attrs);
    if (!windows.ok() || !attrs.ok())
        return CountPair{};
    return add32(pair, {0, attrsPair.size});
}

// Firefox's site preferences, in the Firefox profile; no Opera row shows them.
std::optional<fs::path> firefoxPrefsProfile(const CleanerEnv& env) {
    auto profile = env.locations().firefoxProfile();
    return profile && tpc::fs::isFolderFollowingLinks(*profile) ? profile : std::nullopt;
}

CountPair countFirefoxSitePrefs(const StepContext& c) {
    auto profile = firefoxPrefsProfile(c.env);
    return profile
               ? items::countSelects(*profile / "content-prefs.sqlite", {"SELECT * FROM prefs;"})
               : CountPair{};
}

void removeFirefoxSitePrefs(const StepContext& c) {
    {
        auto profile = firefoxPrefsProfile(c.env);
        if (profile)
            items::runBatch(*profile / "content-prefs.sqlite", {"DELETE FROM prefs"});
        c.env.cookies.refreshCookiesList(
            CookieBrowser::Firefox,
            profile ? items::cookieHosts(*profile / "cookies.sqlite", firefoxDef().cookies)
                    : std::vector<std::string>{});
    }
}

std::vector<Place> operaPlaces(const CleanerEnv& env, Browser) {
    const auto data = env.locations().operaData();
    return {{tpc::fs::isFolderFollowingLinks(data) ? data : fs::path(),
             env.locations().operaWebCache()}};
}

} // namespace

const BrowserDef& operaDef() {
    using enum Layouts;
    const auto each = SqlMode::EachLogged;
    const auto quiet = SqlMode::Quiet;
    static const auto history =
        operaTables("History", steps::tables({"urls", "keyword_search_terms", "segments"}),
                    steps::tables({"urls", "visits", "visit_source", "keyword_search_terms",
                                   "segments", "segment_usage"}),
                    each);
    // Counted only without "History"; emptied with it.
    static const auto archived = [&] {
        auto step = operaTables(
            "Archived History", steps::tables({"urls", "keyword_search_terms"}),
            steps::tables({"urls", "visits", "visit_source", "keyword_search_terms"}), each);
        step.countUnless = "History";
        return step;
    }();
    static const auto sessionRows = [&] {
        auto step = operaTables("session.db", {}, steps::tables({"windows", "window_attrs"}), each);
        step.counts = false;
        return std::vector<Step>{steps::custom(operaSessionCount, nullptr), step,
                                 steps::files({"session.dbak"}, false)};
    }();

    static const BrowserDef def{
        "Opera",
        Browser::Opera,
        CookieBrowser::Opera,
        "com.operasoftware.Opera",
        "Opera",
        // Opera weighs 9 on the progress bar although it has eleven items.
        9,
        {{"Internet History", MacOS, 1, {history, archived}},
         {"Internet History", Linux, 1, chromeFamilySteps({"Internet History"})},
         {"Internet Cache", Both, 6, {steps::tree(StepKind::Folder, Base::Cache, "")}},
         {"Cookies", MacOS, 0, {steps::cookies(quiet)}},
         {"Cookies", Linux, 0, {steps::cookies(SqlMode::Current)}},
         {"Download History",
          MacOS,
          2,
          {operaTables("History", steps::tables({"downloads"}),
                       steps::tables({"downloads", "downloads_url_chains"}), each)}},
         {"Download History",
          Linux,
          2,
          {operaTables("History",
                       steps::tables({"downloads", "downloads_url_chains", "downloads_slices"}), {},
                       SqlMode::Current)}},
         {"Saved Form Information",
          MacOS,
          3,
          {operaTables("Web Data",
                       steps::tables({"autofill", "credit_cards", "keywords", "token_service"}),
                       steps::tables({"autofill", "credit_cards", "autofill_dates",
                                      "autofill_profiles", "autofill_profile_names",
                                      "autofill_profile_emails", "autofill_profile_phones",
                                      "autofill_profiles_trash", "keywords", "token_service"}),
                       quiet)},
          Refresh::Always},
         {"Saved Form Information", Linux, 3, chromeFamilySteps({"Saved Form Information"})},
         {"Saved Passwords",
          MacOS,
          4,
          {operaTables("Login Data", steps::tables({"logins"}), {}, quiet)},
          Refresh::Always},
         {"Saved Passwords", Linux, 4, chromeFamilySteps({"Saved Passwords"})},
         {"Sessions", MacOS, 5, sessionRows},
         {"Sessions", Linux, 5,
          // The older files first: until they are gone the newest is told apart from them.
          chromeFamilySteps({"Last Session", "Last Tabs", "Current Session", "Current Tabs"})},
         {"Application Cache",
          Both,
          7,
          {steps::tree(StepKind::Contents, Base::Profile, "GPUCache")}},
         {"Stash",
          Both,
          8,
          {operaTables("stash.db", steps::tables({"stash", "snapshots"}),
                       steps::tables({"stash", "stash_fts_content", "stash_fts_segments",
                                      "stash_fts_segdir", "snapshots", "task_queue"}),
                       quiet)},
          Refresh::Always},
         {"Thumbnails",
          Both,
          9,
          {operaTables("thumbnails.db", steps::tables({"thumbnails"}), {}, quiet)},
          Refresh::Always},
         {"Site Storage", Linux, 10, chromeFamilySteps({"Site Storage"})},
         // On the cache base: it runs whether or not Opera's data folder exists.
         {"Site Preferences",
          Both,
          -1,
          {steps::custom(countFirefoxSitePrefs, removeFirefoxSitePrefs, Base::Cache)}}},
        operaPlaces,
        {{"Cookies", "Network/Cookies"}, "cookies", "host_key"}};
    return def;
}

} // namespace tpc::browsers
