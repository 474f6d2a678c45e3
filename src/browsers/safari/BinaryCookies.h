#pragma once
// Safari's cookie file, "Cookies.binarycookies": a big-endian file header with the page sizes,
// pages of little-endian cookie records, a checksum, the footer 07 17 20 05 and a length-prefixed
// binary property list (the cookie accept policy). The reader is lenient about values it does not
// need to list cookies (checksum, record version, the page's closing marker) and strict about
// structure: every length and offset is checked against the bytes that are really there, and
// anything that does not fit makes the whole file unreadable. A file is only rewritten when
// isWhole() also holds. The writer lays out what it is given exactly.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tpc::browsers::safari {

struct Cookie {
    std::uint32_t version = 0; // record field at offset 4, kept as read
    std::uint32_t flags = 0;   // bit 0 secure, bit 2 HttpOnly
    // Non-zero when the record carries a port (the field is kept as read).
    std::uint32_t hasPort = 0;
    std::uint16_t port = 0;
    std::string domain;
    std::string name;
    std::string path;
    std::string value;
    std::optional<std::string> comment;
    std::optional<std::string> commentURL;
    double expiry = 0;   // seconds since 2001-01-01T00:00:00Z
    double creation = 0; // seconds since 2001-01-01T00:00:00Z

    static constexpr std::uint32_t kSecure = 1u << 0;
    static constexpr std::uint32_t kHttpOnly = 1u << 2;
    bool secure() const { return (flags & kSecure) != 0; }
    bool httpOnly() const { return (flags & kHttpOnly) != 0; }

    bool operator==(const Cookie&) const = default;
};

struct CookiePage {
    std::vector<Cookie> cookies;
    bool operator==(const CookiePage&) const = default;
};

struct CookieFile {
    std::vector<CookiePage> pages;
    // The file's checksum as read (the writer always computes its own).
    std::uint32_t checksum = 0;
    // The property list after the footer (the cookie accept policy), byte for byte.
    std::vector<std::uint8_t> policy;

    std::size_t cookieCount() const;
    // A file without cookies and with the default accept policy.
    static CookieFile create();
    // The meaning of two files is the same when their pages and policies are; the checksum read
    // is left out.
    bool sameContent(const CookieFile& other) const {
        return pages == other.pages && policy == other.policy;
    }
};

// The accept policy a new file gets: the binary property list {"NSHTTPCookieAcceptPolicy": 2}.
std::vector<std::uint8_t> defaultAcceptPolicy();

// The checksum of one page: the sum of its bytes at offsets 0, 4, 8, ... (uint32, wrapping).
std::uint32_t pageChecksum(const std::uint8_t* page, std::size_t size);

// nullopt when the bytes are not a whole, consistent cookie file. Never reads outside `bytes`.
std::optional<CookieFile> read(const std::vector<std::uint8_t>& bytes);

// Whether read() accepts the bytes and, beyond that, every byte of them is accounted for, so
// that a rewrite from what read() gave loses nothing: each page's offset table ends with its
// four zero bytes and its records fill the rest of the page, each record's strings fill
// everything after its header, and the checksum is the sum over the pages (any checksum when
// that sum does not fit in 32 bits). Only such a file is ever rewritten.
bool isWhole(const std::vector<std::uint8_t>& bytes);

// The file's bytes. Throws std::invalid_argument for what the format cannot hold: a string with
// an embedded NUL, or a record, page or file beyond 4 GiB.
std::vector<std::uint8_t> write(const CookieFile& file);

} // namespace tpc::browsers::safari
