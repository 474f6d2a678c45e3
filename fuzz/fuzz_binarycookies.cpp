// Cookies.binarycookies: the reader on any bytes, the writer on what it read, and the rewrite the
// Safari cleaner makes when it deletes cookies (read a snapshot, drop the cookies not kept, write
// the rest atomically). A file that did not read whole must keep every byte.

#include "FuzzSupport.h"

#include "browsers/safari/BinaryCookies.h"
#include "core/PropertyList.h"
#include "fs/Entries.h"
#include "fs/FileSnapshot.h"

#include <stdexcept>

namespace safari = tpc::browsers::safari;
namespace plist = tpc::core::plist;
using namespace tpc::fuzz;

namespace {

// The keep rule of this run: domains (without leading dots) of even length stay.
bool kept(const safari::Cookie& cookie) {
    const auto first = cookie.domain.find_first_not_of('.');
    const auto length = first == std::string::npos ? 0 : cookie.domain.size() - first;
    return length % 2 == 0;
}

// The cleaner's rewrite of one file, step by step (as the Safari cookie item does it).
bool deleteCookiesIn(const std::filesystem::path& path) {
    if (!tpc::fs::isRegularFileNoFollow(path))
        return false;
    auto snapshot = tpc::fs::readSnapshot(path, 256ull << 20);
    if (!snapshot)
        return false;
    auto cookies = safari::read(snapshot->bytes);
    if (!cookies)
        return false;
    bool removed = false;
    for (auto& page : cookies->pages)
        removed |= std::erase_if(page.cookies, [](const auto& c) { return !kept(c); }) != 0;
    if (!removed)
        return false;
    std::erase_if(cookies->pages, [](const auto& page) { return page.cookies.empty(); });
    std::vector<std::uint8_t> bytes;
    try {
        bytes = safari::write(*cookies);
    } catch (const std::exception&) {
        return false;
    }
    if (!tpc::fs::unchangedSince(path, *snapshot))
        return false;
    return plist::writeFileAtomically(path, bytes, snapshot->mode & 07777);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes input(data, data + size);
    const auto cookies = safari::read(input);

    if (cookies) {
        std::vector<std::uint8_t> written;
        try {
            written = safari::write(*cookies);
        } catch (const std::exception& e) {
            fail(std::string("the writer refused what the reader read: ") + e.what());
        }
        // Compared as bytes: a NaN date is kept bit for bit but is not equal to itself.
        const auto back = safari::read(written);
        check(back && safari::write(*back) == written,
              "a written cookie file reads back different");
    }

    const auto file = scratchFolder() / "Cookies.binarycookies";
    writeBytes(file, input);
    const bool rewritten = deleteCookiesIn(file);
    const auto after = readBytes(file);
    check(after.has_value(), "the cookie file is gone after a clean");
    if (!cookies) {
        check(!rewritten && *after == input, "a cookie file that did not read whole was rewritten");
        return 0;
    }
    if (!rewritten) {
        check(*after == input, "a cookie file changed without a rewrite");
        return 0;
    }
    // Every cookie kept is there exactly as it was, in its order, and the policy is unchanged.
    auto expected = *cookies;
    for (auto& page : expected.pages)
        std::erase_if(page.cookies, [](const auto& c) { return !kept(c); });
    std::erase_if(expected.pages, [](const auto& page) { return page.cookies.empty(); });
    const auto reread = safari::read(*after);
    check(reread && safari::write(*reread) == *after && *after == safari::write(expected),
          "a cleaned cookie file lost or changed cookies");
    return 0;
}
