#include "FirefoxHarness.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace tpc::browsers::firefox::fxtest {

const char* const kCookiesSchema =
    "CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, originAttributes TEXT NOT NULL DEFAULT "
    "'', name TEXT, value TEXT, host TEXT, path TEXT, expiry INTEGER, lastAccessed INTEGER, "
    "creationTime INTEGER, isSecure INTEGER, isHttpOnly INTEGER, inBrowserElement INTEGER "
    "DEFAULT 0, sameSite INTEGER DEFAULT 0, rawSameSite INTEGER DEFAULT 0, schemeMap INTEGER "
    "DEFAULT 0, CONSTRAINT moz_uniqueid UNIQUE (name, host, path, originAttributes));";

const char* const kDownloadsSchema =
    "CREATE TABLE moz_downloads (id INTEGER PRIMARY KEY, name TEXT, source TEXT, target TEXT, "
    "tempPath TEXT, startTime INTEGER, endTime INTEGER, state INTEGER, referrer TEXT, entityID "
    "TEXT, currBytes INTEGER NOT NULL DEFAULT 0, maxBytes INTEGER NOT NULL DEFAULT -1, mimeType "
    "TEXT, preferredApplication TEXT, preferredAction INTEGER NOT NULL DEFAULT 0, autoResume "
    "INTEGER NOT NULL DEFAULT 0, guid TEXT);";

const char* const kFormHistorySchema =
    "CREATE TABLE moz_formhistory (id INTEGER PRIMARY KEY, fieldname TEXT NOT NULL, value TEXT "
    "NOT NULL, timesUsed INTEGER, firstUsed INTEGER, lastUsed INTEGER, guid TEXT);"
    "CREATE TABLE moz_deleted_formhistory (id INTEGER PRIMARY KEY, timeDeleted INTEGER, guid "
    "TEXT);"
    "CREATE INDEX moz_formhistory_index ON moz_formhistory (fieldname);";

const char* const kSignonsSchema =
    "CREATE TABLE moz_disabledHosts (id INTEGER PRIMARY KEY, hostname TEXT UNIQUE ON CONFLICT "
    "REPLACE);"
    "CREATE TABLE moz_logins (id INTEGER PRIMARY KEY, hostname TEXT NOT NULL, httpRealm TEXT, "
    "formSubmitURL TEXT, usernameField TEXT NOT NULL, passwordField TEXT NOT NULL, "
    "encryptedUsername TEXT NOT NULL, encryptedPassword TEXT NOT NULL, guid TEXT, encType "
    "INTEGER, timeCreated INTEGER, timeLastUsed INTEGER, timePasswordChanged INTEGER, timesUsed "
    "INTEGER);"
    "CREATE TABLE moz_deleted_logins (id INTEGER PRIMARY KEY, guid TEXT, timeDeleted INTEGER);";

const char* const kContentPrefsSchema =
    "CREATE TABLE groups (id INTEGER PRIMARY KEY, name TEXT NOT NULL);"
    "CREATE TABLE settings (id INTEGER PRIMARY KEY, name TEXT NOT NULL);"
    "CREATE TABLE prefs (id INTEGER PRIMARY KEY, groupID INTEGER REFERENCES groups(id), "
    "settingID INTEGER NOT NULL REFERENCES settings(id), value BLOB, timestamp INTEGER NOT NULL "
    "DEFAULT 0);";

const char* const kPlacesWithHostsSchema =
    "CREATE TABLE moz_places (   id INTEGER PRIMARY KEY, url LONGVARCHAR, title LONGVARCHAR, "
    "rev_host LONGVARCHAR, visit_count INTEGER DEFAULT 0, hidden INTEGER DEFAULT 0 NOT NULL, "
    "typed INTEGER DEFAULT 0 NOT NULL, favicon_id INTEGER, frecency INTEGER DEFAULT -1 NOT "
    "NULL, last_visit_date INTEGER , guid TEXT, foreign_count INTEGER DEFAULT 0 NOT NULL, "
    "url_hash INTEGER DEFAULT 0 NOT NULL );"
    "CREATE TABLE moz_historyvisits (  id INTEGER PRIMARY KEY, from_visit INTEGER, place_id "
    "INTEGER, visit_date INTEGER, visit_type INTEGER, session INTEGER);"
    "CREATE TABLE moz_inputhistory (  place_id INTEGER NOT NULL, input LONGVARCHAR NOT NULL, "
    "use_count INTEGER, PRIMARY KEY (place_id, input));"
    "CREATE TABLE moz_hosts (  id INTEGER PRIMARY KEY, host TEXT NOT NULL UNIQUE, frecency "
    "INTEGER, typed INTEGER NOT NULL DEFAULT 0, prefix TEXT);"
    "CREATE TABLE moz_bookmarks (  id INTEGER PRIMARY KEY, type INTEGER, fk INTEGER DEFAULT "
    "NULL, parent INTEGER, position INTEGER, title LONGVARCHAR, keyword_id INTEGER, "
    "folder_type TEXT, dateAdded INTEGER, lastModified INTEGER, guid TEXT);"
    "CREATE TABLE moz_keywords (  id INTEGER PRIMARY KEY AUTOINCREMENT, keyword TEXT UNIQUE, "
    "place_id INTEGER, post_data TEXT);";

const char* const kPlacesWithOriginsSchema =
    "CREATE TABLE moz_origins ( id INTEGER PRIMARY KEY, prefix TEXT NOT NULL, host TEXT NOT "
    "NULL, frecency INTEGER NOT NULL, recalc_frecency INTEGER NOT NULL DEFAULT 0, alt_frecency "
    "INTEGER, recalc_alt_frecency INTEGER NOT NULL DEFAULT 0, UNIQUE (prefix, host) );"
    "CREATE TABLE moz_places (   id INTEGER PRIMARY KEY, url LONGVARCHAR, title LONGVARCHAR, "
    "rev_host LONGVARCHAR, visit_count INTEGER DEFAULT 0, hidden INTEGER DEFAULT 0 NOT NULL, "
    "typed INTEGER DEFAULT 0 NOT NULL, frecency INTEGER DEFAULT -1 NOT NULL, last_visit_date "
    "INTEGER , guid TEXT, foreign_count INTEGER DEFAULT 0 NOT NULL, url_hash INTEGER DEFAULT 0 "
    "NOT NULL , description TEXT, preview_image_url TEXT, site_name TEXT, origin_id INTEGER "
    "REFERENCES moz_origins(id), recalc_frecency INTEGER NOT NULL DEFAULT 0, alt_frecency "
    "INTEGER, recalc_alt_frecency INTEGER NOT NULL DEFAULT 0);"
    "CREATE TABLE moz_historyvisits (  id INTEGER PRIMARY KEY, from_visit INTEGER, place_id "
    "INTEGER, visit_date INTEGER, visit_type INTEGER, session INTEGER, source INTEGER DEFAULT "
    "0 NOT NULL, triggeringPlaceId INTEGER);"
    "CREATE TABLE moz_inputhistory (  place_id INTEGER NOT NULL, input LONGVARCHAR NOT NULL, "
    "use_count INTEGER, PRIMARY KEY (place_id, input));"
    "CREATE TABLE moz_bookmarks (  id INTEGER PRIMARY KEY, type INTEGER, fk INTEGER DEFAULT "
    "NULL, parent INTEGER, position INTEGER, title LONGVARCHAR, keyword_id INTEGER, "
    "folder_type TEXT, dateAdded INTEGER, lastModified INTEGER, guid TEXT NOT NULL DEFAULT '', "
    "syncStatus INTEGER NOT NULL DEFAULT 0, syncChangeCounter INTEGER NOT NULL DEFAULT 1);";

Harness::Harness(platform::Layout layout, const std::string& profileName,
                 const std::string& cookiesPlist) {
    platform::PlatformOptions o;
    o.layout = layout;
    o.home = dir / "home";
    o.root = dir / "root";
    o.runningApps = apps;
    platform = std::make_unique<platform::Platform>(o);
    if (layout == platform::Layout::Linux)
        fs::create_directories(home() / ".mozilla/firefox");
    if (!profileName.empty()) {
        fs::create_directories(BrowserLocations(*platform).firefoxProfilesFolder() / profileName);
        if (layout == platform::Layout::Linux)
            writeFile(BrowserLocations(*platform).firefoxProfilesFolder() / "profiles.ini",
                      "[Profile0]\nName=default\nIsRelative=1\nPath=" + profileName +
                          "\nDefault=1\n");
        profile = BrowserLocations(*platform).firefoxProfile().value_or(fs::path());
        cacheProfile = BrowserLocations(*platform).firefoxCacheProfile().value_or(fs::path());
        if (!cacheProfile.empty())
            fs::create_directories(cacheProfile);
    }

    settings = std::make_unique<core::Settings>(platform->settingsFolder(), log, clock);
    if (!cookiesPlist.empty())
        writeFile(settings->fileFor("Cookies"), cookiesPlist);
    cookies = std::make_unique<CookieLists>(*settings, log);
    cookies->loadCookies();

    deleter = std::make_unique<erase::Deleter>(
        erase::DeleterEnv{abort, [] { return std::int64_t(-1); }, clock, log});
    cleaner =
        std::make_unique<ItemRunner>(CleanerEnv{*platform, *deleter, *cookies, log}, firefoxDef());
}

std::vector<std::string> Harness::logLines(const std::string& prefix) const {
    std::vector<std::string> found;
    for (const auto& line : log.lines())
        if (line.starts_with(prefix))
            found.push_back(line);
    return found;
}

} // namespace tpc::browsers::firefox::fxtest
