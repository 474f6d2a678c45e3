#include "browsers/CookieLists.h"

#include "core/Keys.h"
#include "core/Settings.h"
#include "core/SystemLog.h"

#include <algorithm>
#include <optional>
#include <unordered_set>

namespace tpc::browsers {

namespace {

char foldAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string folded(const std::string& s) {
    std::string out = s;
    std::transform(out.begin(), out.end(), out.begin(), foldAscii);
    return out;
}

bool lessIgnoringCase(const std::string& a, const std::string& b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return static_cast<unsigned char>(foldAscii(x)) < static_cast<unsigned char>(foldAscii(y));
    });
}

void sortIgnoringCase(std::vector<std::string>& list) {
    std::stable_sort(list.begin(), list.end(), lessIgnoringCase);
}

bool contains(const std::vector<std::string>& list, const std::string& s) {
    return std::find(list.begin(), list.end(), s) != list.end();
}

// Removes every entry equal to `s`; true when there was one.
bool removeAll(std::vector<std::string>& list, const std::string& s) {
    const auto before = list.size();
    std::erase(list, s);
    return list.size() != before;
}

// The strings of the array under `key`; nullopt when there is no such array or it holds
// anything but strings (a list read in part must not pass for the whole list).
std::optional<std::vector<std::string>> stringsUnder(const core::DictRef& dict,
                                                     const std::string& key) {
    auto array = dict->getArray(key);
    if (!array)
        return std::nullopt;
    std::vector<std::string> out;
    for (const auto& item : *array) {
        const auto* s = item.string();
        if (!s)
            return std::nullopt;
        out.push_back(*s);
    }
    return out;
}

// Reads the eight lists of a loaded "Cookies" dictionary; false (with the key at fault in
// `bad`) when one of them is missing or damaged.
bool readLists(const core::DictRef& dict, std::array<std::vector<std::string>, 8>& lists,
               std::string& bad) {
    std::size_t i = 0;
    for (auto b : kCookieBrowsers) {
        for (const auto& key : {CookieLists::disAllowedKey(b), CookieLists::allowedKey(b)}) {
            auto list = stringsUnder(dict, key);
            if (!list) {
                bad = key;
                return false;
            }
            lists[i++] = std::move(*list);
        }
    }
    return true;
}

core::Value arrayOf(const std::vector<std::string>& list) {
    auto array = core::ArrayObj::make();
    array->items.reserve(list.size());
    for (const auto& s : list)
        array->append(core::Value(s));
    return core::Value(array);
}

// The rows of a table: every entry of `full` holding `text`, compared case-insensitively, in
// the order of `full`; with their indexes in `full`.
void filter(const std::vector<std::string>& full, const std::string& text,
            std::vector<std::string>& rows, std::vector<std::size_t>& rowIndexes) {
    rows.clear();
    rowIndexes.clear();
    const std::string needle = folded(text);
    for (std::size_t i = 0; i < full.size(); ++i) {
        if (needle.empty() || folded(full[i]).find(needle) != std::string::npos) {
            rows.push_back(full[i]);
            rowIndexes.push_back(i);
        }
    }
}

// The full-list indexes of the table rows `activeIndexes` (rows that do not exist are ignored),
// ascending and each once.
std::vector<std::size_t> fullIndexesOf(const std::vector<std::size_t>& rowIndexes,
                                       const std::vector<std::size_t>& activeIndexes) {
    std::vector<std::size_t> out;
    for (auto row : activeIndexes)
        if (row < rowIndexes.size())
            out.push_back(rowIndexes[row]);
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
    return out;
}

} // namespace

const char* cookieBrowserName(CookieBrowser browser) {
    switch (browser) {
    case CookieBrowser::Safari:
        return "Safari";
    case CookieBrowser::Firefox:
        return "Firefox";
    case CookieBrowser::Chrome:
        return "Chrome";
    case CookieBrowser::Opera:
        return "Opera";
    }
    return "";
}

CookieLists::CookieLists(core::Settings& settings, core::SystemLog& log)
    : settings_(settings), log_(log) {}

std::string CookieLists::disAllowedKey(CookieBrowser b) {
    return std::string("Array ") + cookieBrowserName(b) + " Cookies Disallowed";
}

std::string CookieLists::allowedKey(CookieBrowser b) {
    return std::string("Array ") + cookieBrowserName(b) + " Cookies Allowed";
}

core::DictRef CookieLists::freshDict() {
    auto dict = core::DictObj::make(
        {{core::keys::PresetIndex, -2}, {core::keys::PresetName, core::keys::CookiesName}});
    for (auto b : kCookieBrowsers) {
        dict->set(disAllowedKey(b), core::Value::newArray());
        dict->set(allowedKey(b), core::Value::newArray());
    }
    return dict;
}

void CookieLists::loadCookies() {
    auto loaded = settings_.load(core::keys::CookiesName);
    std::array<std::vector<std::string>, 8> read;
    std::string badKey;
    if (loaded.status == core::Settings::LoadStatus::Loaded &&
        !readLists(loaded.dict, read, badKey)) {
        // A keep list that is missing or holds something else cannot be trusted to be whole:
        // the file is treated as unreadable.
        loaded.status = core::Settings::LoadStatus::Unreadable;
        loaded.keptAsidePath = settings_.keepAside(
            core::keys::CookiesName, "\"" + badKey + "\" is missing or not a list of domains");
    }
    if (loaded.status == core::Settings::LoadStatus::Loaded) {
        dict_ = loaded.dict;
        // The file is named by this key: a dictionary that lost it would be saved elsewhere.
        if (dict_->getString(core::keys::PresetName) != core::keys::CookiesName)
            dict_->set(core::keys::PresetName, core::keys::CookiesName);
        std::size_t i = 0;
        for (auto b : kCookieBrowsers) {
            auto& l = lists(b);
            l.disAllowed = std::move(read[i++]);
            l.allowed = std::move(read[i++]);
            applySearches(b);
        }
        storeLists();
        return;
    }

    if (loaded.status == core::Settings::LoadStatus::Unreadable) {
        // Without the keep lists every cookie would look unkept: refuse cookie deletes rather
        // than delete cookies the user chose to keep.
        deletesAllowed_ = false;
        if (loaded.keptAsidePath.empty()) {
            // The bad file is still in place: it is never written over in this run.
            savesAllowed_ = false;
            log_.log("Cookie keep lists could not be read and could not be kept aside (" +
                     settings_.fileFor(core::keys::CookiesName).string() +
                     "); no cookies will be deleted and the cookie lists will not be saved in "
                     "this run.");
        } else {
            log_.log("Cookie keep lists could not be read (kept aside as " +
                     loaded.keptAsidePath.string() + "); no cookies will be deleted in this run.");
        }
    }

    settings_.ensureFolder();
    dict_ = freshDict();
    for (auto b : kCookieBrowsers) {
        auto& l = lists(b);
        l.disAllowed.clear();
        l.allowed.clear();
        applySearches(b);
    }
    save();
}

const std::vector<std::string>& CookieLists::disAllowed(CookieBrowser b) const {
    return lists(b).disAllowed;
}

const std::vector<std::string>& CookieLists::allowed(CookieBrowser b) const {
    return lists(b).allowed;
}

const std::vector<std::string>& CookieLists::disAllowedActive(CookieBrowser b) const {
    return lists(b).disAllowedActive;
}

const std::vector<std::string>& CookieLists::allowedActive(CookieBrowser b) const {
    return lists(b).allowedActive;
}

bool CookieLists::allowedListContains(CookieBrowser b, const std::string& domain) const {
    return contains(lists(b).allowed, domain);
}

bool CookieLists::disAllowedListContains(CookieBrowser b, const std::string& domain) const {
    return contains(lists(b).disAllowed, domain);
}

void CookieLists::refreshCookiesList(CookieBrowser b,
                                     const std::vector<std::string>& cookieDomains) {
    auto& l = lists(b);
    l.disAllowed.clear();
    std::unordered_set<std::string> seen(l.allowed.begin(), l.allowed.end());
    for (const auto& raw : cookieDomains) {
        std::string domain = stripLeadingDots(raw);
        if (domain.empty())
            continue;
        if (seen.insert(domain).second)
            l.disAllowed.push_back(std::move(domain));
    }
    sortIgnoringCase(l.disAllowed);
    applySearches(b);
    if (dict_)
        save();
}

void CookieLists::move(std::vector<std::string>& from, std::vector<std::string>& to,
                       std::vector<std::size_t> fullIndexes) {
    if (fullIndexes.empty())
        return;
    for (auto i : fullIndexes)
        if (!contains(to, from[i]))
            to.push_back(from[i]);
    // Highest first, so that the lower indexes stay valid.
    for (auto it = fullIndexes.rbegin(); it != fullIndexes.rend(); ++it)
        from.erase(from.begin() + static_cast<std::ptrdiff_t>(*it));
    sortIgnoringCase(to);
}

void CookieLists::sendCookieToKeep(CookieBrowser b, const std::vector<std::size_t>& activeIndexes) {
    auto& l = lists(b);
    auto indexes = fullIndexesOf(disAllowedRows_[static_cast<std::size_t>(b)], activeIndexes);
    if (indexes.empty())
        return;
    move(l.disAllowed, l.allowed, std::move(indexes));
    applySearches(b);
    save();
}

void CookieLists::sendCookieToDelete(CookieBrowser b,
                                     const std::vector<std::size_t>& activeIndexes) {
    auto& l = lists(b);
    auto indexes = fullIndexesOf(allowedRows_[static_cast<std::size_t>(b)], activeIndexes);
    if (indexes.empty())
        return;
    move(l.allowed, l.disAllowed, std::move(indexes));
    applySearches(b);
    save();
}

void CookieLists::searchCookiesToDelete(CookieBrowser b, const std::string& text) {
    auto& l = lists(b);
    l.deleteSearch = text;
    filter(l.disAllowed, l.deleteSearch, l.disAllowedActive,
           disAllowedRows_[static_cast<std::size_t>(b)]);
}

void CookieLists::searchCookiesToKeep(CookieBrowser b, const std::string& text) {
    auto& l = lists(b);
    l.keepSearch = text;
    filter(l.allowed, l.keepSearch, l.allowedActive, allowedRows_[static_cast<std::size_t>(b)]);
}

const std::string& CookieLists::deleteSearchText(CookieBrowser b) const {
    return lists(b).deleteSearch;
}

const std::string& CookieLists::keepSearchText(CookieBrowser b) const {
    return lists(b).keepSearch;
}

void CookieLists::applySearches(CookieBrowser b) {
    auto& l = lists(b);
    searchCookiesToDelete(b, l.deleteSearch);
    searchCookiesToKeep(b, l.keepSearch);
}

void CookieLists::keep(CookieBrowser b, const std::string& domain) {
    const std::string d = stripLeadingDots(domain);
    auto& l = lists(b);
    if (d.empty() || contains(l.allowed, d))
        return;
    removeAll(l.disAllowed, d);
    l.allowed.push_back(d);
    sortIgnoringCase(l.allowed);
    applySearches(b);
    save();
}

void CookieLists::unkeep(CookieBrowser b, const std::string& domain) {
    const std::string d = stripLeadingDots(domain);
    auto& l = lists(b);
    if (d.empty() || contains(l.disAllowed, d))
        return;
    removeAll(l.allowed, d);
    l.disAllowed.push_back(d);
    sortIgnoringCase(l.disAllowed);
    applySearches(b);
    save();
}

void CookieLists::removeFromDeleteList(CookieBrowser b, const std::string& domain) {
    if (!removeAll(lists(b).disAllowed, stripLeadingDots(domain)))
        return;
    applySearches(b);
    storeLists();
}

void CookieLists::storeLists() {
    if (!dict_)
        return;
    for (auto b : kCookieBrowsers) {
        dict_->set(disAllowedKey(b), arrayOf(lists(b).disAllowed));
        dict_->set(allowedKey(b), arrayOf(lists(b).allowed));
    }
}

bool CookieLists::save() {
    if (!dict_)
        return false;
    storeLists();
    if (!savesAllowed_)
        return false;
    return settings_.flushPresetData(dict_);
}

core::DictRef CookieLists::dict() const {
    return dict_;
}

std::string CookieLists::stripLeadingDots(const std::string& domain) {
    const auto first = domain.find_first_not_of('.');
    return first == std::string::npos ? std::string() : domain.substr(first);
}

} // namespace tpc::browsers
