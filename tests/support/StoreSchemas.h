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
} // namespace schema

} // namespace tpc::test
