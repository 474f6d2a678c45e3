#pragma once
// The table layouts of the browsers' stores, as the browsers create them (the Chrome family's,
// and the Firefox stores the tests reach), for tests that build real stores.

namespace tpc::test {

namespace schema {
extern const char* const kHistory;
extern const char* const kArchivedHistory;
extern const char* const kHistoryIndex;
extern const char* const kCookies;
extern const char* const kWebData;
extern const char* const kLoginData;
extern const char* const kFavicons;
extern const char* const kTopSites;
extern const char* const kOperaStash;
extern const char* const kOperaThumbnails;
extern const char* const kOperaSession;
extern const char* const kFirefoxContentPrefs;
extern const char* const kFirefoxCookies;
// Tables of today's stores: History's newer tables (added to kHistory), Top Sites' "top_sites",
// Login Data's "stats" (added to kLoginData), Web Data's addresses (added to kWebData), the
// DIPS store, and Firefox's annotations (added to places) and favicons.sqlite.
extern const char* const kHistoryCurrentTables;
extern const char* const kTopSitesCurrent;
extern const char* const kLoginStats;
extern const char* const kWebDataAddresses;
extern const char* const kDips;
extern const char* const kFirefoxAnnos;
extern const char* const kFirefoxFavicons;
} // namespace schema

} // namespace tpc::test
