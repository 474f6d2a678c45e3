// The Safari cookie item. The store is the Cookies.binarycookies files: counted cookie by cookie,
// cleaned by rewriting each file without the cookies whose domain is not kept.

#include "browsers/CookieLists.h"
#include "browsers/safari/BinaryCookies.h"
#include "browsers/safari/SafariCleaner.h"
#include "browsers/safari/SafariFiles.h"
#include "core/PropertyList.h"
#include "core/SystemLog.h"
#include "fs/Entries.h"
#include "platform/Platform.h"

#include <stdexcept>

namespace tpc::browsers {

namespace fs = std::filesystem;
using namespace safari;

namespace {

// Far beyond any real cookie file; a larger one is not read at all.
constexpr std::uint64_t kLargestCookieFile = 256ull << 20;

struct LoadedCookies {
    FileSnapshot file;
    std::optional<CookieFile> cookies; // nullopt: damaged (a zero-length file too)
};

// A candidate file that is a regular file and could be read.
std::optional<LoadedCookies> loadCookieFile(const fs::path& path) {
    if (!tpc::fs::isRegularFileNoFollow(path))
        return std::nullopt;
    auto snapshot = readSnapshot(path, kLargestCookieFile);
    if (!snapshot)
        return std::nullopt;
    LoadedCookies loaded{std::move(*snapshot), std::nullopt};
    loaded.cookies = safari::read(loaded.file.bytes);
    return loaded;
}

} // namespace

// Each file answers its cookies and its size; a file without cookies (damaged or empty) answers
// [0, 0] whatever its size.
CountPair SafariCleaner::countSafariCookies() {
    CountPair total;
    for (const auto& path : env_.locations().safariCookieFiles()) {
        auto loaded = loadCookieFile(path);
        if (!loaded || !loaded->cookies)
            continue;
        const auto n = static_cast<std::int64_t>(loaded->cookies->cookieCount());
        const auto s = static_cast<std::int64_t>(loaded->file.size);
        if (n == 0)
            continue;
        total.count += s == 0 ? 0 : n;
        total.size += s;
    }
    return total;
}

void SafariCleaner::deleteSafariCookies() {
    if (!env_.cookies.cookieDeletesAllowed()) {
        env_.log.log("Safari cookies were not deleted: the list of cookies to keep could not be "
                     "read");
        return;
    }
    for (const auto& path : env_.locations().safariCookieFiles())
        deleteCookiesIn(path);
    refreshSafariCookiesList();
}

void SafariCleaner::deleteCookiesIn(const fs::path& path) {
    auto loaded = loadCookieFile(path);
    if (!loaded)
        return;
    if (!loaded->cookies || !safari::isWhole(loaded->file.bytes)) {
        // Rewritten only from a complete reading: a file with bytes the reader does not account
        // for (or a wrong checksum) would lose them.
        if (!loaded->file.bytes.empty())
            env_.log.log("Safari cookie file is damaged and was left as it is: " + path.string());
        return;
    }

    CookieFile kept = *loaded->cookies;
    bool removed = false;
    for (auto& page : kept.pages) {
        std::vector<Cookie> stay;
        for (auto& cookie : page.cookies) {
            const auto domain = CookieLists::stripLeadingDots(cookie.domain);
            if (env_.cookies.allowedListContains(CookieBrowser::Safari, domain)) {
                stay.push_back(std::move(cookie));
                continue;
            }
            env_.cookies.removeFromDeleteList(CookieBrowser::Safari, domain);
            removed = true;
        }
        page.cookies = std::move(stay);
    }
    if (!removed)
        return;
    std::erase_if(kept.pages, [](const CookiePage& page) { return page.cookies.empty(); });

    std::vector<std::uint8_t> bytes;
    try {
        bytes = safari::write(kept);
    } catch (const std::exception& e) {
        env_.log.log("Safari cookie file could not be written: " + path.string() + ", " + e.what());
        return;
    }
    if (!unchangedSince(path, loaded->file)) {
        env_.log.log("Safari cookie file changed while it was being cleaned and was left as it "
                     "is: " +
                     path.string());
        return;
    }
    std::string error;
    if (!core::plist::writeFileAtomically(path, bytes, loaded->file.mode & 07777, &error))
        env_.log.log("Safari cookie file could not be written: " + path.string() + ", " + error);
}

void SafariCleaner::refreshSafariCookiesList() {
    std::vector<std::string> domains;
    for (const auto& path : env_.locations().safariCookieFiles()) {
        auto loaded = loadCookieFile(path);
        if (!loaded || !loaded->cookies)
            continue;
        for (const auto& page : loaded->cookies->pages)
            for (const auto& cookie : page.cookies)
                domains.push_back(cookie.domain);
    }
    env_.cookies.refreshCookiesList(CookieBrowser::Safari, domains);
}

} // namespace tpc::browsers
