#pragma once
// Per browser, the cookie domains to delete and the domains to keep, their search filters, and
// their persistence in the "Cookies" settings file. A browser's cookie clean removes every cookie
// whose domain is not kept.

#include "core/Value.h"

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace tpc::core {
class Settings;
class SystemLog;
} // namespace tpc::core

namespace tpc::browsers {

enum class CookieBrowser { Safari, Firefox, Chrome, Opera };
// "Safari", "Firefox", "Chrome", "Opera".
const char* cookieBrowserName(CookieBrowser browser);
inline constexpr CookieBrowser kCookieBrowsers[] = {CookieBrowser::Safari, CookieBrowser::Firefox,
                                                    CookieBrowser::Chrome, CookieBrowser::Opera};

class CookieLists {
public:
    CookieLists(core::Settings& settings, core::SystemLog& log);

    // Loads the "Cookies" file or creates it with eight empty lists. A file that exists but
    // cannot be read, or lacks one of the eight lists, or has one holding anything but domain
    // strings, is kept aside and, for this run, cookie deletes are refused: deleting cookies the
    // user asked to keep is worse than keeping some the user wanted gone.
    void loadCookies();
    // False when the keep lists could not be read this run (cleaners then delete no cookies and
    // log why).
    bool cookieDeletesAllowed() const { return deletesAllowed_; }
    // The keys of the two lists in the "Cookies" file: "Array <Browser> Cookies Disallowed" and
    // "Array <Browser> Cookies Allowed".
    static std::string disAllowedKey(CookieBrowser b);
    static std::string allowedKey(CookieBrowser b);

    // The full lists and what the tables show (filtered by the search texts).
    const std::vector<std::string>& disAllowed(CookieBrowser b) const;
    const std::vector<std::string>& allowed(CookieBrowser b) const;
    const std::vector<std::string>& disAllowedActive(CookieBrowser b) const;
    const std::vector<std::string>& allowedActive(CookieBrowser b) const;

    // Exact, case-sensitive membership (domains are stored without leading dots).
    bool allowedListContains(CookieBrowser b, const std::string& domain) const;
    bool disAllowedListContains(CookieBrowser b, const std::string& domain) const;

    // Rebuilds the delete list from the browser's cookie domains: leading dots stripped, each
    // domain once, kept domains left out, sorted case-insensitively; then the delete-side search
    // is applied and the file saved.
    void refreshCookiesList(CookieBrowser b, const std::vector<std::string>& cookieDomains);
    // Moves the rows at `activeIndexes` of the delete table to the keep list (and back).
    void sendCookieToKeep(CookieBrowser b, const std::vector<std::size_t>& activeIndexes);
    void sendCookieToDelete(CookieBrowser b, const std::vector<std::size_t>& activeIndexes);
    // Case-insensitive substring filters of the two tables; an empty text shows everything.
    void searchCookiesToDelete(CookieBrowser b, const std::string& text);
    void searchCookiesToKeep(CookieBrowser b, const std::string& text);
    const std::string& deleteSearchText(CookieBrowser b) const;
    const std::string& keepSearchText(CookieBrowser b) const;

    // By domain (the command line): a domain on neither list is added to the target list.
    void keep(CookieBrowser b, const std::string& domain);
    void unkeep(CookieBrowser b, const std::string& domain);
    // After a clean deleted a host's cookies, the host leaves the delete list. Not saved here:
    // the clean refreshes the list afterwards, and the refresh saves.
    void removeFromDeleteList(CookieBrowser b, const std::string& domain);

    // Writes the whole dictionary. False before loadCookies, when the write failed, or when an
    // unreadable "Cookies" file could not be kept aside (it is then never written over).
    bool save();
    // dictCookies as it is saved (null before loadCookies).
    core::DictRef dict() const;

    static std::string stripLeadingDots(const std::string& domain);

private:
    struct Lists {
        std::vector<std::string> disAllowed, allowed, disAllowedActive, allowedActive;
        std::string deleteSearch, keepSearch;
    };
    Lists& lists(CookieBrowser b) { return lists_[static_cast<std::size_t>(b)]; }
    const Lists& lists(CookieBrowser b) const { return lists_[static_cast<std::size_t>(b)]; }
    static core::DictRef freshDict();
    // Moves the entries at `fullIndexes` of `from` to `to` (the receiving list is sorted).
    void move(std::vector<std::string>& from, std::vector<std::string>& to,
              std::vector<std::size_t> fullIndexes);
    // Recomputes both tables of `b` from the full lists and the search texts.
    void applySearches(CookieBrowser b);
    // Copies the full lists into the dictionary.
    void storeLists();

    core::Settings& settings_;
    core::SystemLog& log_;
    std::array<Lists, 4> lists_;
    // For each row of a table, the index of its entry in the full list.
    std::array<std::vector<std::size_t>, 4> disAllowedRows_, allowedRows_;
    core::DictRef dict_;
    bool deletesAllowed_ = true;
    bool savesAllowed_ = true;
};

} // namespace tpc::browsers
